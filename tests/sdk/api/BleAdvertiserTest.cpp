#include <PelaconSDK/BleAdvertiser.h>
#include <tests/sdk/api/BleMembers.h>
#include <tests/support/SdkTest.h>

#include <chrono>
#include <future>
#include <thread>

namespace pelacon::test {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr std::int32_t kRegister = 0xD7003C;
constexpr std::int32_t kUnregister = 0xD7003D;
constexpr std::int32_t kStart = 0xD7003F;
constexpr std::int32_t kStop = 0xD70041;

constexpr auto kStartFunction = "BleAdvertiser::BleStartAdvertise";

ByteVector IdAlone(std::int32_t id)
{
    return Bytes().I32(id);
}

/// The seven parameters, all different.
constexpr BleAdvertiseParamsC kParams{-11, 22, 33, 1, -55, 500, 100};

ByteVector StartPayload(std::int32_t id, const BleAdvertiseParamsC& params,
                        const ByteVector& advData, const ByteVector& scanResp)
{
    return Bytes()
        .I32(id)
        .I32(params.minInterval)
        .I32(params.maxInterval)
        .I32(params.channelMap)
        .I32(params.advEventType)
        .I32(params.txPower)
        .I32(params.sendTotalTime)
        .I32(params.sendPartTime)
        .Raw(advData, 31)
        .U8(0)
        .U32(static_cast<std::uint32_t>(advData.size()))
        .Raw(scanResp, 31)
        .U8(0)
        .U32(static_cast<std::uint32_t>(scanResp.size()));
}

std::vector<BleMember> Members()
{
    return {
        {"BleAdvRegisterCallbacks", "BleAdvertiser",
         [](int) {
             int id = 0;
             return BleAdvertiser::BleAdvRegisterCallbacks(&Lasting<BleAdvCallbacksC>(), &id);
         },
         kRegister, [](int) { return ByteVector(); }, true},
        {"BleAdvUnRegisterCallbacks", "BleAdvertiser",
         [](int id) { return BleAdvertiser::BleAdvUnRegisterCallbacks(id); }, kUnregister, IdAlone},
        {"BleStartAdvertise", "BleAdvertiser",
         [](int id) {
             return BleAdvertiser::BleStartAdvertise(id, kParams, {{1, 2, 3}, {4, 5}});
         },
         kStart,
         [](int id) {
             return StartPayload(id, kParams, {1, 2, 3}, {4, 5});
         }},
        {"BleStopAdvertise", "BleAdvertiser",
         [](int id) { return BleAdvertiser::BleStopAdvertise(id); }, kStop, IdAlone},
    };
}

class BleAdvertiserMembers : public SdkTest, public ::testing::WithParamInterface<BleMember> {};

TEST_P(BleAdvertiserMembers, Answered)
{
    CheckAnswered(channel, GetParam());
}

TEST_P(BleAdvertiserMembers, AnsweredWithNothing)
{
    CheckAnsweredWithNothing(channel, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Started, BleAdvertiserMembers, ::testing::ValuesIn(Members()),
                         [](const auto& member) { return member.param.name; });

class BleAdvertiserMembersStopped : public StoppedSdkTest,
                                    public ::testing::WithParamInterface<BleMember> {};

TEST_P(BleAdvertiserMembersStopped, Refused)
{
    CheckNotStarted(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Stopped, BleAdvertiserMembersStopped, ::testing::ValuesIn(Members()),
                         [](const auto& member) { return member.param.name; });

// ---- Registering and unregistering

TEST_F(SdkTest, AdvRegisterStoresTheIdOnSuccessOnly)
{
    BleAdvCallbacksC& table = Lasting<BleAdvCallbacksC>();
    int id = 77;
    channel.Reply(kRegister, Bytes().I32(123456).I32(5));
    EXPECT_EQ(BleAdvertiser::BleAdvRegisterCallbacks(&table, &id), 5);
    channel.ReplyNothing(kRegister);
    EXPECT_EQ(BleAdvertiser::BleAdvRegisterCallbacks(&table, &id), -9);
    EXPECT_EQ(id, 77);
    EXPECT_THAT(LogLines::All(), Not(Contains(Start("IPCMessageSender::AddAdvCb"))));
    const std::int32_t given = FreshId();
    channel.Reply(kRegister, Bytes().I32(given).I32(0));
    LogLines::Clear();
    EXPECT_EQ(BleAdvertiser::BleAdvRegisterCallbacks(&table, &id), 0);
    EXPECT_EQ(id, given);
    constexpr auto kFunction = "BleAdvertiser::BleAdvRegisterCallbacks";
    constexpr auto kAdd = "IPCMessageSender::AddAdvCb";
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kFunction), Start(kAdd), Line(1, "add callback", kAdd), End(kAdd),
                            End(kFunction)));
}

TEST_F(SdkTest, AdvRegisterRefusesNulls)
{
    constexpr auto kFunction = "BleAdvertiser::BleAdvRegisterCallbacks";
    int id = 5;
    EXPECT_EQ(BleAdvertiser::BleAdvRegisterCallbacks(nullptr, &id), -1);
    EXPECT_EQ(BleAdvertiser::BleAdvRegisterCallbacks(&Lasting<BleAdvCallbacksC>(), nullptr), -1);
    EXPECT_EQ(BleAdvertiser::BleAdvRegisterCallbacks(nullptr, nullptr), -1);
    const LogLine noCallback = Line(3, "advCallback is nullptr, return", kFunction);
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kFunction), noCallback, Start(kFunction),
                                             Line(3, "businessId is nullptr, return", kFunction),
                                             Start(kFunction), noCallback));
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_EQ(id, 5);
}

void ExpectBroadcastError(const char* function, std::int32_t eventType, std::int32_t businessId)
{
    constexpr auto kReport = "ReportBroadcastError";
    EXPECT_THAT(Events::All(), ElementsAre(Event{954082008,
                                                 {Int("EventType", eventType), Int("ErrorCode", 2),
                                                  Int("BusinessId", businessId)}}));
    const std::vector<LogLine> lines = LogLines::All();
    ASSERT_GE(lines.size(), 5U);
    EXPECT_THAT(
        std::vector(lines.end() - 4, lines.end()),
        ElementsAre(
            Line(2, "[VoView]==== 954082008 ====", kReport),
            Line(2, "[VoView]EventType:" + std::to_string(eventType) + ",ErrorCode:2", kReport),
            Line(3, "[VoView]BusinessId " + std::to_string(businessId), kReport),
            NoReply(function)));
}

TEST_F(SdkTest, AdvRegisterWithoutReplyReportsAnEvent)
{
    int id = 0;
    EXPECT_EQ(BleAdvertiser::BleAdvRegisterCallbacks(&Lasting<BleAdvCallbacksC>(), &id), -9);
    ExpectBroadcastError("BleAdvertiser::BleAdvRegisterCallbacks", 1, 0);
}

TEST_F(SdkTest, StartAdvertiseWithoutReplyReportsAnEvent)
{
    EXPECT_EQ(BleAdvertiser::BleStartAdvertise(-77, kParams, {}), -9);
    ExpectBroadcastError(kStartFunction, 2, -77);
}

TEST_F(SdkTest, OtherAdvertiserRequestsWithoutReplyReportNothing)
{
    EXPECT_EQ(BleAdvertiser::BleStopAdvertise(1), -9);
    EXPECT_EQ(BleAdvertiser::BleAdvUnRegisterCallbacks(1), -9);
    EXPECT_THAT(Events::All(), IsEmpty());
}

TEST_F(SdkTest, AdvUnregisterForgetsTheTableBeforeItAsks)
{
    int id = 0;
    channel.Reply(kRegister, Bytes().I32(FreshId()).I32(0));
    BleAdvertiser::BleAdvRegisterCallbacks(&Lasting<BleAdvCallbacksC>(), &id);
    ForgetWhatHappened();
    EXPECT_EQ(BleAdvertiser::BleAdvUnRegisterCallbacks(id), -9);
    EXPECT_THAT(Journal::Entries(),
                ElementsAre("log 1 start(BleAdvertiser::BleAdvUnRegisterCallbacks)",
                            "log 1 start(IPCMessageSender::RemoveAdvCb)",
                            "log 1 remove callback(IPCMessageSender::RemoveAdvCb)",
                            "log 1 end(IPCMessageSender::RemoveAdvCb)", "request 0xD7003D",
                            HasSubstr("log 3 recvMsg.message is nullptr, return")));
}

// ---- Starting

TEST_F(SdkTest, StartAdvertiseLogsItsSteps)
{
    channel.Reply(kStart, Bytes().I32(0));
    EXPECT_EQ(BleAdvertiser::BleStartAdvertise(3, kParams, {{1, 2, 3}, {4, 5}}), 0);
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Line(1, "start sendTotalTime:500,sendPartTime:100", kStartFunction),
                            Line(2, "advData size:3,scanResp size:2", kStartFunction),
                            Line(2, "advEventType:1", kStartFunction), End(kStartFunction)));
}

TEST_F(SdkTest, StartAdvertiseChecksItsTimes)
{
    struct Case {
        std::int32_t total;
        std::int32_t part;
        bool valid;
    };
    constexpr std::int32_t kLeast = -2147483647 - 1;
    constexpr std::int32_t kMost = 2147483647;
    channel.Reply(kStart, Bytes().I32(0));
    for (const Case& one :
         {Case{0, 500, true}, Case{100, 500, false}, Case{500, 100, true}, Case{-1, 0, false},
          Case{0, 0, true}, Case{0, -1, false}, Case{5, 5, true}, Case{5, 6, false},
          Case{-1, -1, false}, Case{-1, -2, false}, Case{kLeast, kLeast, false},
          Case{5, kLeast, false}, Case{kMost, kMost, true}, Case{0, kMost, true}}) {
        ForgetWhatHappened();
        BleAdvertiseParamsC params{};
        params.sendTotalTime = one.total;
        params.sendPartTime = one.part;
        const LogLine start = Line(1,
                                   "start sendTotalTime:" + std::to_string(one.total) +
                                       ",sendPartTime:" + std::to_string(one.part),
                                   kStartFunction);
        EXPECT_EQ(BleAdvertiser::BleStartAdvertise(3, params, {}), one.valid ? 0 : -1);
        if (one.valid) {
            EXPECT_THAT(channel.OnlyRequest(),
                        RequestIs(kStart, StartPayload(3, params, {}, {}), 5000));
            EXPECT_EQ(LogLines::All().front(), start);
        } else {
            EXPECT_THAT(channel.Requests(), IsEmpty());
            EXPECT_THAT(LogLines::All(),
                        ElementsAre(start, Line(4, "part time param invalid", kStartFunction)));
        }
    }
}

TEST_F(SdkTest, StartAdvertiseRefusesBadTimesWithoutWaiting)
{
    std::promise<void> inside;
    std::promise<void> go;
    channel.OnRequest(kStop, [&](const Sent&) {
        inside.set_value();
        go.get_future().wait_for(std::chrono::seconds(10));
    });
    std::thread other([] { BleAdvertiser::BleStopAdvertise(1); });
    ASSERT_EQ(inside.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    BleAdvertiseParamsC params{};
    params.sendPartTime = -1;
    EXPECT_EQ(BleAdvertiser::BleStartAdvertise(3, params, {}), -1);

    // A valid one waits for the running operation, as all four operations do.
    auto good =
        std::async(std::launch::async, [] { return BleAdvertiser::BleStartAdvertise(3, {}, {}); });
    auto unregister =
        std::async(std::launch::async, [] { return BleAdvertiser::BleAdvUnRegisterCallbacks(3); });
    auto registering = std::async(std::launch::async, [] {
        int id = 0;
        return BleAdvertiser::BleAdvRegisterCallbacks(&Lasting<BleAdvCallbacksC>(), &id);
    });
    EXPECT_EQ(good.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_EQ(channel.Requests().size(), 1U);
    go.set_value();
    other.join();
    EXPECT_EQ(good.get() + unregister.get() + registering.get(), -27);
}

TEST_F(SdkTest, StartAdvertiseTakesThirtyOneBytes)
{
    channel.Reply(kStart, Bytes().I32(0));
    const ByteVector full = Counting(31);
    EXPECT_EQ(BleAdvertiser::BleStartAdvertise(3, kParams, {full, full}), 0);
    EXPECT_THAT(channel.OnlyRequest(),
                RequestIs(kStart, StartPayload(3, kParams, full, full), 5000));
    EXPECT_EQ(channel.OnlyRequest().item.length, 104U);
}

TEST_F(SdkTest, StartAdvertiseRefusesMoreThanThirtyOneBytes)
{
    channel.Reply(kStart, Bytes().I32(0));
    const LogLine start = Line(1, "start sendTotalTime:500,sendPartTime:100", kStartFunction);
    for (const std::size_t size : {32U, 33U, 100000U}) {
        for (const BleAdvertiseData& data :
             {BleAdvertiseData{Counting(size), {}}, BleAdvertiseData{{}, Counting(size)},
              BleAdvertiseData{Counting(size), Counting(size)}}) {
            LogLines::Clear();
            EXPECT_EQ(BleAdvertiser::BleStartAdvertise(3, kParams, data), -10);
            EXPECT_THAT(LogLines::All(),
                        ElementsAre(start, Line(4, "memcpy failed!", kStartFunction)));
        }
    }
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_EQ(BleAdvertiser::BleStartAdvertise(3, kParams, {}), 0) << "the next one is accepted";
}

TEST_F(SdkTest, StartAdvertiseWhoseCopyFails)
{
    channel.Reply(kStart, Bytes().I32(0));
    Copies::FailNext();
    EXPECT_EQ(BleAdvertiser::BleStartAdvertise(3, kParams, {{1}, {2}}), -10);
    Copies::FailAfter(1);
    EXPECT_EQ(BleAdvertiser::BleStartAdvertise(3, kParams, {{1}, {2}}), -10);
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

TEST_F(SdkTest, StartAdvertiseSendsUnknownEventTypesAsZero)
{
    channel.Reply(kStart, Bytes().I32(0));
    for (const std::int32_t type : {0, 1, 2, 3, -1, 2147483647, -2147483647 - 1}) {
        ForgetWhatHappened();
        BleAdvertiseParamsC params = kParams;
        params.advEventType = type;
        EXPECT_EQ(BleAdvertiser::BleStartAdvertise(3, params, {}), 0);
        const bool known = type >= 0 && type <= 2;
        params.advEventType = known ? type : 0;
        EXPECT_THAT(channel.OnlyRequest(),
                    RequestIs(kStart, StartPayload(3, params, {}, {}), 5000));
        const LogLine asGiven = Line(2, "advEventType:" + std::to_string(type), kStartFunction);
        const LogLine changed = Line(2, "advEventType set defult:0", kStartFunction);
        EXPECT_THAT(LogLines::All(), Contains(asGiven));
        EXPECT_THAT(LogLines::All(), Contains(changed).Times(known ? 0 : 1));
    }
}

}  // namespace

}  // namespace pelacon::test
