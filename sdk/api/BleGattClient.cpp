#include <PelaconSDK/BleGattClient.h>
#include <protocol/GattClient.h>
#include <sdk/api/BleCall.h>
#include <sdk/api/GattFields.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/GattClientCallbacks.h>

#include <string>
#include <vector>

using namespace pelacon;

static_assert(kBleGattMaxValueLength == protocol::kGattValueSize);

namespace {

/// The types of the diagnostic event that a missing answer raises.
enum ClientEvent : std::int32_t {
    kRegisterEvent = 1,
    kRegisterNotificationEvent = 3,
    kWriteEvent = 4,
    kReadEvent = 5,
};

constinit os::Lock gattClientLock;

class ClientCall : public BleCall {
  public:
    explicit ClientCall(const char* function) : BleCall(function, &gattClientLock) {}

    /// Raises the diagnostic event when there is no answer. The text must stay valid until then.
    void ReportNoReply(ClientEvent event, const std::string& charUuid, std::int32_t businessId)
    {
        WhenNoReply([=, &charUuid] { ReportClientError(event, charUuid, businessId); });
    }
};

bool IsTooLong(const std::string& uuid)
{
    return uuid.size() > protocol::kUuidLength;
}

/// Fills in both UUIDs; false, with a line, when one does not fit.
template <typename Request>
bool PutUuids(const BleCall& call, Request& request, const std::string& serviceUuid,
              const std::string& charUuid)
{
    if (PutUuid(request.serviceUuid, serviceUuid) && PutUuid(request.charUuid, charUuid)) {
        return true;
    }
    call.Log(kLogFailure, "memcpy failed!");
    return false;
}

/// Takes the value out of a read's answer, whatever its status; a value that is longer than its
/// area is left alone.
void TakeValue(const BleCall& call, const protocol::GattValueRecord& reply,
               std::vector<std::uint8_t>& value)
{
    call.Log(kLogMilestone, "dataLen:", reply.dataLen);
    if (reply.dataLen > sizeof reply.value) {
        call.Log(kLogFailure, "dataLen too large:", reply.dataLen);
        return;
    }
    value.assign(reply.value, reply.value + reply.dataLen);
}

/// Stores the value of a reply.
auto StoreIn(std::int32_t& value)
{
    return [&value](const protocol::ValueStatusReply& reply) { value = reply.value; };
}

}  // namespace

BleStatusC BleGattClient::BleGattClientRegister(int32_t* clientId)
{
    ClientCall call("BleGattClient::BleGattClientRegister");
    if (call.IsNull("clientId", clientId)) {
        return kBleStatusFailed;
    }
    const std::string none = "NA";
    call.ReportNoReply(kRegisterEvent, none, 0);
    return call.Send(protocol::kGattClientRegister, {}, call.Then(StoreIn(*clientId)));
}

BleStatusC BleGattClient::BleGattClientUnRegister(int32_t clientId)
{
    return ClientCall("BleGattClient::BleGattClientUnRegister")
        .Send(protocol::kGattClientUnRegister, {clientId});
}

BleStatusC BleGattClient::BleGattClientConnect(int32_t clientId, uint64_t address,
                                               BtGattClientCallbacksC* callbacks)
{
    BleCall call("BleGattClient::BleGattClientConnect");
    Registry<GattClientCallbacks>().AddBleGattClientCb(callbacks, clientId);
    call.Lock(gattClientLock);
    const protocol::GattConnectRequest request{clientId, {}, address};
    if (!IPCMessageSender::GetInstance().PostIPCMessageToService(protocol::kGattClientConnect.id,
                                                                 &request)) {
        return kBleStatusFailed;
    }
    call.Log(kLogTrace, "end");
    return kBleStatusSuccess;
}

BleStatusC BleGattClient::BleGattClientDisconnect(int32_t clientId)
{
    return ClientCall("BleGattClient::BleGattClientDisconnect")
        .Send(protocol::kGattClientDisconnect, {clientId});
}

BleStatusC BleGattClient::BleGattClientSearchServices(int32_t clientId)
{
    return ClientCall("BleGattClient::BleGattClientSearchServices")
        .Send(protocol::kGattClientSearchServices, {clientId});
}

BleStatusC BleGattClient::BleGattClientGetService(int32_t clientId, const std::string& serviceUuid)
{
    ClientCall call("BleGattClient::BleGattClientGetService");
    protocol::GattServiceRequest request{};
    request.clientId = clientId;
    if (!PutUuid(request.serviceUuid, serviceUuid)) {
        return kBleStatusDataTooLong;
    }
    return call.Send(protocol::kGattClientGetService, request);
}

BleStatusC BleGattClient::BleGattClientReadCharacteristic(int32_t clientId,
                                                          const std::string& serviceUuid,
                                                          const std::string& charUuid,
                                                          std::vector<uint8_t>* value)
{
    ClientCall call("BleGattClient::BleGattClientReadCharacteristic");
    if (value == nullptr || IsTooLong(serviceUuid) || IsTooLong(charUuid)) {
        return call.Refuse(kLogFailure, "invalid params");
    }
    protocol::GattCharacteristicRequest request{};
    request.clientId = clientId;
    if (!PutUuids(call, request, serviceUuid, charUuid)) {
        return kBleStatusDataTooLong;
    }
    call.ReportNoReply(kReadEvent, charUuid, clientId);
    return call.Send(protocol::kGattClientRead, request,
                     [&](const protocol::GattValueRecord& reply) {
                         TakeValue(call, reply, *value);
                         return BleStatusOf(reply);
                     });
}

BleStatusC BleGattClient::BleGattClientWriteCharacteristic(int32_t clientId,
                                                           const std::string& serviceUuid,
                                                           const std::string& charUuid,
                                                           const std::vector<uint8_t>& value)
{
    ClientCall call("BleGattClient::BleGattClientWriteCharacteristic");
    if (value.size() > protocol::kGattValueSize || IsTooLong(serviceUuid) || IsTooLong(charUuid)) {
        return call.Refuse(kLogFailure, "invalid params");
    }
    protocol::GattValueRequest request{};
    request.clientId = clientId;
    if (!PutUuids(call, request, serviceUuid, charUuid)) {
        return kBleStatusDataTooLong;
    }
    if (!PutValue(request.value, request.dataLen, value)) {
        return call.Refuse(kLogFailure, "memcpy failed!", kBleStatusDataTooLong);
    }
    call.Log(kLogTrace, "value:", value.size());
    call.ReportNoReply(kWriteEvent, charUuid, clientId);
    return call.Send(protocol::kGattClientWrite, request);
}

BleStatusC BleGattClient::BleGattClientRegisterNotification(int32_t clientId,
                                                            const std::string& serviceUuid,
                                                            const std::string& charUuid,
                                                            bool enable)
{
    ClientCall call("BleGattClient::BleGattClientRegisterNotification");
    if (IsTooLong(serviceUuid) || IsTooLong(charUuid)) {
        return call.Refuse(kLogFailure, "invalid params");
    }
    protocol::GattCharacteristicRequest request{};
    request.clientId = clientId;
    request.enable = enable ? 1 : 0;
    if (!PutUuids(call, request, serviceUuid, charUuid)) {
        return kBleStatusDataTooLong;
    }
    call.ReportNoReply(kRegisterNotificationEvent, charUuid, clientId);
    return call.Send(protocol::kGattClientRegisterNotification, request);
}

BleStatusC BleGattClient::BleGattClientGetMtu(int32_t clientId, int32_t* mtu)
{
    ClientCall call("BleGattClient::BleGattClientGetMtu");
    if (mtu == nullptr) {
        return call.Refuse(kLogFailure, "null");
    }
    return call.Send(protocol::kGattClientGetMtu, {clientId}, call.Then(StoreIn(*mtu)));
}
