#include <sdk/diag/Log.h>
#include <sdk/ipc/Application.h>
#include <sdk/ipc/Exchange.h>
#include <sdk/ipc/GattPayload.h>
#include <sdk/ipc/GattServerCallbacks.h>

#include <algorithm>

namespace pelacon {

using diag::Log;
using diag::LogEnd;
using diag::LogStart;

const GattServerCallbacks::Characteristic* GattServerCallbacks::Service::Find(
    const std::string& charUuid) const
{
    const auto found =
        std::find_if(characteristics.begin(), characteristics.end(),
                     [&](const Characteristic& candidate) { return candidate.uuid == charUuid; });
    return found != characteristics.end() ? &*found : nullptr;
}

GattServerCallbacks::Server* GattServerCallbacks::FindServer(const char* function,
                                                             std::int32_t serverId)
{
    Server* server = servers_.Find(serverId);
    if (server == nullptr) {
        Log(kLogFailure, function, "serverId not found: ", serverId);
    }
    return server;
}

GattServerCallbacks::Service* GattServerCallbacks::FindService(const char* function,
                                                               std::int32_t serverId,
                                                               std::int32_t serviceHandle)
{
    Server* server = FindServer(function, serverId);
    if (server == nullptr) {
        return nullptr;
    }
    Service* service = server->services.Find(serviceHandle);
    if (service == nullptr) {
        Log(kLogFailure, function, "serviceHandle not found: ", serviceHandle);
    }
    return service;
}

void GattServerCallbacks::AddGattServer(BtGattServerCallbacksC* callbacks, std::int32_t serverId)
{
    const std::lock_guard lock(lock_);
    if (callbacks != nullptr && servers_.Add(serverId, Server{callbacks, {}})) {
        Log(kLogTrace, "IPCMessageSender::AddGattServer", "add callback");
    }
}

void GattServerCallbacks::RemoveGattServer(std::int32_t serverId)
{
    const std::lock_guard lock(lock_);
    if (FindServer("IPCMessageSender::RemoveGattServer", serverId) != nullptr) {
        servers_.Remove(serverId);
    }
}

void GattServerCallbacks::AddGattServerService(std::int32_t serverId, std::int32_t serviceHandle,
                                               const std::string& serviceUuid)
{
    constexpr auto kFunction = "IPCMessageSender::AddGattServerService";
    const std::lock_guard lock(lock_);
    Server* server = FindServer(kFunction, serverId);
    if (server != nullptr && !server->services.Add(serviceHandle, Service{serviceUuid, {}})) {
        Log(kLogFailure, kFunction, "serviceHandle already exist: ", serviceHandle);
    }
}

void GattServerCallbacks::RemoveGattServerService(std::int32_t serverId, std::int32_t serviceHandle)
{
    constexpr auto kFunction = "IPCMessageSender::RemoveGattServerService";
    const std::lock_guard lock(lock_);
    if (Server* server = FindServer(kFunction, serverId)) {
        Log(kLogTrace, kFunction, "remove callback");
        server->services.Remove(serviceHandle);
    }
}

void GattServerCallbacks::AddGattServerCharacteristic(std::int32_t serverId,
                                                      std::int32_t serviceHandle,
                                                      const BLECharacteristicInfo* info,
                                                      BtGattCharCallbacksC* callbacks)
{
    constexpr auto kFunction = "IPCMessageSender::AddGattServerCharacteristic";
    const std::lock_guard lock(lock_);
    Service* service = FindService(kFunction, serverId, serviceHandle);
    if (service == nullptr) {
        return;
    }
    if (service->Find(info->charUuid) != nullptr) {
        Log(kLogFailure, kFunction, "charUuid already exist: ", info->charUuid);
        return;
    }
    const os::ForkHold hold;
    service->characteristics.push_back({info->charUuid, callbacks});
}

template <typename Record, typename Slot, typename... Values>
void GattServerCallbacks::CallServer(const char* function, const char* text, const Record* record,
                                     Slot slot, Values... values)
{
    LogStart(function);
    {
        const std::lock_guard lock(lock_);
        const Server* server = FindServer(function, record->serverId);
        if (server == nullptr) {
            return;
        }
        const BtGattServerCallbacksC* callbacks = server->callbacks;
        if (callbacks != nullptr && callbacks->*slot != nullptr) {
            if (text != nullptr) {
                Log(kLogTrace, function, text);
            }
            CallApplication(callbacks->*slot, record->peer, values...);
        }
    }
    LogEnd(function);
}

void GattServerCallbacks::ConnectServerCallback(const protocol::GattPeerRecord* record)
{
    if (record != nullptr) {
        CallServer("IPCMessageSender::ConnectServerCallback", nullptr, record,
                   &BtGattServerCallbacksC::onConnect);
    }
}

void GattServerCallbacks::DisconnectServerCallback(const protocol::GattPeerRecord* record)
{
    if (record != nullptr) {
        CallServer("IPCMessageSender::DisconnectServerCallback", "call callback", record,
                   &BtGattServerCallbacksC::onDisconnect);
    }
}

// "remove callback" is logged here and below although nothing is removed: the lines are part of the
// contract.

void GattServerCallbacks::NotifySendCallback(const protocol::GattPeerValueRecord* record)
{
    if (record != nullptr) {
        CallServer("IPCMessageSender::NotifySendCallback", "remove callback", record,
                   &BtGattServerCallbacksC::onNotifySent, record->value);
    }
}

void GattServerCallbacks::MtuChangeCallback(const protocol::GattPeerValueRecord* record)
{
    if (record != nullptr) {
        CallServer("IPCMessageSender::MtuChangeCallback", "remove callback", record,
                   &BtGattServerCallbacksC::onMtuChanged, record->value);
    }
}

template <typename Slot>
void GattServerCallbacks::CallCharacteristic(const char* function, const char* text,
                                             const protocol::GattPeerRequestRecord* record,
                                             Slot slot)
{
    LogStart(function);
    if (record == nullptr) {
        Log(kLogIncomplete, function, "callbackInfo is nullptr, return");
        return;
    }
    {
        const std::lock_guard lock(lock_);
        const Service* service = FindService(function, record->serverId, record->serviceHandle);
        if (service == nullptr) {
            return;
        }
        const Characteristic* characteristic =
            service->Find(std::string(protocol::TextIn(record->charUuid)));
        if (characteristic == nullptr) {
            Log(kLogTrace, function, "char uuid not found");
            return;
        }
        const BtGattCharCallbacksC* callbacks = characteristic->callbacks;
        if (callbacks == nullptr || callbacks->*slot == nullptr) {
            return;
        }
        if (text != nullptr) {
            Log(kLogTrace, function, text);
        }
        // A copy: the callback may delete the service.
        const std::string serviceUuid = service->uuid;
        const UuidText charUuid(record->charUuid);
        CallApplication(callbacks->*slot, record->peer, serviceUuid.c_str(), charUuid.Get(),
                        record->data, ClampedLength(record->dataLen));
    }
    LogEnd(function);
}

void GattServerCallbacks::OnServerReadCallback(const protocol::GattPeerRequestRecord* record)
{
    CallCharacteristic("IPCMessageSender::OnServerReadCallback", "remove callback", record,
                       &BtGattCharCallbacksC::onRead);
}

void GattServerCallbacks::OnServerWriteCallback(const protocol::GattPeerRequestRecord* record)
{
    CallCharacteristic("IPCMessageSender::OnServerWriteCallback", nullptr, record,
                       &BtGattCharCallbacksC::onWrite);
}

}  // namespace pelacon
