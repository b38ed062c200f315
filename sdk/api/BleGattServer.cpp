#include <PelaconSDK/BleGattServer.h>
#include <protocol/GattServer.h>
#include <sdk/api/BleCall.h>
#include <sdk/api/BothForms.h>
#include <sdk/api/GattFields.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/GattServerCallbacks.h>

#include <string>
#include <vector>

using namespace pelacon;

namespace {

/// The types of the diagnostic event that a missing answer raises.
enum ServerEvent : std::int32_t {
    kRegisterEvent = 1,
    kAddServiceEvent = 2,
    kStartServiceEvent = 3,
    kAddCharacteristicEvent = 4,
};

constinit os::Lock gattServerLock;

class ServerCall : public BleCall {
  public:
    explicit ServerCall(const char* function) : BleCall(function, &gattServerLock) {}

    /// Raises the diagnostic event when there is no answer.
    void ReportNoReply(ServerEvent event, const std::string& uuid, std::int32_t serverId,
                       std::int32_t serviceHandle)
    {
        WhenNoReply([=] { ReportServerError(event, uuid, serverId, serviceHandle); });
    }

    BleStatusC RefuseNull() const { return Refuse(kLogFailure, "null"); }
    BleStatusC RefuseTooLong() const
    {
        return Refuse(kLogFailure, "memcpy failed", kBleStatusDataTooLong);
    }
};

GattServerCallbacks& Servers()
{
    return Registry<GattServerCallbacks>();
}

}  // namespace

BleStatusC BleGattServer::BleGattServerRegister(BtGattServerCallbacksC* callbacks,
                                                int32_t* serverId)
{
    ServerCall call("BleGattServer::BleGattServerRegister");
    if (callbacks == nullptr || serverId == nullptr) {
        return call.RefuseNull();
    }
    call.ReportNoReply(kRegisterEvent, "NA", 0, 0);
    return call.Send(protocol::kGattServerRegister, {},
                     call.Then([&](const protocol::ValueStatusReply& reply) {
                         Servers().AddGattServer(callbacks, reply.value);
                         *serverId = reply.value;
                     }));
}

BleStatusC BleGattServer::BleGattServerUnRegister(int32_t serverId)
{
    ServerCall call("BleGattServer::BleGattServerUnRegister");
    return call.Send(protocol::kGattServerUnRegister, {serverId},
                     call.Then([&](const auto&) { Servers().RemoveGattServer(serverId); }));
}

BleStatusC pelacon::AddGattService(std::int32_t serverId, const std::string* serviceUuid,
                                   std::int32_t* serviceHandle)
{
    ServerCall call("BleGattServer::BleGattServerAddService");
    if (serviceHandle == nullptr) {
        return call.RefuseNull();
    }
    if (serviceUuid == nullptr) {
        return call.Refuse(kLogFailure, "serviceUuidData null");
    }
    protocol::GattAddServiceRequest request{};
    request.serverId = serverId;
    if (!PutUuid(request.serviceUuid, *serviceUuid)) {
        return call.RefuseTooLong();
    }
    call.ReportNoReply(kAddServiceEvent, *serviceUuid, serverId, 0);
    return call.Send(protocol::kGattServerAddService, request,
                     call.Then([&](const protocol::ValueStatusReply& reply) {
                         *serviceHandle = reply.value;
                         Servers().AddGattServerService(serverId, reply.value, *serviceUuid);
                     }));
}

BleStatusC BleGattServer::BleGattServerAddService(int32_t serverId, const std::string& serviceUuid,
                                                  int32_t* serviceHandle)
{
    return AddGattService(serverId, &serviceUuid, serviceHandle);
}

BleStatusC BleGattServer::BleGattServerDeleteService(int32_t serverId, int32_t serviceHandle)
{
    ServerCall call("BleGattServer::BleGattServerDeleteService");
    return call.Send(protocol::kGattServerDeleteService, {serverId, serviceHandle},
                     call.Then([&](const auto&) {
                         Servers().RemoveGattServerService(serverId, serviceHandle);
                     }));
}

BleStatusC BleGattServer::BleGattServerAddCharacteristic(int32_t serverId, int32_t serviceHandle,
                                                         BLECharacteristicInfo* info)
{
    ServerCall call("BleGattServer::BleGattServerAddCharacteristic");
    if (info == nullptr) {
        return call.RefuseNull();
    }
    protocol::GattAddCharacteristicRequest request{};
    request.serverId = serverId;
    request.serviceHandle = serviceHandle;
    request.flags = info->flags;
    if (!PutValue(request.value, request.valueLen, info->value) ||
        !PutUuid(request.charUuid, info->charUuid)) {
        return call.RefuseTooLong();
    }
    call.ReportNoReply(kAddCharacteristicEvent, info->charUuid, serverId, serviceHandle);
    return call.Send(protocol::kGattServerAddCharacteristic, request, call.Then([&](const auto&) {
        Servers().AddGattServerCharacteristic(serverId, serviceHandle, info, info->callbacks);
    }));
}

BleStatusC BleGattServer::BleGattServerStartService(int32_t serverId, int32_t serviceHandle)
{
    ServerCall call("BleGattServer::BleGattServerStartService");
    call.ReportNoReply(kStartServiceEvent, "NA", serverId, serviceHandle);
    return call.Send(protocol::kGattServerStartService, {serverId, serviceHandle});
}

BleStatusC BleGattServer::BleGattServerStopService(int32_t serverId, int32_t serviceHandle)
{
    return ServerCall("BleGattServer::BleGattServerStopService")
        .Send(protocol::kGattServerStopService, {serverId, serviceHandle});
}

BleStatusC BleGattServer::BleGattServerPublishNotify(int32_t serverId, int32_t serviceHandle,
                                                     const std::string& charUuid,
                                                     const std::vector<uint8_t>& value,
                                                     uint64_t peer)
{
    ServerCall call("BleGattServer::BleGattServerPublishNotify");
    protocol::GattPublishNotifyRequest request{};
    request.serverId = serverId;
    request.serviceHandle = serviceHandle;
    request.peer = peer;
    if (!PutValue(request.value, request.valueLen, value) || !PutUuid(request.charUuid, charUuid)) {
        return call.RefuseTooLong();
    }
    return call.Send(protocol::kGattServerPublishNotify, request);
}
