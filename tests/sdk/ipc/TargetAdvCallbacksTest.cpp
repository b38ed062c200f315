// The delivery of targeted advertisements, and the registry of their callbacks.
#include <PelaconSDK/BleScanner.h>
#include <sdk/ipc/TargetAdvCallbacks.h>
#include <tests/support/SdkTest.h>

#include <cstring>
#include <mutex>
#include <thread>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr auto kReceiver = "OnRecvTargertAdvCb";
constexpr auto kHandler = "IPCMessageSender::OnRecvTargetAdv";
constexpr auto kThread = "IPCMessageSender::OnRecvTargetAdvThread";
constexpr auto kAdd = "IPCMessageSender::AddTargetAdvCb";
constexpr auto kRemove = "IPCMessageSender::RemoveTargetAdvCb";

constexpr std::int32_t kRegisterAdv = 0xD7007C;
constexpr std::int32_t kUnregisterAdv = 0xD7007D;
constexpr std::int32_t kReceived = 0xD8007E;

struct TargetCall {
    int table;
    ByteVector info;
    std::thread::id thread;
};

struct TargetCalls {
    std::mutex mutex;
    std::vector<TargetCall> calls;
};

TargetCalls& TheTargetCalls()
{
    static TargetCalls& calls = *new TargetCalls;
    return calls;
}

template <int Table>
void Record(TargetAdvInfo info)
{
    ByteVector bytes(sizeof info);
    std::memcpy(bytes.data(), &info, sizeof info);
    const std::lock_guard lock(TheTargetCalls().mutex);
    TheTargetCalls().calls.push_back({Table, bytes, std::this_thread::get_id()});
}

class TargetAdvs : public SdkTest {
  protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        TheTargetCalls().calls.clear();
        channel.Reply(kRegisterAdv, Bytes().I32(0));
        channel.Reply(kUnregisterAdv, Bytes().I32(0));
    }

    int Register(std::int32_t business, VoviewRecvAdvCallbacksC* callbacks)
    {
        TargetAdvFilter filter{};
        filter.business = static_cast<BleTargetBusiness>(business);
        return BleScanner::BleRegisterTargetAdvCallback(filter, callbacks);
    }
    template <int Table>
    void RegisterRecording(std::int32_t business)
    {
        EXPECT_EQ(Register(business, &Lasting<VoviewRecvAdvCallbacksC>({Record<Table>})), 0);
    }
    static int Unregister(std::int32_t business)
    {
        return BleScanner::BleUnRegisterTargetAdvCallback(static_cast<BleTargetBusiness>(business));
    }

    ByteVector Receive(std::int32_t business, std::uint8_t fill)
    {
        const ByteVector info = Bytes().I32(business).Fill(36, fill);
        channel.Deliver(kReceived, info);
        return info;
    }

    static std::vector<TargetCall> Delivered()
    {
        Threads::WaitForAll();
        const std::lock_guard lock(TheTargetCalls().mutex);
        return TheTargetCalls().calls;
    }
    static std::vector<int> DeliveredTo()
    {
        std::vector<int> tables;
        for (const TargetCall& call : Delivered()) {
            tables.push_back(call.table);
        }
        return tables;
    }
};

TEST_F(TargetAdvs, ReachTheirBusinessOnTheirOwnThread)
{
    const std::int32_t business = FreshId();
    RegisterRecording<1>(business);
    RegisterRecording<2>(FreshId());
    ForgetWhatHappened();
    const ByteVector info = Receive(business, 0xA7);
    ASSERT_EQ(Delivered().size(), 1U);
    EXPECT_EQ(Delivered()[0].table, 1);
    EXPECT_EQ(Delivered()[0].info, info);
    EXPECT_NE(Delivered()[0].thread, std::this_thread::get_id());
    EXPECT_EQ(Threads::Started(), 1);
    EXPECT_THAT(LogLines::All(),
                UnorderedElementsAre(Start(kReceiver),
                                     Line(1, "start: " + std::to_string(business), kHandler),
                                     End(kReceiver), End(kThread)));
}

TEST_F(TargetAdvs, OwnTheirRecord)
{
    const std::int32_t business = FreshId();
    RegisterRecording<1>(business);
    Threads::Use(ThreadMode::kKept);
    const ByteVector first = Receive(business, 1);
    const ByteVector second = Receive(business, 2);
    EXPECT_EQ(Threads::Started(), 2);
    Threads::RunKept();
    ASSERT_EQ(Delivered().size(), 2U);
    EXPECT_EQ(Delivered()[0].info, first);
    EXPECT_EQ(Delivered()[1].info, second);
}

TEST_F(TargetAdvs, OfAnUnknownBusinessAreLogged)
{
    const std::int32_t business = FreshId();
    ForgetWhatHappened();
    Receive(business, 1);
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Start(kReceiver), Line(1, "start: " + std::to_string(business), kHandler),
                    Line(4, "no found", kHandler), End(kReceiver)));
    EXPECT_EQ(Threads::Started(), 0);
}

TEST_F(TargetAdvs, OfATableWithoutASlotAreLogged)
{
    const std::int32_t business = FreshId();
    Register(business, &Lasting<VoviewRecvAdvCallbacksC>());
    ForgetWhatHappened();
    Receive(business, 1);
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Start(kReceiver), Line(1, "start: " + std::to_string(business), kHandler),
                    End(kReceiver)));
    EXPECT_EQ(Threads::Started(), 0);
}

TEST_F(TargetAdvs, WithoutPayloadAreDropped)
{
    channel.DeliverWithoutPayload(kReceived);
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Start(kReceiver), Line(3, "ipcMsg.message is nullptr, return", kReceiver)));
}

TEST_F(TargetAdvs, AreLoggedWhenNoThreadCanBeCreated)
{
    const std::int32_t business = FreshId();
    RegisterRecording<1>(business);
    ForgetWhatHappened();
    Threads::Use(ThreadMode::kFailing);
    Receive(business, 1);
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Start(kReceiver), Line(1, "start: " + std::to_string(business), kHandler),
                    Line(4, "catch error", kHandler), End(kReceiver)));
    Threads::Use(ThreadMode::kDetached);
    Receive(business, 2);
    EXPECT_THAT(DeliveredTo(), ElementsAre(1));
}

TEST_F(TargetAdvs, DoNotNeedTheUnregisteredTable)
{
    const std::int32_t business = FreshId();
    auto table = std::make_unique<VoviewRecvAdvCallbacksC>(VoviewRecvAdvCallbacksC{Record<1>});
    Register(business, table.get());
    Threads::Use(ThreadMode::kKept);
    Receive(business, 1);
    Unregister(business);
    table.reset();
    Threads::RunKept();
    EXPECT_THAT(DeliveredTo(), ElementsAre(1));
}

TEST_F(TargetAdvs, AThreadWithoutASlotLogsIt)
{
    TargetAdvInfo info{};
    TargetAdvCallbacks::OnRecvTargetAdvThread(nullptr, info);
    EXPECT_THAT(LogLines::All(), ElementsAre(Line(3, "cb is nullptr, return", kThread)));
}

TEST_F(TargetAdvs, RegisteringLogsItsSteps)
{
    constexpr auto kFunction = "BleScanner::BleRegisterTargetAdvCallback";
    const std::int32_t business = FreshId();
    RegisterRecording<1>(business);
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kFunction), Line(1, "start: " + std::to_string(business), kAdd),
                            Line(1, "Add Cb", kAdd), End(kAdd), End(kFunction)));
}

TEST_F(TargetAdvs, TheFirstTableOfABusinessIsKept)
{
    const std::int32_t business = FreshId();
    RegisterRecording<1>(business);
    ForgetWhatHappened();
    RegisterRecording<2>(business);
    EXPECT_THAT(LogLines::All(), ::testing::Not(::testing::Contains(Line(1, "Add Cb", kAdd))));
    Receive(business, 1);
    EXPECT_THAT(DeliveredTo(), ElementsAre(1));
}

TEST_F(TargetAdvs, ATableIsKeptOnSuccessOnly)
{
    const std::int32_t business = FreshId();
    auto& table = Lasting<VoviewRecvAdvCallbacksC>({Record<1>});
    channel.Reply(kRegisterAdv, Bytes().I32(1));
    EXPECT_EQ(Register(business, &table), 1);
    channel.ReplyNothing(kRegisterAdv);
    EXPECT_EQ(Register(business, &table), -9);
    Receive(business, 1);
    EXPECT_THAT(Delivered(), IsEmpty());
}

TEST_F(TargetAdvs, ANullTableIsAcceptedButNotKept)
{
    const std::int32_t business = FreshId();
    EXPECT_EQ(Register(business, nullptr), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kRegisterAdv, {}, 5000));
    constexpr auto kFunction = "BleScanner::BleRegisterTargetAdvCallback";
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Start(kFunction), Line(1, "start: " + std::to_string(business), kAdd),
                    Line(3, "callback is nullptr, return", kAdd), End(kAdd), End(kFunction)));
    RegisterRecording<2>(business);
    Receive(business, 1);
    EXPECT_THAT(DeliveredTo(), ElementsAre(2)) << "the business was still free";
}

TEST_F(TargetAdvs, UnregisteringForgetsTheTableBeforeItAsks)
{
    constexpr auto kFunction = "BleScanner::BleUnRegisterTargetAdvCallback";
    for (const bool answered : {true, false}) {
        const std::int32_t business = FreshId();
        RegisterRecording<1>(business);
        ForgetWhatHappened();
        if (answered) {
            channel.Reply(kUnregisterAdv, Bytes().I32(-4));
            EXPECT_EQ(Unregister(business), -4);
            EXPECT_THAT(LogLines::All(),
                        ElementsAre(Start(kFunction), Line(1, "remove callback", kRemove),
                                    Line(1, "UnRegister end", kFunction)));
        } else {
            channel.ReplyNothing(kUnregisterAdv);
            EXPECT_EQ(Unregister(business), -9);
            EXPECT_THAT(LogLines::All(),
                        ElementsAre(Start(kFunction), Line(1, "remove callback", kRemove),
                                    NoReply(kFunction)));
        }
        EXPECT_EQ(Journal::Entries()[2], "request 0xD7007D");
        Receive(business, 1);
    }
    EXPECT_THAT(Delivered(), IsEmpty());
}

TEST_F(TargetAdvs, UnregisteringAnUnknownBusinessIsSent)
{
    const std::int32_t business = FreshId();
    EXPECT_EQ(Unregister(business), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kUnregisterAdv, Bytes().I32(business), 5000));
}

}  // namespace

}  // namespace pelacon::test
