#include <PelaconSDK/BleManager.h>
#include <karvell_secure_c/securec.h>
#include <protocol/BleManager.h>
#include <sdk/api/BleFailures.h>
#include <sdk/api/BtName.h>
#include <sdk/diag/Log.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/Exchange.h>

using namespace pelacon;  // NOLINT(google-build-using-namespace)
using diag::Log;
using diag::LogStart;

BleStatusC BleManager::RegisterBtStateChangeCallbacks(BtManagerCallbacksC* callbacks)
{
    constexpr auto kFunction = "BleManager::RegisterBtStateChangeCallbacks";
    LogStart(kFunction);
    if (callbacks == nullptr) {
        Log(kLogFailure, kFunction, "null");
        return kBleStatusFailed;
    }
    return Exchange(kFunction, protocol::kRegisterBtStateChange, {}, kBleFailures,
                    [&](const protocol::StatusReply& reply) {
                        if (reply.status == kBleStatusSuccess) {
                            IPCMessageSender::GetInstance().AddBleManagerCb(callbacks);
                        }
                        return BleStatusOf(reply);
                    });
}

BleStatusC BleManager::UnRegisterBtStateChangeCallbacks(BtManagerCallbacksC* callbacks)
{
    constexpr auto kFunction = "BleManager::UnRegisterBtStateChangeCallbacks";
    LogStart(kFunction);
    IPCMessageSender::GetInstance().RemoveBleManagerCb(callbacks);
    diag::LogEnd(kFunction);
    return kBleStatusSuccess;
}

BleStatusC BleManager::BtEnable()
{
    constexpr auto kFunction = "BleManager::BtEnable";
    LogStart(kFunction);
    return Exchange(kFunction, protocol::kBtEnable, {}, kBleFailures, BleStatusOf);
}

BleStatusC BleManager::BtDisable()
{
    constexpr auto kFunction = "BleManager::BtDisable";
    LogStart(kFunction);
    return Exchange(kFunction, protocol::kBtDisable, {}, kBleFailures, BleStatusOf);
}

bool BleManager::IsBtEnabled()
{
    constexpr auto kFunction = "BleManager::IsBtEnabled";
    LogStart(kFunction);
    return Exchange(kFunction, protocol::kIsBtEnabled, {}, Failures<bool>{false, false},
                    [](const protocol::ByteReply& reply) { return reply.value != 0; });
}

BtRunningState BleManager::GetBtRunningState()
{
    constexpr auto kFunction = "BleManager::GetBtRunningState";
    LogStart(kFunction);
    return Exchange(kFunction, protocol::kGetBtRunningState, {},
                    Failures<BtRunningState>{kBtStateUnknown, kBtStateUnknown}.OnNotSent(
                        [&] { Log(kLogFailure, kFunction, "ipc send error"); }),
                    [](const protocol::Int32Record& reply) {
                        return static_cast<BtRunningState>(reply.value);
                    });
}

BleStatusC BleManager::GetBtMacAndName(BtInfo* info)
{
    constexpr auto kFunction = "BleManager::GetBtMacAndName";
    LogStart(kFunction);
    if (info == nullptr) {
        Log(kLogIncomplete, kFunction, "info is nullptr, return");
        return kBleStatusFailed;
    }
    const auto reportTimeout = [&] {
        VoviewDataReport::EventDataReport(VoviewDataReport::kBtMacAndNameEvent)
            .AddInt("EventType", 1)
            .AddInt("ErrorCode", 3)
            .Report();
        Log(kLogMilestone, kFunction,
            "[VoView]EventType: 1-getBtMacNameFail ,ErrorCode: 3-ipc timeout");
    };
    return Exchange(
        kFunction, protocol::kGetBtMacAndName, {}, kBleFailures.OnNoReply(reportTimeout),
        [&](const protocol::MacAndNameReply& reply) {
            info->mac = reply.mac;
            if (memcpy_s(info->name, sizeof info->name, reply.name, sizeof reply.name) != 0) {
                Log(kLogFailure, kFunction, "memcpy_s failed!");
                return kBleStatusDataTooLong;
            }
            return static_cast<BleStatusC>(reply.status);
        });
}

BleStatusC pelacon::SetAdapterName(std::string_view name)
{
    constexpr auto kFunction = "BleManager::SetBtName";
    LogStart(kFunction);
    if (name.size() > protocol::kBtNameSize) {
        Log(kLogFailure, kFunction, "name too long:", name.size());
        return kBleStatusFailed;
    }
    return Exchange(kFunction, protocol::kSetBtName, std::string(name), kBleFailures, BleStatusOf);
}

BleStatusC BleManager::SetBtName(const std::string& name)
{
    return pelacon::SetAdapterName(name);
}

BleStatusC BleManager::GetBtName(std::string& name)
{
    constexpr auto kFunction = "BleManager::GetBtName";
    LogStart(kFunction);
    return Exchange(kFunction, protocol::kGetBtName, {}, kBleFailures,
                    [&](const protocol::BtNameReply& reply) {
                        if (reply.status == kBleStatusSuccess) {
                            name = FixedText(reply.name);
                        }
                        return static_cast<BleStatusC>(reply.status);
                    });
}

DeviceConnectStatus BleManager::IsDeviceConnected(uint64_t address, BluetoothType type)
{
    constexpr auto kFunction = "BleManager::IsDeviceConnected";
    LogStart(kFunction);
    const protocol::DeviceConnectedRequest request{type, {}, address};
    return Exchange(
        kFunction, protocol::kIsDeviceConnected, request,
        Failures<DeviceConnectStatus>{kDeviceConnectUnknown, kDeviceConnectUnknown}.OnNotSent(
            [&] { Log(kLogFailure, kFunction, "ipc send error"); }),
        [](const protocol::Int32Record& reply) {
            return static_cast<DeviceConnectStatus>(reply.value);
        });
}
