// Notifications without memory: the library drops them, and the application continues. The library
// is the real one; the tests let each allocation of each receiver fail in turn.
#include <PelaconSDK/WifiSystem.h>
#include <PelaconSDK/WifiSystemApi.h>
#include <protocol/BleAdvertiser.h>
#include <protocol/BleManager.h>
#include <protocol/BleScanner.h>
#include <protocol/ErrorStatus.h>
#include <protocol/GattClient.h>
#include <protocol/GattServer.h>
#include <protocol/SoftAp.h>
#include <protocol/Vod2dConfig.h>
#include <protocol/Vod2dGroup.h>
#include <protocol/WifiState.h>
#include <sdk/ipc/AdvertiserCallbacks.h>
#include <sdk/ipc/BleManagerCallbacks.h>
#include <sdk/ipc/GattClientCallbacks.h>
#include <sdk/ipc/GattServerCallbacks.h>
#include <sdk/ipc/GroupCallbacks.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/Receivers.h>
#include <sdk/ipc/ScanCallbacks.h>
#include <sdk/ipc/SoftApListeners.h>
#include <sdk/ipc/WifiConfigCallbacks.h>
#include <sdk/ipc/WifiStateListeners.h>
#include <tests/sdk/WifiListener.h>
#include <tests/support/FailingAllocations.h>

#include <gtest/gtest.h>

#include <atomic>
#include <ostream>
#include <stdexcept>
#include <vector>

namespace pelacon::test {

namespace {

std::atomic<int> called{0};

struct CountingListener : IdleListener, ErrorListener {
    void OnConnectStatus(int32_t /*status*/) override { ++called; }
    void OnAdvertisementStatus(uint32_t /*status*/) override { ++called; }
    void OnDeviceConnectionStatus(uint32_t /*status*/) override { ++called; }
    void OnWifiStateChanged(int32_t /*state*/) override { ++called; }
    void OnConnectChannel(int32_t /*channel*/) override { ++called; }
    void OnError(ErrorDetail /*detail*/) override { ++called; }
};

/// Registers every kind of callback, with id 0 where there are ids.
void RegisterForEverything()
{
    static BtManagerCallbacksC manager{[](int32_t) { ++called; }};
    static BleAdvCallbacksC advertiser{[](int32_t, int32_t) { ++called; }};
    static BleScanCallbacksC scanner{[](int32_t, int32_t) { ++called; },
                                     [](int32_t, BleScanResultC) { ++called; }};
    static BtGattClientCallbacksC client{
        [](int32_t, int32_t, int32_t) { ++called; },
        [](int32_t, const char*, const char*, const uint8_t*, uint32_t, int32_t) { ++called; }};
    static BtGattServerCallbacksC server{[](uint64_t) { ++called; }, [](uint64_t) { ++called; },
                                         [](uint64_t, uint32_t) { ++called; },
                                         [](uint64_t, uint32_t) { ++called; }};
    static BtGattCharCallbacksC characteristic{
        [](uint64_t, const char*, const char*, const uint8_t*, uint32_t) { ++called; },
        [](uint64_t, const char*, const char*, const uint8_t*, uint32_t) { ++called; }};
    static Vod2dWifiBroadcastRecvCb group{[](Vod2dGroupChange) { ++called; },
                                          [](const Vod2dStationChange*) { ++called; }};
    static Vod2dWifiCfgCallback configuration{[](const Vod2dWifiCfgEvent*) { ++called; }};
    static WifiCardStateCallback card{[](const WifiCardStateEvent*) { ++called; }};
    static CountingListener& listener = *new CountingListener;  // used by threads at the exit

    Registry<BleManagerCallbacks>().AddBleManagerCb(&manager);
    Registry<AdvertiserCallbacks>().AddAdvCb(&advertiser, 0);
    Registry<ScanCallbacks>().AddScanCb(&scanner, 0);
    Registry<ScanCallbacks>().ScanStart(0);
    Registry<GattClientCallbacks>().AddBleGattClientCb(&client, 0);
    Registry<GattServerCallbacks>().AddGattServer(&server, 0);
    Registry<GattServerCallbacks>().AddGattServerService(0, 0, std::string(36, 's'));
    BLECharacteristicInfo info;
    info.charUuid = std::string(36, 'c');
    Registry<GattServerCallbacks>().AddGattServerCharacteristic(0, 0, &info, &characteristic);
    Registry<GroupCallbacks>().AddSoftAPStateChanged(&group);
    Registry<WifiConfigCallbacks>().RegisterWifiCfgCallback(&configuration);
    Registry<WifiConfigCallbacks>().RegisterConnNotifyCallback(&configuration, {});
    Registry<WifiConfigCallbacks>().RegisterWifiCardStateCallback(&card, {});
    Registry<SoftApListeners>().SetSoftApConnectStatus(&listener);
    Registry<SoftApListeners>().AddSoftApNotificationCallback(&listener);
    Registry<WifiStateListeners>().AddWifiStateCallback(&listener);
    Registry<WifiStateListeners>().AddWifiStateChangeCallback(&listener);
    WifiSystemApi::GetInstance().RegistListener(&listener);
}

struct Notified {
    const char* name;
    std::int32_t id;
};

void PrintTo(const Notified& notified, std::ostream* out)
{
    *out << notified.name;
}

class OutOfMemoryTest : public ::testing::TestWithParam<Notified> {
  protected:
    static void SetUpTestSuite() { RegisterForEverything(); }

    /// A payload that is valid for every record: the UUID of the one characteristic is at its place
    /// in the notifications of characteristics, and a station joins with a long address.
    static std::vector<std::uint8_t> Payload()
    {
        std::vector<std::uint8_t> payload(2048);
        if (GetParam().id == protocol::kGattPeerReads.id ||
            GetParam().id == protocol::kGattPeerWrites.id) {
            std::fill_n(payload.begin() + offsetof(protocol::GattPeerRequestRecord, charUuid), 36,
                        std::uint8_t{'c'});
        }
        if (GetParam().id == protocol::kSoftApConnectionStateChange.id) {
            payload[0] = kVod2dStationJoined;
        }
        return payload;
    }
};

TEST_P(OutOfMemoryTest, LosesOneNotificationAtMost)
{
    std::vector<std::uint8_t> payload = Payload();
    TagIPCMessageItem item;
    item.msgId = GetParam().id;
    item.message = payload.data();
    const auto runsOutAfter = [&](int allocations) {
        const FailingAllocations memory(allocations);
        OnIpcMessage(item);
        OnIpcMessageExt(item);
        return memory.HasFailed();
    };
    for (int allocations = 0; runsOutAfter(allocations); ++allocations) {
        ASSERT_LT(allocations, 100);
    }
    called = 0;
    OnIpcMessage(item);
    OnIpcMessageExt(item);
    if (GetParam().id != protocol::kErrorStatus.id && GetParam().id != protocol::kScanResult.id) {
        EXPECT_GE(called, 1);  // the others come on threads of their own
    }
}

INSTANTIATE_TEST_SUITE_P(
    Notifications, OutOfMemoryTest,
    ::testing::Values(Notified{"BtState", protocol::kBtStateChanged.id},
                      Notified{"AdvertiseDisabled", protocol::kAdvertiseDisabled.id},
                      Notified{"ScanStatus", protocol::kScanStatus.id},
                      Notified{"ScanResult", protocol::kScanResult.id},
                      Notified{"GattConnection", protocol::kGattConnectionState.id},
                      Notified{"GattNotification", protocol::kGattNotification.id},
                      Notified{"PeerConnected", protocol::kGattPeerConnected.id},
                      Notified{"PeerReads", protocol::kGattPeerReads.id},
                      Notified{"PeerWrites", protocol::kGattPeerWrites.id},
                      Notified{"Group", protocol::kSoftApGroupsChange.id},
                      Notified{"Station", protocol::kSoftApConnectionStateChange.id},
                      Notified{"WifiCfg", protocol::kWifiCfgChanged.id},
                      Notified{"Connection", protocol::kConnNotify.id},
                      Notified{"Card", protocol::kWifiCardStateChange.id},
                      Notified{"SoftApConnection", protocol::kSoftApConnectStatus.id},
                      Notified{"SoftApAdvertisement", protocol::kSoftApAdvertisement.id},
                      Notified{"SoftApDevice", protocol::kSoftApDeviceConnection.id},
                      Notified{"Channel", protocol::kWifiConnectChannel.id},
                      Notified{"Switch", protocol::kWifiSwitchState.id},
                      Notified{"Error", protocol::kErrorStatus.id}),
    [](const auto& test) { return test.param.name; });

TEST(OutOfMemory, LeavesTextsOfTheCFormsEmptyAndTerminated)
{
    const auto runsOutAfter = [&](int allocations) {
        char text[8] = {'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'};
        std::int32_t numbers[2] = {7, 7};
        const FailingAllocations memory(allocations);
        EXPECT_EQ(WifiSystemGetSSID(text, sizeof text), 0);
        EXPECT_EQ(text[0], '\0');
        EXPECT_EQ(WifiSystemGetRecordPhoneChannelList(numbers, 2), 0);
        EXPECT_EQ(numbers[0], 7);
        return memory.HasFailed();
    };
    for (int allocations = 0; runsOutAfter(allocations); ++allocations) {
        ASSERT_LT(allocations, 100);
    }
}

using OutOfMemoryDeathTest = ::testing::Test;

TEST_F(OutOfMemoryDeathTest, AnExceptionOfACallbackEndsTheProcess)
{
    static BtManagerCallbacksC manager{
        [](int32_t) { throw std::runtime_error("of the callback"); }};
    Registry<BleManagerCallbacks>().AddBleManagerCb(&manager);
    std::vector<std::uint8_t> payload(2048);
    TagIPCMessageItem item;
    item.msgId = protocol::kBtStateChanged.id;
    item.message = payload.data();
    EXPECT_DEATH(OnIpcMessage(item), "of the callback");
    Registry<BleManagerCallbacks>().RemoveBleManagerCb(&manager);
}

}  // namespace

}  // namespace pelacon::test
