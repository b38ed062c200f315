#include <PelaconSDK/BleManager.h>
#include <karvell_secure_c/securec.h>
#include <sdk/api/BtName.h>
#include <sdk/api/CEntry.h>

#include <string>

using pelacon::CEntry;

BleStatusC RegisterBtStateChangeCallbacks(BtManagerCallbacksC* callbacks)
{
    return CEntry("RegisterBtStateChangeCallbacks", kBleStatusFailed,
                  [&] { return BleManager::RegisterBtStateChangeCallbacks(callbacks); });
}

BleStatusC UnRegisterBtStateChangeCallbacks(BtManagerCallbacksC* callbacks)
{
    return CEntry("UnRegisterBtStateChangeCallbacks", kBleStatusFailed,
                  [&] { return BleManager::UnRegisterBtStateChangeCallbacks(callbacks); });
}

BleStatusC BtEnable()
{
    return CEntry("BtEnable", kBleStatusFailed, [] { return BleManager::BtEnable(); });
}

BleStatusC BtDisable()
{
    return CEntry("BtDisable", kBleStatusFailed, [] { return BleManager::BtDisable(); });
}

bool IsBtEnabled()
{
    return CEntry("IsBtEnabled", false, [] { return BleManager::IsBtEnabled(); });
}

BtRunningState GetBtRunningState()
{
    return CEntry("GetBtRunningState", kBtStateUnknown,
                  [] { return BleManager::GetBtRunningState(); });
}

BleStatusC GetBtMacAndName(BtInfo* info)
{
    return CEntry("GetBtMacAndName", kBleStatusFailed,
                  [&] { return BleManager::GetBtMacAndName(info); });
}

BleStatusC SetBtName(const char* name, int32_t length)
{
    return CEntry("SetBtName", kBleStatusFailed, [&] {
        if (name == nullptr || length < 0) {
            pelacon::diag::Log(kLogFailure, "SetBtName", "invalid params");
            return kBleStatusFailed;
        }
        return pelacon::SetAdapterName({name, static_cast<std::size_t>(length)});
    });
}

BleStatusC GetBtName(uint8_t* buffer, int32_t* size)
{
    return CEntry("GetBtName", kBleStatusFailed, [&] {
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
    return CEntry("IsDeviceConnected", kDeviceConnectUnknown,
                  [&] { return BleManager::IsDeviceConnected(address, type); });
}
