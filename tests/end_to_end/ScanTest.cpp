// Scanning, from the library's callbacks to the radios and back.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/Mailbox.h>
#include <tests/support/ServiceProcess.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace pelacon::test {

namespace {

constexpr std::uint64_t kThermometer = 0xC00000000001;

constexpr char kWorld[] = R"({
    "adapter": {"turnOnMs": 1, "turnOffMs": 1},
    "peripherals": [
        {"address": "C0:00:00:00:00:01", "name": "Thermometer", "rssi": -58,
         "rssiVariation": 4, "advertising": {"intervalMs": 5,
            "data": [{"flags": 6}, {"service": "180F", "data": "64"},
                     {"manufacturer": "FFFF", "data": "0102"}],
            "scanResponse": [{"name": "Thermometer"}]}},
        {"address": "C0:00:00:00:00:02", "name": "Lamp", "advertising": {"intervalMs": 5}}
    ]})";

struct Received {
    std::int32_t listenerId = 0;
    BleScanResultC result{};
    std::thread::id thread;
};

struct Status {
    std::int32_t listenerId = 0;
    std::int32_t status = -1;
};

Mailbox<Received>& Results()
{
    static auto& results = *new Mailbox<Received>;
    return results;
}

Mailbox<Status>& Statuses()
{
    static auto& statuses = *new Mailbox<Status>;
    return statuses;
}

BleScanCallbacksC listenerTable{
    [](std::int32_t id, std::int32_t status) {
        Statuses().Put({id, status});
    },
    [](std::int32_t id, BleScanResultC result) {
        Results().Put({id, result, std::this_thread::get_id()});
    },
};

class Scan : public ::testing::Test {
  protected:
    Scan()
    {
        Results().Clear();
        Statuses().Clear();
        EXPECT_EQ(PelaconSvcStart(), 0);
    }
    ~Scan() override
    {
        for (const int id : ids_) {
            BleScanner::StopBleScan(id);
            BleScanner::BleScanUnRegisterCallbacks(id);
        }
        PelaconSvcStop();
    }

    int Register(BleScanCallbacksC* callbacks = &listenerTable)
    {
        int id = 0;
        EXPECT_EQ(BleScanner::BleScanRegisterCallbacks(callbacks, &id), 0);
        EXPECT_GT(id, 0);
        ids_.push_back(id);
        return id;
    }
    int Scanning(BleScanPolicy policy = kBleScanLowLatency)
    {
        const int id = Register();
        EXPECT_EQ(BleScanner::StartBleScan(id, policy), 0);
        return id;
    }
    static bool IsOfThermometer(const Received& received)
    {
        return received.result.address == kThermometer;
    }
    static std::string Text(const std::uint8_t* bytes, std::uint32_t length)
    {
        return std::string(bytes, bytes + length);
    }

    ServiceProcess service{kWorld};

  private:
    std::vector<int> ids_;
};

TEST_F(Scan, ResultsHoldWhatWasAdvertised)
{
    const int id = Scanning();
    Received received = Results().NextThat([](const Received& one) {
        return IsOfThermometer(one) && one.result.eventType == kBleScanConnectable;
    });
    EXPECT_EQ(received.listenerId, id);
    EXPECT_NE(received.thread, std::this_thread::get_id());
    EXPECT_GE(received.result.rssi, -62);
    EXPECT_LE(received.result.rssi, -54);
    std::uint8_t* data = nullptr;
    std::uint32_t length = 0;
    EXPECT_EQ(BleGetServiceDataByUuid(received.result.data, received.result.dataLen, 0x180F, &data,
                                      &length),
              0);
    EXPECT_EQ(Text(data, length), "\x64");
    EXPECT_EQ(BleGetManufacturerDataByCompanyId(received.result.data, received.result.dataLen, 0,
                                                &data, &length),
              0);
    EXPECT_EQ(Text(data, length), "\x01\x02");
    received = Results().NextThat([](const Received& one) {
        return IsOfThermometer(one) && one.result.eventType == kBleScanResponse;
    });
    EXPECT_EQ(
        BleGetAdvDataByType(received.result.data, received.result.dataLen, 0x09, &data, &length),
        0);
    EXPECT_EQ(Text(data, length), "Thermometer");
}

TEST_F(Scan, EveryScanningListenerReceivesEveryResult)
{
    const std::set<int> ids{Scanning(), Scanning(), Scanning()};
    const int notScanning = Register();
    // Many results of the first listeners may precede the start of the last one's scan.
    std::set<int> received;
    while (received.size() < ids.size() && !HasFailure()) {
        received.insert(Results().Next().listenerId);
    }
    for (int i = 0; i < 60; ++i) {
        received.insert(Results().Next().listenerId);
    }
    EXPECT_EQ(received, ids);
    EXPECT_FALSE(received.contains(notScanning));
}

TEST_F(Scan, StatusesFollowTheScan)
{
    const int id = Scanning();
    Status change = Statuses().Next();
    EXPECT_EQ(change.listenerId, id);
    EXPECT_EQ(change.status, kBleScanStarted);
    EXPECT_EQ(BleScanner::StopBleScan(id), 0);
    EXPECT_EQ(Statuses().Next().status, kBleScanStopped);
    EXPECT_EQ(BleScanner::StartBleScan(id, kBleScanBalanced), 0);
    EXPECT_EQ(Statuses().Next().status, kBleScanStarted);
    EXPECT_EQ(BleManager::BtDisable(), 0);
    change = Statuses().Next();
    EXPECT_EQ(change.listenerId, id);
    EXPECT_EQ(change.status, kBleScanStoppedAdapterOff);
    EXPECT_GT(BleScanner::StartBleScan(id, kBleScanBalanced), 0) << "the service refuses";
}

TEST_F(Scan, FiltersAreAppliedByTheService)
{
    const int id = Register();
    BleScanFilter filters[2]{};
    filters[0].type = 0x09;
    filters[0].patternLength = 2;
    std::memcpy(filters[0].patternData, "La", 2);
    filters[1].type = 0x42;
    EXPECT_EQ(BleScanner::SetScanFilter(id, filters, 2), 0);
    EXPECT_EQ(BleScanner::StartBleScan(id, kBleScanLowLatency), 0);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(Results().Next().result.address, 0xC00000000002U);
    }
    EXPECT_EQ(BleScanner::RemoveScanFilter(id), 0);
    Results().NextThat(IsOfThermometer);

    filters[0].patternLength = 33;
    EXPECT_GT(BleScanner::SetScanFilter(id, filters, 1), 0) << "the service refuses";
    EXPECT_GT(BleScanner::SetScanFilter(id, filters, -1), 0);
    EXPECT_EQ(BleScanner::SetScanFilter(id, filters, 6), -1);
}

TEST_F(Scan, UnregisteredIdsAreUnknown)
{
    const int id = Scanning();
    Results().Next();
    EXPECT_EQ(BleScanner::BleScanUnRegisterCallbacks(id), 0);
    for (const int unknown : {id, -1, 0, 2147483647}) {
        EXPECT_GT(BleScanner::StartBleScan(unknown, kBleScanBalanced), 0);
        EXPECT_GT(BleScanner::StopBleScan(unknown), 0);
        EXPECT_GT(BleScanner::SetScanFilter(unknown, nullptr, 0), 0);
        EXPECT_GT(BleScanner::RemoveScanFilter(unknown), 0);
        EXPECT_GT(BleScanner::BleScanUnRegisterCallbacks(unknown), 0);
    }
}

TEST_F(Scan, ANullTableIsNeverCalled)
{
    const int id = Register(nullptr);
    EXPECT_EQ(BleScanner::StartBleScan(id, kBleScanLowLatency), 0);
    const int other = Scanning();
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(Results().Next().listenerId, other);
    }
}

// Each result callback has a thread of its own, so a blocked one delays nothing else.
TEST_F(Scan, ABlockedCallbackDelaysNothingElse)
{
    static std::mutex& gate = *new std::mutex;
    static std::atomic<int>& blocked = *new std::atomic<int>{0};
    std::unique_lock<std::mutex> closed(gate);
    static BleScanCallbacksC slow{nullptr, [](std::int32_t, BleScanResultC) {
                                      ++blocked;
                                      const std::lock_guard wait(gate);
                                      --blocked;
                                  }};
    const int id = Register(&slow);
    EXPECT_EQ(BleScanner::StartBleScan(id, kBleScanLowLatency), 0);
    ASSERT_TRUE(Eventually([] { return blocked > 10; }));
    Scanning();
    for (int i = 0; i < 20; ++i) {
        Results().Next();
    }
    EXPECT_TRUE(BleManager::IsBtEnabled());
    EXPECT_EQ(BleScanner::StopBleScan(id), 0);
    EXPECT_EQ(BleScanner::BleScanUnRegisterCallbacks(id), 0);
    closed.unlock();
    EXPECT_TRUE(Eventually([] { return blocked == 0; }));
}

TEST_F(Scan, AListenerScansAgainAfterTheServiceRestarted)
{
    const int id = Scanning();
    Results().Next();
    EXPECT_EQ(Statuses().Next().status, kBleScanStarted);
    service.Restart();
    const Status change = Statuses().Next();
    EXPECT_EQ(change.listenerId, id) << "the library's repair request contains it";
    EXPECT_EQ(change.status, kBleScanServiceRestart);
    Results().Clear();
    EXPECT_EQ(Results().Next().listenerId, id);
    EXPECT_EQ(BleScanner::StopBleScan(id), 0);
    EXPECT_EQ(Statuses().Next().status, kBleScanStopped);
}

TEST_F(Scan, WithoutAServiceThereIsNoAnswer)
{
    const int id = Scanning();
    service.End();
    EXPECT_EQ(BleScanner::StartBleScan(id, kBleScanBalanced), kBleStatusNoReply);
    EXPECT_EQ(BleScanner::StopBleScan(id), kBleStatusNoReply);
    int other = 77;
    EXPECT_EQ(BleScanner::BleScanRegisterCallbacks(&listenerTable, &other), kBleStatusNoReply);
    EXPECT_EQ(other, 77);
    PelaconSvcStop();
    EXPECT_EQ(BleScanner::StopBleScan(id), kBleStatusFailed);
    PelaconSvcStart();
}

}  // namespace

}  // namespace pelacon::test
