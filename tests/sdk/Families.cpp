#include <PelaconSDK/PelaconSDK.h>
#include <protocol/BleAdvertiser.h>
#include <protocol/BleManager.h>
#include <protocol/BleScanner.h>
#include <protocol/GattClient.h>
#include <protocol/GattServer.h>
#include <protocol/SoftAp.h>
#include <protocol/TargetAdv.h>
#include <protocol/Vod2dConfig.h>
#include <protocol/Vod2dGroup.h>
#include <protocol/WifiState.h>
#include <tests/sdk/Families.h>
#include <tests/sdk/WifiListener.h>
#include <tests/support/SdkTest.h>

#include <ostream>

namespace pelacon::test {

std::function<void()> inCallback;

namespace {

void Callback()
{
    if (const std::function<void()> action = inCallback) {
        action();
    }
}

struct Listener : IdleListener {
    void OnConnectStatus(int32_t /*status*/) override { Callback(); }
    void OnAdvertisementStatus(uint32_t /*status*/) override { Callback(); }
    void OnWifiStateChanged(int32_t /*state*/) override { Callback(); }
    void OnConnectChannel(int32_t /*channel*/) override { Callback(); }
};

}  // namespace

void PrintTo(const Family& family, std::ostream* out)
{
    *out << family.name;
}

// Ids are 0 in every answer and notification: the first table of an id stays.
const std::vector<Family>& Families()
{
    static const std::vector<Family>& families = *new std::vector<Family>{
        {"BleManager", protocol::kBtEnable.id, [] { return BleManager::BtEnable(); },
         protocol::kRegisterBtStateChange.id, ByteVector(48),
         [] {
             BleManager::RegisterBtStateChangeCallbacks(
                 &Lasting<BtManagerCallbacksC>({[](int32_t) { Callback(); }}));
         },
         protocol::kBtStateChanged.id},
        {"BleScanner", protocol::kStopBleScan.id, [] { return BleScanner::StopBleScan(0); },
         protocol::kRegisterScanListener.id, ByteVector(48),
         [] {
             int id = 0;
             BleScanner::BleScanRegisterCallbacks(
                 &Lasting<BleScanCallbacksC>({[](int32_t, int32_t) { Callback(); }, nullptr}), &id);
         },
         protocol::kScanStatus.id},
        {"BleAdvertiser", protocol::kStopAdvertise.id,
         [] { return BleAdvertiser::BleStopAdvertise(0); }, protocol::kRegisterAdvertiser.id,
         ByteVector(48),
         [] {
             int id = 0;
             BleAdvertiser::BleAdvRegisterCallbacks(
                 &Lasting<BleAdvCallbacksC>({[](int32_t, int32_t) { Callback(); }}), &id);
         },
         protocol::kAdvertiseDisabled.id},
        {"BleGattClient", protocol::kGattClientDisconnect.id,
         [] { return BleGattClient::BleGattClientDisconnect(0); }, protocol::kGattClientConnect.id,
         ByteVector(48),
         [] {
             BleGattClient::BleGattClientConnect(
                 0, 1,
                 &Lasting<BtGattClientCallbacksC>(
                     {[](int32_t, int32_t, int32_t) { Callback(); }, nullptr}));
         },
         protocol::kGattConnectionState.id},
        {"BleGattServer", protocol::kGattServerStartService.id,
         [] { return BleGattServer::BleGattServerStartService(0, 0); },
         protocol::kGattServerRegister.id, ByteVector(48),
         [] {
             int id = 0;
             BleGattServer::BleGattServerRegister(
                 &Lasting<BtGattServerCallbacksC>(
                     {[](uint64_t) { Callback(); }, nullptr, nullptr, nullptr}),
                 &id);
         },
         protocol::kGattPeerConnected.id},
        {"Vod2dGroup", protocol::kSharedlinkIncrease.id,
         [] { return Vod2dApi::Vod2dOrvidSharedlinkIncrease(); },
         protocol::kRegisterSoftApStateChanged.id, ByteVector(48),
         [] {
             Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&Lasting<Vod2dWifiBroadcastRecvCb>(
                 {[](Vod2dGroupChange) { Callback(); }, nullptr}));
         },
         protocol::kSoftApGroupsChange.id},
        {"Vod2dConfigurations", protocol::kSharedlinkIncrease.id,
         [] { return Vod2dApi::Vod2dOrvidSharedlinkIncrease(); }, protocol::kRegisterWifiCfg.id,
         ByteVector(48),
         [] {
             Vod2dApi::Vod2dRegisterWifiCfgCallback(
                 &Lasting<Vod2dWifiCfgCallback>({[](const Vod2dWifiCfgEvent*) { Callback(); }}));
         },
         protocol::kWifiCfgChanged.id},
        {"Vod2dConnections", protocol::kSharedlinkIncrease.id,
         [] { return Vod2dApi::Vod2dOrvidSharedlinkIncrease(); }, protocol::kSetConnNotify.id,
         ByteVector(48),
         [] {
             Vod2dConnNotifyRequest request{};
             Vod2dApi::Vod2dSetConnNotify(
                 &request,
                 &Lasting<Vod2dWifiCfgCallback>({[](const Vod2dWifiCfgEvent*) { Callback(); }}));
         },
         protocol::kConnNotify.id},
        {"Vod2dCards", protocol::kSharedlinkIncrease.id,
         [] { return Vod2dApi::Vod2dOrvidSharedlinkIncrease(); },
         protocol::kSetWifiCardStateNotify.id, ByteVector(48),
         [] {
             WifiCardStateInfo info{};
             int32_t count = 0;
             Vod2dApi::Vod2dSetWifiCardStateNotify(
                 &info, &count,
                 &Lasting<WifiCardStateCallback>({[](const WifiCardStateEvent*) { Callback(); }}));
         },
         protocol::kWifiCardStateChange.id},
        {"SoftApConnections", protocol::kGetSoftApError.id, [] { return Api().GetSoftApError(); },
         protocol::kRegistSoftApConnectStatus.id, ByteVector(48),
         [] { Api().RegistSoftApConnectStatus(&Lasting<Listener>()); },
         protocol::kSoftApConnectStatus.id},
        {"SoftApNotifications", protocol::kGetSoftApError.id, [] { return Api().GetSoftApError(); },
         protocol::kRegisterSoftApNotification.id, ByteVector(48),
         [] { Api().RegisterSoftApNotificationEventCallback(&Lasting<Listener>()); },
         protocol::kSoftApAdvertisement.id},
        {"WifiChannel",
         protocol::kGetSoftApError.id,
         [] { return Api().GetSoftApError(); },
         protocol::kRegistWifiStateChangeCallBack.id,
         {1},
         [] { Api().RegistWifiStateChangeCallBack(&Lasting<Listener>()); },
         protocol::kWifiConnectChannel.id},
        {"WifiSwitch",
         protocol::kGetSoftApError.id,
         [] { return Api().GetSoftApError(); },
         protocol::kRegistWifiStateChangeCallback.id,
         {1},
         [] { Api().RegistWifiStateChangeCallback(&Lasting<Listener>()); },
         protocol::kWifiSwitchState.id},
    };
    return families;
}

void ScriptAnswers(const Family& family)
{
    Channel::Get().Reply(family.request, Bytes().I32(0));
    Channel::Get().Reply(family.registration, family.agreement);
}

void Notify(const Family& family)
{
    Channel::Get().Deliver(family.notification, ByteVector(2048));
}

}  // namespace pelacon::test
