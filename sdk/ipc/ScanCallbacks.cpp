#include <os/Threads.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/Application.h>
#include <sdk/ipc/ScanCallbacks.h>

#include <exception>

namespace pelacon {

using diag::Log;
using diag::LogEnd;
using diag::LogStart;

void ScanCallbacks::AddScanCb(BleScanCallbacksC* callbacks, int listenerId)
{
    constexpr auto kFunction = "IPCMessageSender::AddScanCb";
    const std::lock_guard lock(lock_);
    LogStart(kFunction);
    if (callbacks != nullptr) {
        tables_.Add(listenerId, callbacks);
    }
    LogEnd(kFunction);
}

void ScanCallbacks::RemoveScanCb(int listenerId)
{
    constexpr auto kFunction = "IPCMessageSender::RemoveScanCb";
    const std::lock_guard lock(lock_);
    LogStart(kFunction);
    if (tables_.Remove(listenerId)) {
        Log(kLogTrace, kFunction, "remove callback");
    }
    LogEnd(kFunction);
}

void ScanCallbacks::ScanStart(int listenerId)
{
    constexpr auto kFunction = "IPCMessageSender::ScanStart";
    const std::lock_guard lock(scanningLock_);
    Log(kLogTrace, kFunction, "start:", listenerId);
    if (!scanning_.AddOnce(listenerId)) {
        Log(kLogTrace, kFunction, "already start:", listenerId);
    }
    LogEnd(kFunction);
}

void ScanCallbacks::ScanStop(int listenerId)
{
    constexpr auto kFunction = "IPCMessageSender::ScanStop";
    const std::lock_guard lock(scanningLock_);
    Log(kLogTrace, kFunction, "start:", listenerId);
    if (scanning_.Remove(listenerId)) {
        Log(kLogTrace, kFunction, "stop ok:", listenerId);
    }
    LogEnd(kFunction);
}

void ScanCallbacks::OnScanStatus(const protocol::ScanStatusRecord& record)
{
    constexpr auto kFunction = "IPCMessageSender::OnScanStatus";
    LogStart(kFunction);
    const std::lock_guard lock(lock_);
    const auto* table = tables_.Find(record.listenerId);
    if (table != nullptr && (*table)->onScanStatus != nullptr) {
        Log(kLogTrace, kFunction, "call callback");
        CallApplication((*table)->onScanStatus, record.listenerId, record.status);
    }
    LogEnd(kFunction);
}

void ScanCallbacks::OnScanResult(const protocol::ScanResultRecord& record)
{
    constexpr auto kFunction = "IPCMessageSender::OnScanResult";
    const std::scoped_lock lock(lock_, scanningLock_);
    LogStart(kFunction);
    for (const std::int32_t listenerId : scanning_) {
        const auto* table = tables_.Find(listenerId);
        if (table == nullptr || (*table)->onScanResult == nullptr) {
            continue;
        }
        // The thread gets the table's slot rather than the table, so that the table is not needed
        // once its listener is unregistered.
        try {
            os::StartDetachedThread([slot = (*table)->onScanResult, listenerId,
                                     result = record.result] { slot(listenerId, result); });
        } catch (const std::exception&) {
            Log(kLogFailure, kFunction, "catch error");
        }
    }
    LogEnd(kFunction);
}

std::vector<std::int32_t> ScanCallbacks::LowestScanIds(std::size_t most)
{
    const std::lock_guard lock(lock_);
    return tables_.LowestKeys(most);
}

}  // namespace pelacon
