#include <PelaconSDK/BleGattServer.h>
#include <os/Lock.h>
#include <protocol/GattServer.h>
#include <sdk/api/BleFailures.h>
#include <sdk/api/GattFields.h>
#include <sdk/api/GattServerService.h>
#include <sdk/diag/Log.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/Exchange.h>

using namespace pelacon;  // NOLINT(google-build-using-namespace)
using diag::Log;
using diag::LogStart;

namespace {

/// Serialises the operations, the wait for the reply included.
constinit os::Lock apiLock;

/// The types of the diagnostic event that a missing answer raises.
enum ServerEvent : std::int32_t {
    kRegisterEvent = 1,
    kAddServiceEvent = 2,
    kStartServiceEvent = 3,
    kAddCharacteristicEvent = 4,
};

auto FailuresReporting(ServerEvent event, const std::string& uuid, std::int32_t serverId,
                       std::int32_t serviceHandle)
{
    return kBleFailures.OnNoReply([event, &uuid, serverId, serviceHandle] {
        ReportServerError(event, uuid, serverId, serviceHandle);
    });
}

BleStatusC RefuseNull(const char* function, const char* text = "null")
{
    Log(kLogFailure, function, text);
    return kBleStatusFailed;
}

BleStatusC RefuseTooLong(const char* function)
{
    Log(kLogFailure, function, "memcpy failed");
    return kBleStatusDataTooLong;
}

IPCMessageSender& Sender()
{
    return IPCMessageSender::GetInstance();
}

/// What to do with a status reply besides returning it: when it is 0, change the registry.
template <typename Change>
auto StatusThen(std::unique_lock<os::Lock>& lock, const Change& change)
{
    return [&lock, &change](const protocol::StatusReply& reply) {
        if (reply.status == kBleStatusSuccess) {
            lock.unlock();
            change(Sender());
        }
        return BleStatusOf(reply);
    };
}

}  // namespace

BleStatusC BleGattServer::BleGattServerRegister(BtGattServerCallbacksC* callbacks,
                                                int32_t* serverId)
{
    constexpr auto kFunction = "BleGattServer::BleGattServerRegister";
    LogStart(kFunction);
    std::unique_lock lock(apiLock);
    if (callbacks == nullptr || serverId == nullptr) {
        return RefuseNull(kFunction);
    }
    return Exchange(kFunction, protocol::kGattServerRegister, {},
                    FailuresReporting(kRegisterEvent, "NA", 0, 0),
                    [&](const protocol::ValueStatusReply& reply) {
                        if (reply.status == kBleStatusSuccess) {
                            lock.unlock();
                            Sender().AddGattServer(callbacks, reply.value);
                            *serverId = reply.value;
                        }
                        return static_cast<BleStatusC>(reply.status);
                    });
}

BleStatusC BleGattServer::BleGattServerUnRegister(int32_t serverId)
{
    constexpr auto kFunction = "BleGattServer::BleGattServerUnRegister";
    LogStart(kFunction);
    std::unique_lock lock(apiLock);
    return Exchange(
        kFunction, protocol::kGattServerUnRegister, {serverId}, kBleFailures,
        StatusThen(lock, [&](IPCMessageSender& sender) { sender.RemoveGattServer(serverId); }));
}

BleStatusC pelacon::AddGattService(std::int32_t serverId, const std::string* serviceUuid,
                                   std::int32_t* serviceHandle)
{
    constexpr auto kFunction = "BleGattServer::BleGattServerAddService";
    LogStart(kFunction);
    std::unique_lock lock(apiLock);
    if (serviceHandle == nullptr) {
        return RefuseNull(kFunction);
    }
    if (serviceUuid == nullptr) {
        return RefuseNull(kFunction, "serviceUuidData null");
    }
    protocol::GattAddServiceRequest request{};
    request.serverId = serverId;
    if (!PutUuid(request.serviceUuid, *serviceUuid)) {
        return RefuseTooLong(kFunction);
    }
    return Exchange(kFunction, protocol::kGattServerAddService, request,
                    FailuresReporting(kAddServiceEvent, *serviceUuid, serverId, 0),
                    [&](const protocol::ValueStatusReply& reply) {
                        if (reply.status == kBleStatusSuccess) {
                            *serviceHandle = reply.value;
                            lock.unlock();
                            Sender().AddGattServerService(serverId, reply.value, *serviceUuid);
                        }
                        return static_cast<BleStatusC>(reply.status);
                    });
}

BleStatusC BleGattServer::BleGattServerAddService(int32_t serverId, const std::string& serviceUuid,
                                                  int32_t* serviceHandle)
{
    return AddGattService(serverId, &serviceUuid, serviceHandle);
}

BleStatusC BleGattServer::BleGattServerDeleteService(int32_t serverId, int32_t serviceHandle)
{
    constexpr auto kFunction = "BleGattServer::BleGattServerDeleteService";
    LogStart(kFunction);
    std::unique_lock lock(apiLock);
    return Exchange(kFunction, protocol::kGattServerDeleteService, {serverId, serviceHandle},
                    kBleFailures, StatusThen(lock, [&](IPCMessageSender& sender) {
                        sender.RemoveGattServerService(serverId, serviceHandle);
                    }));
}

BleStatusC BleGattServer::BleGattServerAddCharacteristic(int32_t serverId, int32_t serviceHandle,
                                                         BLECharacteristicInfo* info)
{
    constexpr auto kFunction = "BleGattServer::BleGattServerAddCharacteristic";
    LogStart(kFunction);
    std::unique_lock lock(apiLock);
    if (info == nullptr) {
        return RefuseNull(kFunction);
    }
    protocol::GattAddCharacteristicRequest request{};
    request.serverId = serverId;
    request.serviceHandle = serviceHandle;
    request.flags = info->flags;
    if (!PutValue(request.value, request.valueLen, info->value) ||
        !PutUuid(request.charUuid, info->charUuid)) {
        return RefuseTooLong(kFunction);
    }
    return Exchange(
        kFunction, protocol::kGattServerAddCharacteristic, request,
        FailuresReporting(kAddCharacteristicEvent, info->charUuid, serverId, serviceHandle),
        StatusThen(lock, [&](IPCMessageSender& sender) {
            sender.AddGattServerCharacteristic(serverId, serviceHandle, info, info->callbacks);
        }));
}

BleStatusC BleGattServer::BleGattServerStartService(int32_t serverId, int32_t serviceHandle)
{
    constexpr auto kFunction = "BleGattServer::BleGattServerStartService";
    LogStart(kFunction);
    const std::lock_guard lock(apiLock);
    return Exchange(kFunction, protocol::kGattServerStartService, {serverId, serviceHandle},
                    FailuresReporting(kStartServiceEvent, "NA", serverId, serviceHandle),
                    BleStatusOf);
}

BleStatusC BleGattServer::BleGattServerStopService(int32_t serverId, int32_t serviceHandle)
{
    constexpr auto kFunction = "BleGattServer::BleGattServerStopService";
    LogStart(kFunction);
    const std::lock_guard lock(apiLock);
    return Exchange(kFunction, protocol::kGattServerStopService, {serverId, serviceHandle},
                    kBleFailures, BleStatusOf);
}

BleStatusC BleGattServer::BleGattServerPublishNotify(int32_t serverId, int32_t serviceHandle,
                                                     const std::string& charUuid,
                                                     const std::vector<uint8_t>& value,
                                                     uint64_t peer)
{
    constexpr auto kFunction = "BleGattServer::BleGattServerPublishNotify";
    LogStart(kFunction);
    const std::lock_guard lock(apiLock);
    protocol::GattPublishNotifyRequest request{};
    request.serverId = serverId;
    request.serviceHandle = serviceHandle;
    request.peer = peer;
    if (!PutValue(request.value, request.valueLen, value) || !PutUuid(request.charUuid, charUuid)) {
        return RefuseTooLong(kFunction);
    }
    return Exchange(kFunction, protocol::kGattServerPublishNotify, request, kBleFailures,
                    BleStatusOf);
}
