// The library in a child that fork made of the process: whatever the parent's threads were doing,
// the child can stop the library, start it and use every class.
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
#include <tests/sdk/WifiListener.h>
#include <tests/support/HeldCallback.h>
#include <tests/support/SdkTest.h>
#include <tests/support/linux/InChild.h>

#include <chrono>
#include <functional>
#include <future>
#include <ostream>
#include <string>
#include <thread>

namespace pelacon::test {

namespace {

using namespace std::chrono_literals;

constexpr auto kLimit = 10s;

/// What every callback does.
std::function<void()> inCallback;

void Callback()
{
    if (const std::function<void()> action = inCallback) {
        action();
    }
}

struct Listener : Deaf {
    void OnConnectStatus(int32_t /*status*/) override { Callback(); }
    void OnAdvertisementStatus(uint32_t /*status*/) override { Callback(); }
    void OnWifiStateChanged(int32_t /*state*/) override { Callback(); }
    void OnConnectChannel(int32_t /*channel*/) override { Callback(); }
};

/// An operation, and a registration of the same family with what calls its callback.
struct Family {
    const char* name;
    std::int32_t request;
    std::function<int()> call;
    std::int32_t registration;
    ByteVector agreement;  ///< the service's, to the registration
    std::function<void()> registerTable;
    std::int32_t notification;
};

void PrintTo(const Family& family, std::ostream* out)
{
    *out << family.name;
}

// Ids are 0 in every answer and notification: the first table of an id stays.

const Family kFamilies[] = {
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
         Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(
             &Lasting<Vod2dWifiBroadcastRecvCb>({[](Vod2dGroupChange) { Callback(); }, nullptr}));
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
     [] { return Vod2dApi::Vod2dOrvidSharedlinkIncrease(); }, protocol::kSetWifiCardStateNotify.id,
     ByteVector(48),
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

/// Answers of a service that agrees to everything.
void ScriptAnswers(const Family& family)
{
    Channel::Get().Reply(family.request, Bytes().I32(0));
    Channel::Get().Reply(family.registration, family.agreement);
}

/// What is said of a change that is all zeros.
void Notify(const Family& family)
{
    Channel::Get().Deliver(family.notification, ByteVector(2048));
}

/// Stops the library that came with the fork, starts it anew and uses the family. Returns how many
/// of these failed.
int UseAnew(const Family& family)
{
    Channel::Get().Reset();
    ScriptAnswers(family);
    int failed = 0;
    failed += PelaconSvcStop() != 0;
    failed += family.call() != -1;
    failed += PelaconSvcStart() != 0;
    failed += family.call() != 0;
    family.registerTable();
    int heard = 0;
    inCallback = [&] { ++heard; };
    Notify(family);
    failed += heard == 0;
    failed += PelaconSvcStop() != 0;
    return failed;
}

class ForkTest : public SdkTest {
  protected:
    ~ForkTest() override { inCallback = nullptr; }
};

class FamilyForkTest : public ForkTest, public ::testing::WithParamInterface<Family> {
  protected:
    void SetUp() override
    {
        ForkTest::SetUp();
        ScriptAnswers(GetParam());
    }
};

TEST_P(FamilyForkTest, AChildUsesTheFamilyThoughAThreadOfItsParentIsInARequest)
{
    std::promise<void> inRequest;
    std::promise<void> forked;
    channel.OnRequest(GetParam().request, [&](const Sent&) {
        inRequest.set_value();
        EXPECT_EQ(forked.get_future().wait_for(kLimit), std::future_status::ready);
    });
    std::thread caller(GetParam().call);
    ASSERT_EQ(inRequest.get_future().wait_for(kLimit), std::future_status::ready);
    EXPECT_EQ(InChild([] { return UseAnew(GetParam()); }), 0);
    forked.set_value();
    caller.join();
}

TEST_P(FamilyForkTest, AChildUsesTheFamilyThoughAThreadOfItsParentIsInACallback)
{
    GetParam().registerTable();
    inCallback = HeldCallback::Hold;
    HeldCallback callback([] { Notify(GetParam()); });
    ASSERT_TRUE(callback.IsInside());
    EXPECT_EQ(InChild([] { return UseAnew(GetParam()); }), 0);
}

TEST_P(FamilyForkTest, AChildThatACallbackMakesUsesTheFamilyThereAndAfterwards)
{
    GetParam().registerTable();
    pid_t child = -1;
    int failed = 0;
    inCallback = [&] {
        inCallback = nullptr;
        child = fork();
        if (child == 0) {
            alarm(20);
            failed += UseAnew(GetParam());
        }
    };
    Notify(GetParam());
    if (child == 0) {
        _exit(failed + UseAnew(GetParam()));
    }
    EXPECT_EQ(ExitCode(child), 0);
}

INSTANTIATE_TEST_SUITE_P(Families, FamilyForkTest, ::testing::ValuesIn(kFamilies),
                         [](const auto& test) { return test.param.name; });

TEST_F(ForkTest, AChildStartsTheLibraryThoughAThreadOfItsParentIsStoppingIt)
{
    std::promise<void> stopping;
    std::promise<void> forked;
    channel.OnUnregister([&] {
        stopping.set_value();
        EXPECT_EQ(forked.get_future().wait_for(kLimit), std::future_status::ready);
    });
    std::thread stopper([] { PelaconSvcStop(); });
    ASSERT_EQ(stopping.get_future().wait_for(kLimit), std::future_status::ready);
    EXPECT_EQ(InChild([] {
                  Channel::Get().Reset();
                  Channel::Get().Reply(protocol::kBtEnable.id, Bytes().I32(0));
                  int failed = PelaconSvcStart() != 0;
                  failed += BleManager::BtEnable() != 0;
                  failed += PelaconSvcStop() != 0;
                  return failed;
              }),
              0);
    forked.set_value();
    stopper.join();
}

TEST_F(ForkTest, AChildStopsTheLibraryThoughAThreadOfItsParentIsStartingIt)
{
    PelaconSvcStop();
    std::promise<void> starting;
    std::promise<void> forked;
    channel.OnConstruct([&] {
        starting.set_value();
        EXPECT_EQ(forked.get_future().wait_for(kLimit), std::future_status::ready);
    });
    std::thread starter([] { PelaconSvcStart(); });
    ASSERT_EQ(starting.get_future().wait_for(kLimit), std::future_status::ready);
    EXPECT_EQ(InChild([] {
                  Channel::Get().Reset();
                  Channel::Get().Reply(protocol::kBtEnable.id, Bytes().I32(0));
                  int failed = PelaconSvcStop() != 0;
                  failed += BleManager::BtEnable() != -1;
                  failed += PelaconSvcStart() != 0;
                  failed += BleManager::BtEnable() != 0;
                  return failed;
              }),
              0);
    forked.set_value();
    starter.join();
}

}  // namespace

}  // namespace pelacon::test
