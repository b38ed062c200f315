#include <PelaconSDK/BleGattClient.h>
#include <os/Lock.h>
#include <protocol/GattClient.h>
#include <sdk/api/BleFailures.h>
#include <sdk/api/GattFields.h>
#include <sdk/diag/Log.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/Exchange.h>

using namespace pelacon;  // NOLINT(google-build-using-namespace)
using diag::Log;
using diag::LogEnd;
using diag::LogStart;

static_assert(kBleGattMaxValueLength == protocol::kGattValueSize);

namespace {

/// Serialises the operations, the wait for the reply included.
constinit os::Lock apiLock;

/// The types of the diagnostic event that a missing answer raises.
enum ClientEvent : std::int32_t {
    kRegisterEvent = 1,
    kRegisterNotificationEvent = 3,
    kWriteEvent = 4,
    kReadEvent = 5,
};

auto FailuresReporting(ClientEvent event, const std::string& charUuid, std::int32_t businessId)
{
    return kBleFailures.OnNoReply(
        [event, &charUuid, businessId] { ReportClientError(event, charUuid, businessId); });
}

bool IsTooLong(const std::string& uuid)
{
    return uuid.size() > protocol::kUuidLength;
}

BleStatusC Refuse(const char* function, const char* why)
{
    Log(kLogFailure, function, why);
    return kBleStatusFailed;
}

/// The operations whose request is the client id and whose reply a status.
BleStatusC ExchangeClientId(
    const char* function,
    const protocol::Operation<protocol::GattClientRequest, protocol::StatusReply>& operation,
    std::int32_t clientId)
{
    LogStart(function);
    const std::lock_guard lock(apiLock);
    return Exchange(function, operation, {clientId}, kBleFailures, BleStatusOf);
}

/// Takes the value out of a read's answer, whatever its status; a value that is longer than its
/// area is left alone.
void TakeValue(const char* function, const protocol::GattValueRecord& reply,
               std::vector<std::uint8_t>& value)
{
    Log(kLogMilestone, function, "dataLen:", reply.dataLen);
    if (reply.dataLen > sizeof reply.value) {
        Log(kLogFailure, function, "dataLen too large:", reply.dataLen);
        return;
    }
    value.assign(reply.value, reply.value + reply.dataLen);
}

}  // namespace

BleStatusC BleGattClient::BleGattClientRegister(int32_t* clientId)
{
    constexpr auto kFunction = "BleGattClient::BleGattClientRegister";
    LogStart(kFunction);
    const std::lock_guard lock(apiLock);
    if (clientId == nullptr) {
        Log(kLogIncomplete, kFunction, "clientId is nullptr, return");
        return kBleStatusFailed;
    }
    return Exchange(kFunction, protocol::kGattClientRegister, {},
                    FailuresReporting(kRegisterEvent, "NA", 0),
                    [&](const protocol::ValueStatusReply& reply) {
                        if (reply.status == kBleStatusSuccess) {
                            *clientId = reply.value;
                        }
                        return static_cast<BleStatusC>(reply.status);
                    });
}

BleStatusC BleGattClient::BleGattClientUnRegister(int32_t clientId)
{
    return ExchangeClientId("BleGattClient::BleGattClientUnRegister",
                            protocol::kGattClientUnRegister, clientId);
}

BleStatusC BleGattClient::BleGattClientConnect(int32_t clientId, uint64_t address,
                                               BtGattClientCallbacksC* callbacks)
{
    constexpr auto kFunction = "BleGattClient::BleGattClientConnect";
    LogStart(kFunction);
    IPCMessageSender& sender = IPCMessageSender::GetInstance();
    sender.AddBleGattClientCb(callbacks, clientId);
    const std::lock_guard lock(apiLock);
    const protocol::GattConnectRequest request{clientId, {}, address};
    if (!sender.PostIPCMessageToService(protocol::kGattClientConnect.id, &request)) {
        return kBleStatusFailed;
    }
    LogEnd(kFunction);
    return kBleStatusSuccess;
}

BleStatusC BleGattClient::BleGattClientDisconnect(int32_t clientId)
{
    return ExchangeClientId("BleGattClient::BleGattClientDisconnect",
                            protocol::kGattClientDisconnect, clientId);
}

BleStatusC BleGattClient::BleGattClientSearchServices(int32_t clientId)
{
    return ExchangeClientId("BleGattClient::BleGattClientSearchServices",
                            protocol::kGattClientSearchServices, clientId);
}

BleStatusC BleGattClient::BleGattClientGetService(int32_t clientId, const std::string& serviceUuid)
{
    constexpr auto kFunction = "BleGattClient::BleGattClientGetService";
    LogStart(kFunction);
    const std::lock_guard lock(apiLock);
    protocol::GattServiceRequest request{};
    request.clientId = clientId;
    if (!PutUuid(request.serviceUuid, serviceUuid)) {
        return kBleStatusDataTooLong;
    }
    return Exchange(kFunction, protocol::kGattClientGetService, request, kBleFailures, BleStatusOf);
}

BleStatusC BleGattClient::BleGattClientReadCharacteristic(int32_t clientId,
                                                          const std::string& serviceUuid,
                                                          const std::string& charUuid,
                                                          std::vector<uint8_t>* value)
{
    constexpr auto kFunction = "BleGattClient::BleGattClientReadCharacteristic";
    LogStart(kFunction);
    const std::lock_guard lock(apiLock);
    if (value == nullptr || IsTooLong(serviceUuid) || IsTooLong(charUuid)) {
        return Refuse(kFunction, "invalid params");
    }
    protocol::GattCharacteristicRequest request{};
    request.clientId = clientId;
    if (!PutUuid(request.serviceUuid, serviceUuid) || !PutUuid(request.charUuid, charUuid)) {
        Log(kLogFailure, kFunction, "memcpy failed!");
        return kBleStatusDataTooLong;
    }
    return Exchange(kFunction, protocol::kGattClientRead, request,
                    FailuresReporting(kReadEvent, charUuid, clientId),
                    [&](const protocol::GattValueRecord& reply) {
                        TakeValue(kFunction, reply, *value);
                        return static_cast<BleStatusC>(reply.status);
                    });
}

BleStatusC BleGattClient::BleGattClientWriteCharacteristic(int32_t clientId,
                                                           const std::string& serviceUuid,
                                                           const std::string& charUuid,
                                                           const std::vector<uint8_t>& value)
{
    constexpr auto kFunction = "BleGattClient::BleGattClientWriteCharacteristic";
    LogStart(kFunction);
    const std::lock_guard lock(apiLock);
    if (value.size() > protocol::kGattValueSize || IsTooLong(serviceUuid) || IsTooLong(charUuid)) {
        return Refuse(kFunction, "invalid params");
    }
    protocol::GattValueRequest request{};
    request.clientId = clientId;
    if (!PutUuid(request.serviceUuid, serviceUuid) || !PutUuid(request.charUuid, charUuid) ||
        !PutValue(request.value, request.dataLen, value)) {
        Log(kLogFailure, kFunction, "memcpy failed!");
        return kBleStatusDataTooLong;
    }
    Log(kLogTrace, kFunction, "value:", value.size());
    return Exchange(kFunction, protocol::kGattClientWrite, request,
                    FailuresReporting(kWriteEvent, charUuid, clientId), BleStatusOf);
}

BleStatusC BleGattClient::BleGattClientRegisterNotification(int32_t clientId,
                                                            const std::string& serviceUuid,
                                                            const std::string& charUuid,
                                                            bool enable)
{
    constexpr auto kFunction = "BleGattClient::BleGattClientRegisterNotification";
    LogStart(kFunction);
    const std::lock_guard lock(apiLock);
    if (IsTooLong(serviceUuid) || IsTooLong(charUuid)) {
        return Refuse(kFunction, "invalid params");
    }
    protocol::GattCharacteristicRequest request{};
    request.clientId = clientId;
    request.enable = enable ? 1 : 0;
    if (!PutUuid(request.serviceUuid, serviceUuid) || !PutUuid(request.charUuid, charUuid)) {
        Log(kLogFailure, kFunction, "memcpy failed!");
        return kBleStatusDataTooLong;
    }
    return Exchange(kFunction, protocol::kGattClientRegisterNotification, request,
                    FailuresReporting(kRegisterNotificationEvent, charUuid, clientId), BleStatusOf);
}

BleStatusC BleGattClient::BleGattClientGetMtu(int32_t clientId, int32_t* mtu)
{
    constexpr auto kFunction = "BleGattClient::BleGattClientGetMtu";
    LogStart(kFunction);
    const std::lock_guard lock(apiLock);
    if (mtu == nullptr) {
        return Refuse(kFunction, "null");
    }
    return Exchange(kFunction, protocol::kGattClientGetMtu, {clientId}, kBleFailures,
                    [&](const protocol::ValueStatusReply& reply) {
                        if (reply.status == kBleStatusSuccess) {
                            *mtu = reply.value;
                        }
                        return static_cast<BleStatusC>(reply.status);
                    });
}
