#include <os/Threads.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/TargetAdvCallbacks.h>

#include <exception>

namespace pelacon {

using diag::Log;
using diag::LogEnd;

void TargetAdvCallbacks::AddTargetAdvCb(int business, VoviewRecvAdvCallbacksC* callbacks)
{
    constexpr auto kFunction = "IPCMessageSender::AddTargetAdvCb";
    const std::lock_guard lock(lock_);
    Log(kLogTrace, kFunction, "start: ", business);
    if (callbacks == nullptr) {
        Log(kLogIncomplete, kFunction, "callback is nullptr, return");
    } else if (tables_.Add(business, callbacks)) {
        Log(kLogTrace, kFunction, "Add Cb");
    }
    LogEnd(kFunction);
}

void TargetAdvCallbacks::RemoveTargetAdvCb(int business)
{
    constexpr auto kFunction = "IPCMessageSender::RemoveTargetAdvCb";
    const std::lock_guard lock(lock_);
    if (tables_.Remove(business)) {
        Log(kLogTrace, kFunction, "remove callback");
    }
}

void TargetAdvCallbacks::OnRecvTargetAdv(const TargetAdvInfo& info)
{
    constexpr auto kFunction = "IPCMessageSender::OnRecvTargetAdv";
    Log(kLogTrace, kFunction, "start: ", static_cast<std::int32_t>(info.business));
    const std::lock_guard lock(lock_);
    const auto* table = tables_.Find(info.business);
    if (table == nullptr) {
        Log(kLogFailure, kFunction, "no found");
        return;
    }
    if ((*table)->onTargetAdv == nullptr) {
        return;
    }
    try {
        os::StartDetachedThread(
            [slot = (*table)->onTargetAdv, info] { OnRecvTargetAdvThread(slot, info); });
    } catch (const std::exception&) {
        Log(kLogFailure, kFunction, "catch error");
    }
}

void TargetAdvCallbacks::OnRecvTargetAdvThread(void (*slot)(TargetAdvInfo),
                                               const TargetAdvInfo& info)
{
    constexpr auto kFunction = "IPCMessageSender::OnRecvTargetAdvThread";
    if (slot == nullptr) {
        Log(kLogIncomplete, kFunction, "cb is nullptr, return");
        return;
    }
    slot(info);
    LogEnd(kFunction);
}

}  // namespace pelacon
