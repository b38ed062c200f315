#include <sdk/diag/Log.h>
#include <sdk/ipc/Application.h>
#include <sdk/ipc/GattClientCallbacks.h>
#include <sdk/ipc/GattPayload.h>

namespace pelacon {

using diag::Log;
using diag::LogEnd;
using diag::LogStart;

void GattClientCallbacks::AddBleGattClientCb(BtGattClientCallbacksC* callbacks,
                                             std::int32_t clientId)
{
    const std::lock_guard lock(lock_);
    if (callbacks != nullptr && tables_.Add(clientId, callbacks)) {
        Log(kLogTrace, "IPCMessageSender::AddBleGattClientCb", "add callback");
    }
}

/// The slots of a client's table; empty ones for a client that has none.
BtGattClientCallbacksC GattClientCallbacks::TableOf(std::int32_t clientId)
{
    BtGattClientCallbacksC* const* table = tables_.Find(clientId);
    return table != nullptr ? **table : BtGattClientCallbacksC{};
}

void GattClientCallbacks::OnConnectionStateCallback(const protocol::GattConnectionState* record)
{
    constexpr auto kFunction = "IPCMessageSender::OnConnectionStateCallback";
    if (record == nullptr) {
        return;
    }
    LogStart(kFunction);
    {
        const std::lock_guard lock(lock_);
        Log(kLogTrace, kFunction, "call callback");
        const auto onConnectionState = TableOf(record->clientId).onConnectionState;
        if (onConnectionState != nullptr) {
            CallApplication(onConnectionState, record->clientId, record->state, record->reason);
        }
    }
    LogEnd(kFunction);
}

void GattClientCallbacks::OnNotificationReceiveCallback(const protocol::GattValueRecord* record)
{
    constexpr auto kFunction = "IPCMessageSender::OnNotificationReceiveCallback";
    if (record == nullptr) {
        return;
    }
    LogStart(kFunction);
    {
        const std::lock_guard lock(lock_);
        Log(kLogTrace, kFunction, "call callback");
        const auto onNotificationReceive = TableOf(record->clientId).onNotificationReceive;
        if (onNotificationReceive != nullptr) {
            const UuidText serviceUuid(record->serviceUuid);
            const UuidText charUuid(record->charUuid);
            CallApplication(onNotificationReceive, record->clientId, serviceUuid.Get(),
                            charUuid.Get(), record->value, ClampedLength(record->dataLen),
                            record->status);
        }
    }
    LogEnd(kFunction);
}

}  // namespace pelacon
