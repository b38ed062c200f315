#include <protocol/BleAdvertiser.h>
#include <protocol/BleManager.h>
#include <protocol/BleScanner.h>
#include <protocol/ServiceLink.h>
#include <protocol/ServiceStatus.h>
#include <tests/service/StackTest.h>

#include <gmock/gmock.h>

#include <chrono>
#include <future>

namespace pelacon::service::tests {
namespace {

using protocol::kStatusDone;
using protocol::kStatusInterrupted;
using protocol::kStatusInvalidArgument;
using protocol::kStatusLimitReached;
using protocol::kStatusRadioOff;
using protocol::kStatusUnknownId;
using protocol::StartAdvertiseRequest;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

enum EndReason : std::int32_t {
    kTimeOver = 0,
    kAdapterOff = 1,
    kServiceRestart = 2,
    kRadioFailed = 3
};

class AdvertiserFamilyTest : public StackTest {
  protected:
    AdvertiserFamilyTest()
    {
        StartService(R"({"adapter": {"address": "0A:0B:0C:0D:0E:0F", "turnOnMs": 1,
                                     "turnOffMs": 1}})");
    }

    static std::int32_t Register(TestClient& client)
    {
        const auto reply = client.Call(protocol::kRegisterAdvertiser);
        EXPECT_EQ(reply->status, kStatusDone);
        EXPECT_GT(reply->value, 0);
        return reply->value;
    }
    static StartAdvertiseRequest Request(std::int32_t id, const Bytes& data,
                                         const Bytes& response = {})
    {
        StartAdvertiseRequest request{};
        request.advertiserId = id;
        request.params.minInterval = 20;
        const auto fill = [](protocol::AdvertisingField& field, const Bytes& bytes) {
            std::copy(bytes.begin(), bytes.end(), field.bytes);
            field.length = static_cast<std::uint32_t>(bytes.size());
        };
        fill(request.advData, data);
        fill(request.scanResp, response);
        return request;
    }
    static std::int32_t Start(TestClient& client, const StartAdvertiseRequest& request)
    {
        return client.Call(protocol::kStartAdvertise, request)->status;
    }
    static void Listen(TestClient& client)
    {
        const auto reply = client.Call(protocol::kRegisterScanListener);
        EXPECT_EQ(client.Call(protocol::kStartBleScan, {reply->value, 2})->status, kStatusDone);
    }
    static protocol::ScanResult Next(TestClient& client)
    {
        return client.Next(protocol::kScanResult).result;
    }
    static Bytes DataOf(const protocol::ScanResult& result)
    {
        return {result.data, result.data + result.dataLen};
    }
    nlohmann::json Advertising()
    {
        return Command({{"command", "status"}})["advertiser"]["advertising"];
    }
};

TEST_F(AdvertiserFamilyTest, OthersReceiveAdvertisementAndScanResponse)
{
    TestClient sender(PipeName());
    TestClient listener(PipeName());
    Listen(listener);
    const Bytes data{2, 1, 6};
    const Bytes response{3, 9, 'm', 'e'};
    auto request = Request(Register(sender), data, response);
    request.params.txPower = -10;
    ASSERT_EQ(Start(sender, request), kStatusDone);
    const auto advertisement = Next(listener);
    EXPECT_EQ(advertisement.address, 0x0A0B0C0D0E0FU);
    EXPECT_EQ(advertisement.eventType, 0);
    EXPECT_NEAR(advertisement.rssi, -50, 2);
    EXPECT_EQ(DataOf(advertisement), data);
    const auto scanResponse = Next(listener);
    EXPECT_EQ(scanResponse.eventType, 3);
    EXPECT_EQ(DataOf(scanResponse), response);
}

TEST_F(AdvertiserFamilyTest, ANonConnectableOneSendsNoScanResponse)
{
    TestClient sender(PipeName());
    Listen(sender);  // a program receives its own advertisements
    auto request = Request(Register(sender), {2, 1, 6}, {3, 9, 'm', 'e'});
    request.params.advEventType = 2;
    ASSERT_EQ(Start(sender, request), kStatusDone);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Next(sender).eventType, 2);
    }
}

TEST_F(AdvertiserFamilyTest, StartingAgainSendsTheNewData)
{
    TestClient sender(PipeName());
    Listen(sender);
    const std::int32_t id = Register(sender);
    Start(sender, Request(id, {2, 1, 6}));
    EXPECT_EQ(DataOf(Next(sender)), (Bytes{2, 1, 6}));
    EXPECT_EQ(Start(sender, Request(id, Bytes(31, 7))), kStatusDone);
    EXPECT_TRUE(Eventually([&] { return DataOf(Next(sender)) == Bytes(31, 7); }));
    EXPECT_EQ(DataOf(Next(sender)), Bytes(31, 7));
    EXPECT_EQ(Advertising(), 1);
}

TEST_F(AdvertiserFamilyTest, StopsWithoutANotification)
{
    TestClient sender(PipeName());
    const std::int32_t id = Register(sender);
    Start(sender, Request(id, {2, 1, 6}));
    EXPECT_EQ(Advertising(), 1);
    EXPECT_EQ(sender.Call(protocol::kStopAdvertise, {id})->status, kStatusDone);
    EXPECT_EQ(Advertising(), 0);
    EXPECT_EQ(sender.Call(protocol::kStopAdvertise, {id})->status, kStatusDone);
    EXPECT_EQ(sender.Waiting(protocol::kAdvertiseDisabled.id), 0U);
}

TEST_F(AdvertiserFamilyTest, EndsByItselfAfterItsTotalTime)
{
    TestClient sender(PipeName());
    const std::int32_t id = Register(sender);
    auto request = Request(id, {2, 1, 6});
    request.params.sendTotalTime = 60;
    const auto begin = Clock::now();
    ASSERT_EQ(Start(sender, request), kStatusDone);
    const auto end = sender.Next(protocol::kAdvertiseDisabled);
    EXPECT_GE(Clock::now() - begin, milliseconds(60));
    EXPECT_EQ(end.advertiserId, id);
    EXPECT_EQ(end.status, kTimeOver);
    EXPECT_EQ(Advertising(), 0);
    EXPECT_EQ(Start(sender, request), kStatusDone) << "it is still registered";
}

TEST_F(AdvertiserFamilyTest, SendsAndPausesInTurnForItsPartTime)
{
    TestClient sender(PipeName());
    Listen(sender);
    auto request = Request(Register(sender), {2, 1, 6});
    request.params.sendPartTime = 400;
    request.params.sendTotalTime = 1400;
    ASSERT_EQ(Start(sender, request), kStatusDone);
    // Advertises from 0 to 400 and from 800 to 1,200 ms; the longest gap is the pause between.
    Next(sender);
    auto last = Clock::now();
    auto longest = milliseconds(0);
    int received = 1;
    while (sender.Waiting(protocol::kAdvertiseDisabled.id) == 0) {
        if (sender.Waiting(protocol::kScanResult.id) > 0) {
            Next(sender);
            ++received;
            const auto now = Clock::now();
            longest = std::max(longest, std::chrono::duration_cast<milliseconds>(now - last));
            last = now;
        }
    }
    EXPECT_EQ(sender.Next(protocol::kAdvertiseDisabled).status, kTimeOver);
    EXPECT_GE(longest, milliseconds(200));
    EXPECT_GE(received, 10);
    EXPECT_LE(received, 43) << "one in 20 ms, for 800 ms in all";
}

TEST_F(AdvertiserFamilyTest, EndsWithTheAdapterAndNotifies)
{
    TestClient sender(PipeName());
    const std::int32_t id = Register(sender);
    Register(sender);
    auto request = Request(id, {2, 1, 6});
    request.params.sendTotalTime = 60000;
    Start(sender, request);
    sender.Call(protocol::kBtDisable);
    const auto end = sender.Next(protocol::kAdvertiseDisabled);
    EXPECT_EQ(end.advertiserId, id);
    EXPECT_EQ(end.status, kAdapterOff);
    EXPECT_EQ(Start(sender, request), kStatusRadioOff);
    EXPECT_EQ(sender.Waiting(protocol::kAdvertiseDisabled.id), 0U) << "the other did not advertise";
}

TEST_F(AdvertiserFamilyTest, InvalidParametersAreRefused)
{
    TestClient client(PipeName());
    const std::int32_t id = Register(client);
    const auto expect = [&](std::int32_t status, auto change) {
        StartAdvertiseRequest request = Request(id, {2, 1, 6});
        change(request);
        EXPECT_EQ(Start(client, request), status);
    };
    const auto refused = kStatusInvalidArgument;
    expect(refused, [](auto& request) { request.params.minInterval = 19; });
    expect(refused, [](auto& request) { request.params.minInterval = -1; });
    expect(refused, [](auto& request) { request.params.minInterval = 10241; });
    expect(refused, [](auto& request) { request.params.maxInterval = 19; });
    expect(refused, [](auto& request) { request.params.maxInterval = 10241; });
    expect(refused, [](auto& request) { request.params.channelMap = 8; });
    expect(refused, [](auto& request) { request.params.channelMap = -1; });
    expect(refused, [](auto& request) { request.params.advEventType = 3; });
    expect(refused, [](auto& request) { request.params.advEventType = -1; });
    expect(refused, [](auto& request) { request.params.txPower = 21; });
    expect(refused, [](auto& request) { request.params.txPower = -128; });
    expect(refused, [](auto& request) { request.params.sendTotalTime = -1; });
    expect(refused, [](auto& request) { request.params.sendPartTime = -1; });
    expect(refused, [](auto& request) {
        request.params.sendTotalTime = 4;
        request.params.sendPartTime = 5;
    });
    expect(refused, [](auto& request) { request.advData.length = 32; });
    expect(refused, [](auto& request) { request.scanResp.length = 0xFFFFFFFF; });
    EXPECT_EQ(Advertising(), 0);
    expect(kStatusDone, [](auto& request) {
        request.params.minInterval = 0;
        request.params.channelMap = 7;
        request.params.txPower = 20;
        request.params.sendTotalTime = 1000;
        request.params.sendPartTime = 1000;
        request.advData.length = 31;
    });
}

TEST_F(AdvertiserFamilyTest, IdsAreValidForTheirClientOnly)
{
    TestClient client(PipeName());
    TestClient other(PipeName());
    const std::int32_t id = Register(client);
    for (const std::int32_t unknown : {id, 0, -1, id + 1000}) {
        EXPECT_EQ(Start(other, Request(unknown, {})), kStatusUnknownId);
        EXPECT_EQ(other.Call(protocol::kStopAdvertise, {unknown})->status, kStatusUnknownId);
        EXPECT_EQ(other.Call(protocol::kUnregisterAdvertiser, {unknown})->status, kStatusUnknownId);
    }
    Start(client, Request(id, {}));
    EXPECT_EQ(client.Call(protocol::kUnregisterAdvertiser, {id})->status, kStatusDone);
    EXPECT_EQ(Advertising(), 0);
    EXPECT_EQ(client.Call(protocol::kStopAdvertise, {id})->status, kStatusUnknownId);
}

TEST_F(AdvertiserFamilyTest, AClientHasNoMoreAdvertisersThanFit)
{
    TestClient client(PipeName());
    for (int i = 0; i < 64; ++i) {
        Register(client);
    }
    EXPECT_EQ(client.Call(protocol::kRegisterAdvertiser)->status, kStatusLimitReached);
}

TEST_F(AdvertiserFamilyTest, EndsWithItsClient)
{
    {
        TestClient client(PipeName());
        auto request = Request(Register(client), {});
        request.params.sendPartTime = 10;
        request.params.sendTotalTime = 60000;
        Start(client, request);
        EXPECT_EQ(Advertising(), 1);
    }
    EXPECT_TRUE(Eventually([&] { return Advertising() == 0; }));
}

TEST_F(AdvertiserFamilyTest, AfterARestartAHeldIdIsReportedAsStopped)
{
    TestClient client(PipeName());
    const std::int32_t id = Register(client);
    Start(client, Request(id, {2, 1, 6}));
    Command({{"command", "restart"}});
    client.Next(protocol::kServiceStarted);
    EXPECT_EQ(Start(client, Request(id, {})), kStatusUnknownId);
    protocol::RepairRequest held{};
    held.advertiserIds[0] = id;
    EXPECT_EQ(client.Call(protocol::kRepairResource, held)->status, kStatusDone);
    const auto end = client.Next(protocol::kAdvertiseDisabled);
    EXPECT_EQ(end.advertiserId, id);
    EXPECT_EQ(end.status, kServiceRestart);
    EXPECT_EQ(Advertising(), 0);
    EXPECT_EQ(Start(client, Request(id, {})), kStatusDone);

    // A second repair request with the id does not stop it.
    EXPECT_EQ(client.Call(protocol::kRepairResource, held)->status, kStatusDone);
    EXPECT_EQ(Advertising(), 1);
}

// ---- A slow or failing stack

TEST_F(AdvertiserFamilyTest, AFailedStartIsAnsweredWithItsReason)
{
    TestClient sender(PipeName());
    const std::int32_t id = Register(sender);
    for (const auto& [why, status] : kRefusals) {
        Behave("advertise", {{"fails", why}, {"times", 1}});
        EXPECT_EQ(Start(sender, Request(id, {2, 1, 6})), status) << why;
        EXPECT_EQ(Advertising(), 0);
    }
    EXPECT_EQ(Start(sender, Request(id, {2, 1, 6})), kStatusDone);
    EXPECT_EQ(Advertising(), 1);
    EXPECT_EQ(sender.Waiting(protocol::kAdvertiseDisabled.id), 0U);
}

TEST_F(AdvertiserFamilyTest, AStartIsAnsweredWhenItIsOnAir)
{
    TestClient sender(PipeName());
    const std::int32_t id = Register(sender);
    Behave("advertise", {{"ms", 30}});
    auto request = Request(id, {2, 1, 6});
    request.params.sendTotalTime = 40;
    const auto begin = Clock::now();
    EXPECT_EQ(Start(sender, request), kStatusDone);
    EXPECT_GE(Clock::now() - begin, milliseconds(30));
    EXPECT_EQ(sender.Next(protocol::kAdvertiseDisabled).status, kTimeOver);
    EXPECT_GE(Clock::now() - begin, milliseconds(70)) << "its time began on the air";
}

TEST_F(AdvertiserFamilyTest, AStopEndsAStartThatIsUnderWay)
{
    TestClient sender(PipeName());
    const std::int32_t id = Register(sender);
    Behave("advertise", {{"ms", kForever}, {"times", 3}});
    const auto interrupt = [&](const auto& action) {
        auto starting = std::async(std::launch::async, [&] {
            return Start(sender, Request(id, {2, 1, 6}));
        });
        EXPECT_TRUE(Eventually([&] { return Advertising() == 1; }));
        action();
        return starting.get();
    };
    EXPECT_EQ(interrupt([&] { sender.Call(protocol::kStopAdvertise, {id}); }), kStatusInterrupted);
    EXPECT_EQ(Advertising(), 0);
    EXPECT_EQ(interrupt([&] { sender.Call(protocol::kBtDisable); }), kStatusRadioOff);
    EXPECT_EQ(Advertising(), 0);
    EXPECT_EQ(sender.Waiting(protocol::kAdvertiseDisabled.id), 0U) << "the request was answered";
    EXPECT_TRUE(Eventually([&] {
        sender.Call(protocol::kBtEnable);
        return sender.Call(protocol::kIsBtEnabled)->value == 1;
    }));
    EXPECT_EQ(interrupt([&] { sender.Call(protocol::kUnregisterAdvertiser, {id}); }),
              kStatusInterrupted);
}

TEST_F(AdvertiserFamilyTest, StartingAgainReplacesAStartThatIsUnderWay)
{
    TestClient sender(PipeName());
    const std::int32_t id = Register(sender);
    Behave("advertise", {{"ms", kForever}, {"times", 1}});
    auto first = std::async(std::launch::async, [&] {
        return Start(sender, Request(id, {2, 1, 6}));
    });
    EXPECT_TRUE(Eventually([&] { return Advertising() == 1; }));
    EXPECT_EQ(Start(sender, Request(id, {2, 1, 4})), kStatusDone);
    EXPECT_EQ(first.get(), kStatusInterrupted);
    EXPECT_EQ(Advertising(), 1);
}

TEST_F(AdvertiserFamilyTest, AClientMayLeaveDuringAStart)
{
    Behave("advertise", {{"ms", kForever}});
    {
        TestClient sender(PipeName());
        const std::int32_t id = Register(sender);
        EXPECT_FALSE(sender.Call(protocol::kStartAdvertise, Request(id, {}), milliseconds(20)));
        EXPECT_EQ(Advertising(), 1);
    }
    EXPECT_TRUE(Eventually([&] { return Advertising() == 0; }));
}

TEST_F(AdvertiserFamilyTest, TheRadioMayEndIt)
{
    TestClient sender(PipeName());
    const std::int32_t id = Register(sender);
    Behave("advertise", {{"endsAfterMs", 10}, {"times", 1}});
    ASSERT_EQ(Start(sender, Request(id, {2, 1, 6})), kStatusDone);
    auto disabled = sender.Next(protocol::kAdvertiseDisabled);
    EXPECT_EQ(disabled.advertiserId, id);
    EXPECT_EQ(disabled.status, kRadioFailed);
    EXPECT_EQ(Advertising(), 0);

    ASSERT_EQ(Start(sender, Request(id, {2, 1, 6})), kStatusDone) << "it is still registered";
    EXPECT_EQ(End("advertise"), 1);
    disabled = sender.Next(protocol::kAdvertiseDisabled);
    EXPECT_EQ(disabled.advertiserId, id);
    EXPECT_EQ(disabled.status, kRadioFailed);
    EXPECT_EQ(End("advertise"), 0);
}

TEST_F(AdvertiserFamilyTest, AFailureAfterAPauseIsNotified)
{
    TestClient sender(PipeName());
    const std::int32_t id = Register(sender);
    auto request = Request(id, {2, 1, 6});
    request.params.sendPartTime = 20;
    ASSERT_EQ(Start(sender, request), kStatusDone);
    Behave("advertise", {{"fails", "limit-reached"}});
    auto disabled = sender.Next(protocol::kAdvertiseDisabled);
    EXPECT_EQ(disabled.advertiserId, id);
    EXPECT_EQ(disabled.status, kRadioFailed);
    EXPECT_EQ(Advertising(), 0);

    Behave("advertise");
    ASSERT_EQ(Start(sender, request), kStatusDone);
    Behave("advertise", {{"fails", "blocked"}});
    disabled = sender.Next(protocol::kAdvertiseDisabled);
    EXPECT_EQ(disabled.status, kAdapterOff);
}

}  // namespace
}  // namespace pelacon::service::tests
