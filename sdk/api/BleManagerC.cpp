#include <PelaconSDK/BleManager.h>
#include <karvell_secure_c/securec.h>
#include <sdk/api/BothForms.h>
#include <sdk/api/CEntry.h>

#include <string>

using pelacon::CEntry;

BleStatusC RegisterBtStateChangeCallbacks(BtManagerCallbacksC* callbacks)
{
    return CEntry<&BleManager::RegisterBtStateChangeCallbacks>(kBleStatusFailed, callbacks);
}

BleStatusC UnRegisterBtStateChangeCallbacks(BtManagerCallbacksC* callbacks)
{
    return CEntry<&BleManager::UnRegisterBtStateChangeCallbacks>(kBleStatusFailed, callbacks);
}

BleStatusC BtEnable()
{
    return CEntry<&BleManager::BtEnable>(kBleStatusFailed);
}

BleStatusC BtDisable()
{
    return CEntry<&BleManager::BtDisable>(kBleStatusFailed);
}

bool IsBtEnabled()
{
    return CEntry<&BleManager::IsBtEnabled>(false);
}

BtRunningState GetBtRunningState()
{
    return CEntry<&BleManager::GetBtRunningState>(kBtStateUnknown);
}

BleStatusC GetBtMacAndName(BtInfo* info)
{
    return CEntry<&BleManager::GetBtMacAndName>(kBleStatusFailed, info);
}

BleStatusC SetBtName(const char* name, int32_t length)
{
    return CEntry(kBleStatusFailed, [&] {
        if (name == nullptr || length < 0) {
            pelacon::diag::Log(kLogFailure, "SetBtName", "invalid params");
            return kBleStatusFailed;
        }
        return pelacon::SetAdapterName({name, static_cast<std::size_t>(length)});
    });
}

BleStatusC GetBtName(uint8_t* buffer, int32_t* size)
{
    return CEntry(kBleStatusFailed, [&] {
        std::string name;
        const BleStatusC status = BleManager::GetBtName(name);
        if (status != kBleStatusSuccess || name.empty()) {
            return status;
        }
        if (buffer == nullptr || size == nullptr || *size < 0 ||
            name.size() > static_cast<std::size_t>(*size)) {
            return kBleStatusBufferTooSmall;
        }
        const auto capacity = static_cast<std::size_t>(*size);
        return memcpy_s(buffer, capacity, name.data(), name.size()) == 0 ? kBleStatusSuccess
                                                                         : kBleStatusBufferTooSmall;
    });
}

DeviceConnectStatus IsDeviceConnected(uint64_t address, BluetoothType type)
{
    return CEntry<&BleManager::IsDeviceConnected>(kDeviceConnectUnknown, address, type);
}
