#include <sdk/diag/Log.h>
#include <sdk/ipc/AdvertiserCallbacks.h>
#include <sdk/ipc/Application.h>

namespace pelacon {

using diag::Log;
using diag::LogEnd;
using diag::LogStart;

void AdvertiserCallbacks::AddAdvCb(BleAdvCallbacksC* callbacks, int advId)
{
    constexpr auto kFunction = "IPCMessageSender::AddAdvCb";
    const std::lock_guard lock(lock_);
    LogStart(kFunction);
    if (callbacks != nullptr && tables_.Add(advId, callbacks)) {
        Log(kLogTrace, kFunction, "add callback");
    }
    LogEnd(kFunction);
}

void AdvertiserCallbacks::RemoveAdvCb(int advId)
{
    constexpr auto kFunction = "IPCMessageSender::RemoveAdvCb";
    const std::lock_guard lock(lock_);
    LogStart(kFunction);
    if (tables_.Remove(advId)) {
        Log(kLogTrace, kFunction, "remove callback");
    }
    LogEnd(kFunction);
}

void AdvertiserCallbacks::AdvertiseDisableCallback(const protocol::AdvertiserStatusRecord& record)
{
    constexpr auto kFunction = "IPCMessageSender::AdvertiseDisableCallback";
    const std::lock_guard lock(lock_);
    LogStart(kFunction);
    const auto* table = tables_.Find(record.advertiserId);
    if (table != nullptr && (*table)->onAdvertiseDisabled != nullptr) {
        Log(kLogTrace, kFunction, "call callback");
        CallApplication((*table)->onAdvertiseDisabled, record.advertiserId, record.status);
    }
    LogEnd(kFunction);
}

std::vector<std::int32_t> AdvertiserCallbacks::LowestAdvIds(std::size_t most)
{
    const std::lock_guard lock(lock_);
    return tables_.LowestKeys(most);
}

}  // namespace pelacon
