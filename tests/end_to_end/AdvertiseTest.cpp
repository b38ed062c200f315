// Advertising, received by a scanner.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/Bytes.h>
#include <tests/support/Mailbox.h>
#include <tests/support/ServiceProcess.h>

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace pelacon::test {

namespace {

struct AdvertisingEnd {
    std::int32_t advId = 0;
    std::int32_t status = -1;
};

Mailbox<AdvertisingEnd>& Ends()
{
    static auto& ends = *new Mailbox<AdvertisingEnd>;
    return ends;
}

Mailbox<BleScanResultC>& ReceivedResults()
{
    static auto& results = *new Mailbox<BleScanResultC>;
    return results;
}

BleAdvCallbacksC advTable{[](std::int32_t advId, std::int32_t status) {
    Ends().Put({advId, status});
}};
BleScanCallbacksC scanTable{
    nullptr, [](std::int32_t, BleScanResultC result) { ReceivedResults().Put(result); }};

class Advertise : public ::testing::Test {
  protected:
    Advertise()
    {
        Ends().Clear();
        ReceivedResults().Clear();
        EXPECT_EQ(PelaconSvcStart(), 0);
    }
    ~Advertise() override
    {
        for (const int id : advertisers_) {
            BleAdvertiser::BleAdvUnRegisterCallbacks(id);
        }
        for (const int id : listeners_) {
            BleScanner::StopBleScan(id);
            BleScanner::BleScanUnRegisterCallbacks(id);
        }
        PelaconSvcStop();
    }

    int Register()
    {
        int id = 0;
        EXPECT_EQ(BleAdvertiser::BleAdvRegisterCallbacks(&advTable, &id), 0);
        EXPECT_GT(id, 0);
        advertisers_.push_back(id);
        return id;
    }
    void Listen()
    {
        int id = 0;
        EXPECT_EQ(BleScanner::BleScanRegisterCallbacks(&scanTable, &id), 0);
        listeners_.push_back(id);
        EXPECT_EQ(BleScanner::StartBleScan(id, kBleScanLowLatency), 0);
    }
    static ByteVector DataOf(const BleScanResultC& result)
    {
        return {result.data, result.data + result.dataLen};
    }
    static bool IsResponse(const BleScanResultC& result)
    {
        return result.eventType == kBleScanResponse;
    }

    static constexpr BleAdvertiseParamsC kParams{20, 0, 0, kBleAdvConnectable, 4, 0, 0};

    ServiceProcess service{R"({"adapter": {"address": "0A:0B:0C:0D:0E:0F", "turnOnMs": 1,
                                           "turnOffMs": 1}})"};

  private:
    std::vector<int> advertisers_;
    std::vector<int> listeners_;
};

TEST_F(Advertise, AScannerReceivesDataAndScanResponse)
{
    Listen();
    const int id = Register();
    const ByteVector data(31, 7);
    const ByteVector response{3, 9, 'm', 'e'};
    ASSERT_EQ(BleAdvertiser::BleStartAdvertise(id, kParams, {data, response}), 0);
    BleScanResultC received =
        ReceivedResults().NextThat([](const auto& one) { return !IsResponse(one); });
    EXPECT_EQ(received.address, 0x0A0B0C0D0E0FU);
    EXPECT_EQ(DataOf(received), data);
    received = ReceivedResults().NextThat(IsResponse);
    EXPECT_EQ(DataOf(received), response);
    EXPECT_EQ(BleAdvertiser::BleStopAdvertise(id), 0);
}

TEST_F(Advertise, AScannerReceivesAnotherProgramsAdvertisement)
{
    Listen();
    ChildProcess other(PelaconctlPath(), {"advertise", "--name", "Neighbour"});
    const BleScanResultC received = ReceivedResults().Next();
    std::uint8_t* name = nullptr;
    std::uint32_t length = 0;
    ASSERT_EQ(BleGetAdvDataByType(received.data, received.dataLen, 0x09, &name, &length), 0);
    EXPECT_EQ(std::string(name, name + length), "Neighbour");
    other.Interrupt();
    EXPECT_EQ(other.Wait(), 0);
}

TEST_F(Advertise, EndsAfterItsTimeAndItsCallbackIsCalled)
{
    const int id = Register();
    BleAdvertiseParamsC params = kParams;
    params.sendTotalTime = 40;
    params.sendPartTime = 10;
    ASSERT_EQ(BleAdvertiser::BleStartAdvertise(id, params, {}), 0);
    const AdvertisingEnd end = Ends().Next();
    EXPECT_EQ(end.advId, id);
    EXPECT_EQ(end.status, kBleAdvTimeOver);
}

TEST_F(Advertise, EndsWhenTheAdapterIsSwitchedOff)
{
    const int id = Register();
    ASSERT_EQ(BleAdvertiser::BleStartAdvertise(id, kParams, {}), 0);
    EXPECT_EQ(BleManager::BtDisable(), 0);
    EXPECT_EQ(Ends().Next().status, kBleAdvAdapterOff);
    EXPECT_GT(BleAdvertiser::BleStartAdvertise(id, kParams, {}), 0);
}

TEST_F(Advertise, EndsWithTheServiceAndCanStartAgain)
{
    const int id = Register();
    ASSERT_EQ(BleAdvertiser::BleStartAdvertise(id, kParams, {{2, 1, 6}, {}}), 0);
    service.Restart();
    const AdvertisingEnd end = Ends().Next();
    EXPECT_EQ(end.advId, id);
    EXPECT_EQ(end.status, kBleAdvServiceRestart);
    Listen();
    ASSERT_EQ(BleAdvertiser::BleStartAdvertise(id, kParams, {{2, 1, 6}, {}}), 0);
    EXPECT_EQ(DataOf(ReceivedResults().Next()), (ByteVector{2, 1, 6}));
}

TEST_F(Advertise, UnregisteredIdsAreUnknown)
{
    const int id = Register();
    EXPECT_EQ(BleAdvertiser::BleAdvUnRegisterCallbacks(id), 0);
    for (const int unknown : {id, 0, -1}) {
        EXPECT_GT(BleAdvertiser::BleStartAdvertise(unknown, kParams, {}), 0);
        EXPECT_GT(BleAdvertiser::BleStopAdvertise(unknown), 0);
        EXPECT_GT(BleAdvertiser::BleAdvUnRegisterCallbacks(unknown), 0);
    }
    EXPECT_EQ(BleAdvertiser::BleStartAdvertise(id, kParams, {ByteVector(32), {}}), -10);
}

}  // namespace

}  // namespace pelacon::test
