#include <PelaconSDK/BleGattServer.h>
#include <protocol/GattServer.h>
#include <sdk/api/BothForms.h>
#include <sdk/api/CEntry.h>
#include <sdk/api/GattFields.h>
#include <sdk/ipc/Exchange.h>

#include <cstddef>
#include <string>

using pelacon::CEntry;
using pelacon::ValueFrom;
using pelacon::protocol::TextIn;

static_assert(offsetof(BLECharacteristicInfoC, flags) == 40);
static_assert(offsetof(BLECharacteristicInfoC, callbacks) == 48);
static_assert(offsetof(BLECharacteristicInfoC, value) == 56);
static_assert(offsetof(BLECharacteristicInfoC, valueLen) == 1080);

BleStatusC BleGattServerRegister(BtGattServerCallbacksC* callbacks, int32_t* serverId)
{
    return CEntry<&BleGattServer::BleGattServerRegister>(kBleStatusFailed, callbacks, serverId);
}

BleStatusC BleGattServerUnRegister(int32_t serverId)
{
    return CEntry<&BleGattServer::BleGattServerUnRegister>(kBleStatusFailed, serverId);
}

BleStatusC BleGattServerAddService(int32_t serverId, const char* serviceUuid,
                                   int32_t* serviceHandle)
{
    return CEntry(kBleStatusFailed, [&] {
        if (serviceUuid == nullptr) {
            return pelacon::AddGattService(serverId, nullptr, serviceHandle);
        }
        return BleGattServer::BleGattServerAddService(serverId, serviceUuid, serviceHandle);
    });
}

BleStatusC BleGattServerDeleteService(int32_t serverId, int32_t serviceHandle)
{
    return CEntry<&BleGattServer::BleGattServerDeleteService>(kBleStatusFailed, serverId,
                                                              serviceHandle);
}

BleStatusC BleGattServerAddCharacteristic(int32_t serverId, int32_t serviceHandle,
                                          BLECharacteristicInfoC* info)
{
    return CEntry(kBleStatusFailed, [&] {
        if (info == nullptr) {
            return kBleStatusFailed;
        }
        BLECharacteristicInfo member;
        member.charUuid = TextIn(info->charUuid);
        member.flags = static_cast<std::int32_t>(info->flags);
        member.callbacks = info->callbacks;
        member.value = ValueFrom(info->value, info->valueLen);
        return BleGattServer::BleGattServerAddCharacteristic(serverId, serviceHandle, &member);
    });
}

BleStatusC BleGattServerStartService(int32_t serverId, int32_t serviceHandle)
{
    return CEntry<&BleGattServer::BleGattServerStartService>(kBleStatusFailed, serverId,
                                                             serviceHandle);
}

BleStatusC BleGattServerStopService(int32_t serverId, int32_t serviceHandle)
{
    return CEntry<&BleGattServer::BleGattServerStopService>(kBleStatusFailed, serverId,
                                                            serviceHandle);
}

BleStatusC BleGattServerPublishNotify(int32_t serverId, int32_t serviceHandle, const char* charUuid,
                                      const uint8_t* data, uint32_t dataLen, uint64_t peer)
{
    constexpr auto kFunction = "BleGattServerPublishNotify";
    return CEntry(kBleStatusFailed, [&] {
        if (charUuid == nullptr || (data == nullptr && dataLen != 0)) {
            pelacon::diag::Log(kLogFailure, kFunction, "invalid params");
            return kBleStatusFailed;
        }
        return BleGattServer::BleGattServerPublishNotify(serverId, serviceHandle, charUuid,
                                                         ValueFrom(data, dataLen), peer);
    });
}

BleStatusC BleGattServerPublishNotifyExt(BleGattNotifyInfoC* info)
{
    return CEntry(kBleStatusFailed, [&] {
        if (info == nullptr || info->valueLen == 0) {
            return kBleStatusFailed;
        }
        return BleGattServer::BleGattServerPublishNotify(
            info->serverId, info->serviceHandle, std::string(TextIn(info->charUuid)),
            ValueFrom(info->value, info->valueLen), info->peer);
    });
}
