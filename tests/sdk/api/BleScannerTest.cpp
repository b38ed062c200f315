// The scanner's requests. ScanCallbacksTest tests its notifications.
#include <PelaconSDK/BleScanner.h>
#include <tests/sdk/api/BleMembers.h>
#include <tests/sdk/api/ScanFilters.h>
#include <tests/support/SdkTest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <future>
#include <thread>

namespace pelacon::test {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr std::int32_t kRegister = 0xD70064;
constexpr std::int32_t kUnregister = 0xD70065;
constexpr std::int32_t kStart = 0xD70066;
constexpr std::int32_t kStop = 0xD70068;
constexpr std::int32_t kRemoveFilter = 0xD70077;
constexpr std::int32_t kRegisterTargetAdv = 0xD7007C;
constexpr std::int32_t kUnregisterTargetAdv = 0xD7007D;
constexpr std::int32_t kPushTargetAdv = 0xD8007B;

constexpr BleScanPolicy kPolicy = static_cast<BleScanPolicy>(0x12345678);

ByteVector Nothing(std::int32_t /*id*/)
{
    return {};
}

ByteVector IdAlone(std::int32_t id)
{
    return Bytes().I32(id);
}

TargetAdvInfo Info(std::int32_t business)
{
    TargetAdvInfo info{};
    info.business = static_cast<BleTargetBusiness>(business);
    for (std::size_t i = 0; i < sizeof info.data; ++i) {
        info.data[i] = static_cast<std::uint8_t>(200 + i);
    }
    return info;
}

std::vector<BleMember> Members()
{
    return {
        {"BleScanRegisterCallbacks", "BleScanner",
         [](int) {
             int id = 0;
             return BleScanner::BleScanRegisterCallbacks(&Lasting<BleScanCallbacksC>(), &id);
         },
         kRegister, Nothing, true},
        {"BleScanUnRegisterCallbacks", "BleScanner",
         [](int id) { return BleScanner::BleScanUnRegisterCallbacks(id); }, kUnregister, IdAlone,
         false, "UnRegister end"},
        {"StartBleScan", "BleScanner", [](int id) { return BleScanner::StartBleScan(id, kPolicy); },
         kStart, [](int id) -> ByteVector { return Bytes().I32(id).I32(kPolicy); }},
        {"StopBleScan", "BleScanner", [](int id) { return BleScanner::StopBleScan(id); }, kStop,
         IdAlone},
        {"SetScanFilter", "BleScanner",
         [](int id) { return BleScanner::SetScanFilter(id, nullptr, 0); }, kSetFilter,
         [](int id) -> ByteVector { return Bytes().I32(id).Zeros(208); }, false, "end",
         "Set scan filter ipc send error"},
        {"RemoveScanFilter", "BleScanner", [](int id) { return BleScanner::RemoveScanFilter(id); },
         kRemoveFilter, IdAlone, false, "end", "Remove scan filter ipc send error"},
        {"BleRegisterTargetAdvCallback", "BleScanner",
         [](int id) {
             TargetAdvFilter filter{};
             std::memset(&filter, 0x5A, sizeof filter);
             filter.business = static_cast<BleTargetBusiness>(id);
             return BleScanner::BleRegisterTargetAdvCallback(filter,
                                                             &Lasting<VoviewRecvAdvCallbacksC>());
         },
         kRegisterTargetAdv, Nothing},
        {"BleUnRegisterTargetAdvCallback", "BleScanner",
         [](int id) {
             return BleScanner::BleUnRegisterTargetAdvCallback(static_cast<BleTargetBusiness>(id));
         },
         kUnregisterTargetAdv, IdAlone, false, "UnRegister end"},
        {"BleOnRecvVoviewData", "BleScanner",
         [](int id) { return BleScanner::BleOnRecvVoviewData(Info(id)); }, kPushTargetAdv,
         [](int id) -> ByteVector {
             Bytes bytes;
             bytes.I32(id);
             for (int i = 0; i < 36; ++i) {
                 bytes.U8(static_cast<std::uint8_t>(200 + i));
             }
             return bytes;
         },
         false, "end", "recv voview data ipc send error"},
    };
}

class BleScannerMembers : public SdkTest, public ::testing::WithParamInterface<BleMember> {};

TEST_P(BleScannerMembers, Answered)
{
    CheckAnswered(channel, GetParam());
}

TEST_P(BleScannerMembers, AnsweredWithNothing)
{
    CheckAnsweredWithNothing(channel, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Started, BleScannerMembers, ::testing::ValuesIn(Members()),
                         [](const auto& member) { return member.param.name; });

class BleScannerMembersStopped : public StoppedSdkTest,
                                 public ::testing::WithParamInterface<BleMember> {};

TEST_P(BleScannerMembersStopped, Refused)
{
    CheckNotStarted(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Stopped, BleScannerMembersStopped, ::testing::ValuesIn(Members()),
                         [](const auto& member) { return member.param.name; });

// ---- Registering and unregistering

TEST_F(SdkTest, ScanRegisterStoresTheIdOnSuccessOnly)
{
    BleScanCallbacksC& table = Lasting<BleScanCallbacksC>();
    int id = 77;
    channel.Reply(kRegister, Bytes().I32(123456).I32(5));
    EXPECT_EQ(BleScanner::BleScanRegisterCallbacks(&table, &id), 5);
    EXPECT_EQ(id, 77);
    channel.ReplyNothing(kRegister);
    EXPECT_EQ(BleScanner::BleScanRegisterCallbacks(&table, &id), -9);
    EXPECT_EQ(id, 77);
    const std::int32_t given = FreshId();
    channel.Reply(kRegister, Bytes().I32(given).I32(0));
    EXPECT_EQ(BleScanner::BleScanRegisterCallbacks(&table, &id), 0);
    EXPECT_EQ(id, given);
    BleScanner::BleScanUnRegisterCallbacks(id);
}

TEST_F(SdkTest, ScanRegisterLogsItsSteps)
{
    constexpr auto kFunction = "BleScanner::BleScanRegisterCallbacks";
    int id = 0;
    channel.Reply(kRegister, Bytes().I32(FreshId()).I32(0));
    BleScanner::BleScanRegisterCallbacks(&Lasting<BleScanCallbacksC>(), &id);
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kFunction), Start("IPCMessageSender::AddScanCb"),
                                             End("IPCMessageSender::AddScanCb"), End(kFunction)));
    BleScanner::BleScanUnRegisterCallbacks(id);
}

TEST_F(SdkTest, ScanRegisterWithoutReplyReportsAnEvent)
{
    constexpr auto kFunction = "BleScanner::BleScanRegisterCallbacks";
    int id = 0;
    EXPECT_EQ(BleScanner::BleScanRegisterCallbacks(&Lasting<BleScanCallbacksC>(), &id), -9);
    EXPECT_THAT(Events::All(),
                ElementsAre(Event{954082007, {Int("EventType", 1), Int("ErrorCode", 2)}}));
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kFunction),
                                             Line(2, "[VoView]EventType:1 ,ErrorCode:2", kFunction),
                                             NoReply(kFunction)));
    EXPECT_THAT(Journal::Entries(),
                ElementsAre(HasSubstr("start("), "request 0xD70064", "event 954082007",
                            HasSubstr("[VoView]"), HasSubstr("recvMsg.message is nullptr")));
}

TEST_F(SdkTest, ScanRegisterOfNullStillGivesAnId)
{
    int id = 0;
    const std::int32_t given = FreshId();
    channel.Reply(kRegister, Bytes().I32(given).I32(0));
    EXPECT_EQ(BleScanner::BleScanRegisterCallbacks(nullptr, &id), 0);
    EXPECT_EQ(id, given);
    EXPECT_EQ(channel.OnlyRequest().item.msgId, kRegister);
}

TEST_F(SdkTest, ScanUnregisterForgetsTheTableBeforeItAsks)
{
    int id = 0;
    channel.Reply(kRegister, Bytes().I32(FreshId()).I32(0));
    BleScanner::BleScanRegisterCallbacks(&Lasting<BleScanCallbacksC>(), &id);
    ForgetWhatHappened();
    BleScanner::BleScanUnRegisterCallbacks(id);  // and is not answered
    EXPECT_THAT(Journal::Entries(),
                ElementsAre("log 1 start(BleScanner::BleScanUnRegisterCallbacks)",
                            "log 1 start(IPCMessageSender::RemoveScanCb)",
                            "log 1 remove callback(IPCMessageSender::RemoveScanCb)",
                            "log 1 end(IPCMessageSender::RemoveScanCb)", "request 0xD70065",
                            HasSubstr("log 3 recvMsg.message is nullptr, return")));
    EXPECT_THAT(Events::All(), IsEmpty());
}

// ---- Starting and stopping

TEST_F(SdkTest, StartScanWithoutReplyReportsAnEvent)
{
    constexpr auto kFunction = "BleScanner::StartBleScan";
    EXPECT_EQ(BleScanner::StartBleScan(-5, static_cast<BleScanPolicy>(7)), -9);
    EXPECT_THAT(Events::All(), ElementsAre(Event{954082007,
                                                 {Int("EventType", 2), Int("ErrorCode", 2),
                                                  Int("listenerId", -5), Int("Policy", 7)}}));
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Start(kFunction), Line(2, "[VoView]==== 954082007 ====", kFunction),
                    Line(2, "[VoView]EventType:2 ,ErrorCode:2", kFunction), NoReply(kFunction)));
}

TEST_F(SdkTest, StartScanCountsAsScanningOnSuccessOnly)
{
    const std::int32_t id = FreshId();
    channel.Reply(kStart, Bytes().I32(1));
    BleScanner::StartBleScan(id, kBleScanBalanced);
    channel.ReplyNothing(kStart);
    BleScanner::StartBleScan(id, kBleScanBalanced);
    EXPECT_THAT(Journal::Entries(), Not(Contains(HasSubstr("IPCMessageSender::ScanStart"))));
    channel.Reply(kStart, Bytes().I32(0));
    ForgetWhatHappened();
    EXPECT_EQ(BleScanner::StartBleScan(id, kBleScanBalanced), 0);
    const std::string number = std::to_string(id);
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start("BleScanner::StartBleScan"),
                            Line(1, "start:" + number, "IPCMessageSender::ScanStart"),
                            End("IPCMessageSender::ScanStart"), End("BleScanner::StartBleScan")));
    ForgetWhatHappened();
    EXPECT_EQ(BleScanner::StartBleScan(id, kBleScanLowLatency), 0);
    EXPECT_THAT(LogLines::All(),
                Contains(Line(1, "already start:" + number, "IPCMessageSender::ScanStart")));
    channel.Reply(kStop, Bytes().I32(0));
    BleScanner::StopBleScan(id);
}

TEST_F(SdkTest, StopScanForgetsTheScanWhateverTheAnswer)
{
    const std::int32_t id = FreshId();
    const std::string number = std::to_string(id);
    const LogLine stopped = Line(1, "stop ok:" + number, "IPCMessageSender::ScanStop");
    channel.Reply(kStart, Bytes().I32(0));

    BleScanner::StartBleScan(id, kBleScanBalanced);
    channel.Reply(kStop, Bytes().I32(-3));
    ForgetWhatHappened();
    EXPECT_EQ(BleScanner::StopBleScan(id), -3);
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start("BleScanner::StopBleScan"),
                            Line(1, "start:" + number, "IPCMessageSender::ScanStop"), stopped,
                            End("IPCMessageSender::ScanStop"), End("BleScanner::StopBleScan")));

    BleScanner::StartBleScan(id, kBleScanBalanced);
    channel.ReplyNothing(kStop);
    ForgetWhatHappened();
    EXPECT_EQ(BleScanner::StopBleScan(id), -9);
    EXPECT_THAT(LogLines::All(), Contains(stopped));
    EXPECT_EQ(LogLines::All().back(), NoReply("BleScanner::StopBleScan"));
    EXPECT_THAT(Journal::Entries()[1], "request 0xD70068") << "stopped once the request was sent";

    ForgetWhatHappened();
    BleScanner::StopBleScan(id);
    EXPECT_THAT(LogLines::All(), Not(Contains(stopped))) << "it no longer scans";
}

TEST_F(StoppedSdkTest, StopScanThatIsNotSentKeepsTheScan)
{
    EXPECT_EQ(BleScanner::StopBleScan(FreshId()), -1);
    EXPECT_THAT(LogLines::All(), ElementsAre(Start("BleScanner::StopBleScan"), NotStarted()));
}

// ---- One at a time

/// Holds requests of an id until it is released, and reports their arrival.
class HeldRequest {
  public:
    HeldRequest(Channel& channel, std::int32_t messageId)
    {
        channel.OnRequest(messageId, [this](const Sent&) {
            arrived_.set_value();
            go_.get_future().wait_for(std::chrono::seconds(10));
        });
    }

    bool Wait()
    {
        return arrived_.get_future().wait_for(std::chrono::seconds(10)) ==
               std::future_status::ready;
    }
    void LetGo() { go_.set_value(); }

  private:
    std::promise<void> arrived_;
    std::promise<void> go_;
};

TEST_F(SdkTest, ListenerOperationsWaitForEachOther)
{
    HeldRequest held(channel, kRemoveFilter);
    std::thread first([] { BleScanner::RemoveScanFilter(1); });
    ASSERT_TRUE(held.Wait());
    int id = 0;
    std::vector<std::function<void()>> others = {
        [&] { BleScanner::BleScanRegisterCallbacks(nullptr, &id); },
        [] { BleScanner::BleScanUnRegisterCallbacks(2); },
        [] { BleScanner::StartBleScan(2, kBleScanBalanced); },
        [] { BleScanner::StopBleScan(2); },
        [] { BleScanner::SetScanFilter(2, nullptr, 0); },
    };
    std::atomic<std::size_t> begun{0};
    std::vector<std::thread> threads;
    for (const auto& other : others) {
        threads.emplace_back([&] {
            ++begun;
            other();
        });
    }
    while (begun < others.size()) {
        std::this_thread::yield();
    }
    // Operations that do not take the lock run meanwhile.
    EXPECT_EQ(BleScanner::BleOnRecvVoviewData(Info(1)), -9);
    EXPECT_EQ(BleScanner::SetScanFilter(2, nullptr, 6), -1);
    const auto soon = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
    while (channel.Requests().size() == 2 && std::chrono::steady_clock::now() < soon) {
        std::this_thread::yield();
    }
    const std::vector<Sent> sent = channel.Requests();
    EXPECT_EQ(sent.size(), 2U) << "the others wait";
    EXPECT_EQ(sent[0].item.msgId, kRemoveFilter);
    EXPECT_EQ(sent[1].item.msgId, kPushTargetAdv);
    held.LetGo();
    first.join();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(channel.Requests().size(), 7U);
}

TEST_F(SdkTest, TargetedAdvertisementsDoNotWaitForOtherOperations)
{
    struct Target {
        std::int32_t requestId;
        std::function<int()> call;
    };
    const std::vector<Target> targets = {
        {kRegisterTargetAdv, [] { return BleScanner::BleRegisterTargetAdvCallback({}, nullptr); }},
        {kUnregisterTargetAdv,
         [] { return BleScanner::BleUnRegisterTargetAdvCallback(kBleTargetPairing); }},
        {kPushTargetAdv, [] { return BleScanner::BleOnRecvVoviewData(Info(1)); }},
    };
    for (const Target& first : targets) {
        HeldRequest held(channel, first.requestId);
        std::thread waiting(first.call);
        ASSERT_TRUE(held.Wait());
        for (const Target& other : targets) {
            if (other.requestId != first.requestId) {
                channel.OnRequest(other.requestId, [](const Sent&) {});
                auto answer = std::async(std::launch::async, other.call);
                EXPECT_EQ(answer.wait_for(std::chrono::seconds(5)), std::future_status::ready);
            }
        }
        held.LetGo();
        waiting.join();
    }
}

}  // namespace

}  // namespace pelacon::test
