#include <PelaconSDK/BleGattClient.h>
#include <sdk/api/CEntry.h>
#include <sdk/api/GattFields.h>

#include <vector>

using pelacon::CEntry;

namespace {

BleStatusC RefuseParameters(const char* function)
{
    pelacon::diag::Log(kLogFailure, function, "invalid params");
    return kBleStatusFailed;
}

}  // namespace

BleStatusC BleGattClientRegister(int32_t* clientId)
{
    return CEntry<&BleGattClient::BleGattClientRegister>(kBleStatusFailed, clientId);
}

BleStatusC BleGattClientUnRegister(int32_t clientId)
{
    return CEntry<&BleGattClient::BleGattClientUnRegister>(kBleStatusFailed, clientId);
}

BleStatusC BleGattClientConnect(int32_t clientId, uint64_t address,
                                BtGattClientCallbacksC* callbacks)
{
    return CEntry<&BleGattClient::BleGattClientConnect>(kBleStatusFailed, clientId, address,
                                                        callbacks);
}

BleStatusC BleGattClientDisconnect(int32_t clientId)
{
    return CEntry<&BleGattClient::BleGattClientDisconnect>(kBleStatusFailed, clientId);
}

BleStatusC BleGattClientSearchServices(int32_t clientId)
{
    return CEntry<&BleGattClient::BleGattClientSearchServices>(kBleStatusFailed, clientId);
}

BleStatusC BleGattClientGetService(int32_t clientId, const char* serviceUuid)
{
    constexpr auto kFunction = "BleGattClientGetService";
    return CEntry(kBleStatusFailed, [&] {
        if (serviceUuid == nullptr) {
            return RefuseParameters(kFunction);
        }
        return BleGattClient::BleGattClientGetService(clientId, serviceUuid);
    });
}

BleStatusC BleGattClientReadCharacteristic(int32_t clientId, const char* serviceUuid,
                                           const char* charUuid, uint8_t* data, uint32_t* dataLen)
{
    constexpr auto kFunction = "BleGattClientReadCharacteristic";
    return CEntry(kBleStatusFailed, [&] {
        if (serviceUuid == nullptr || charUuid == nullptr || dataLen == nullptr) {
            return RefuseParameters(kFunction);
        }
        *dataLen = 0;
        std::vector<std::uint8_t> value;
        const BleStatusC status =
            BleGattClient::BleGattClientReadCharacteristic(clientId, serviceUuid, charUuid, &value);
        *dataLen = static_cast<std::uint32_t>(value.size());
        const bool copied = memcpy_s(data, kBleGattMaxValueLength, value.data(), value.size()) == 0;
        return copied ? status : kBleStatusDataTooLong;
    });
}

BleStatusC BleGattClientWriteCharacteristic(int32_t clientId, const char* serviceUuid,
                                            const char* charUuid, const uint8_t* data,
                                            uint32_t dataLen)
{
    constexpr auto kFunction = "BleGattClientWriteCharacteristic";
    return CEntry(kBleStatusFailed, [&] {
        if (serviceUuid == nullptr || charUuid == nullptr || (data == nullptr && dataLen != 0)) {
            return RefuseParameters(kFunction);
        }
        return BleGattClient::BleGattClientWriteCharacteristic(clientId, serviceUuid, charUuid,
                                                               pelacon::ValueFrom(data, dataLen));
    });
}

BleStatusC BleGattClientRegisterNotification(int32_t clientId, const char* serviceUuid,
                                             const char* charUuid, bool enable)
{
    constexpr auto kFunction = "BleGattClientRegisterNotification";
    return CEntry(kBleStatusFailed, [&] {
        if (serviceUuid == nullptr || charUuid == nullptr) {
            return RefuseParameters(kFunction);
        }
        return BleGattClient::BleGattClientRegisterNotification(clientId, serviceUuid, charUuid,
                                                                enable);
    });
}

BleStatusC BleGattClientGetMtu(int32_t clientId, int32_t* mtu)
{
    return CEntry<&BleGattClient::BleGattClientGetMtu>(kBleStatusFailed, clientId, mtu);
}
