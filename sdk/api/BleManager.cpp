#include <PelaconSDK/BleManager.h>
#include <karvell_secure_c/securec.h>
#include <protocol/BleManager.h>
#include <sdk/api/BleCall.h>
#include <sdk/api/BothForms.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/BleManagerCallbacks.h>

using namespace pelacon;

BleStatusC BleManager::RegisterBtStateChangeCallbacks(BtManagerCallbacksC* callbacks)
{
    BleCall call("BleManager::RegisterBtStateChangeCallbacks");
    if (callbacks == nullptr) {
        return call.Refuse(kLogFailure, "null");
    }
    return call.Send(protocol::kRegisterBtStateChange, {}, call.Then([&](const auto&) {
        Registry<BleManagerCallbacks>().AddBleManagerCb(callbacks);
    }));
}

BleStatusC BleManager::UnRegisterBtStateChangeCallbacks(BtManagerCallbacksC* callbacks)
{
    const BleCall call("BleManager::UnRegisterBtStateChangeCallbacks");
    Registry<BleManagerCallbacks>().RemoveBleManagerCb(callbacks);
    call.Log(kLogTrace, "end");
    return kBleStatusSuccess;
}

BleStatusC BleManager::BtEnable()
{
    return BleCall("BleManager::BtEnable").Send(protocol::kBtEnable, {});
}

BleStatusC BleManager::BtDisable()
{
    return BleCall("BleManager::BtDisable").Send(protocol::kBtDisable, {});
}

bool BleManager::IsBtEnabled()
{
    return Call("BleManager::IsBtEnabled", false, false).Send(protocol::kIsBtEnabled, {});
}

BtRunningState BleManager::GetBtRunningState()
{
    Call call("BleManager::GetBtRunningState", kBtStateUnknown, kBtStateUnknown);
    call.WhenNotSent([&] { call.Log(kLogFailure, "ipc send error"); });
    return call.Send(protocol::kGetBtRunningState, {});
}

BleStatusC BleManager::GetBtMacAndName(BtInfo* info)
{
    BleCall call("BleManager::GetBtMacAndName");
    if (call.IsNull("info", info)) {
        return kBleStatusFailed;
    }
    call.WhenNoReply([&] {
        VoviewDataReport::EventDataReport(VoviewDataReport::kBtMacAndNameEvent)
            .AddInt("EventType", 1)
            .AddInt("ErrorCode", 3)
            .Report();
        call.Log(kLogMilestone, "[VoView]EventType: 1-getBtMacNameFail ,ErrorCode: 3-ipc timeout");
    });
    return call.Send(protocol::kGetBtMacAndName, {}, [&](const protocol::MacAndNameReply& reply) {
        info->mac = reply.mac;
        if (memcpy_s(info->name, sizeof info->name, reply.name, sizeof reply.name) != 0) {
            return call.Refuse(kLogFailure, "memcpy_s failed!", kBleStatusDataTooLong);
        }
        return BleStatusOf(reply);
    });
}

BleStatusC pelacon::SetAdapterName(std::string_view name)
{
    BleCall call("BleManager::SetBtName");
    if (name.size() > protocol::kBtNameSize) {
        call.Log(kLogFailure, "name too long:", name.size());
        return kBleStatusFailed;
    }
    return call.Send(protocol::kSetBtName, std::string(name));
}

BleStatusC BleManager::SetBtName(const std::string& name)
{
    return SetAdapterName(name);
}

BleStatusC BleManager::GetBtName(std::string& name)
{
    BleCall call("BleManager::GetBtName");
    return call.Send(protocol::kGetBtName, {}, call.Then([&](const protocol::BtNameReply& reply) {
        name = protocol::TextIn(reply.name);
    }));
}

DeviceConnectStatus BleManager::IsDeviceConnected(uint64_t address, BluetoothType type)
{
    Call call("BleManager::IsDeviceConnected", kDeviceConnectUnknown, kDeviceConnectUnknown);
    call.WhenNotSent([&] { call.Log(kLogFailure, "ipc send error"); });
    return call.Send(protocol::kIsDeviceConnected, {type, {}, address});
}
