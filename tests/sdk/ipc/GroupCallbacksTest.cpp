// Changes of the group, the registry of their callbacks, and groups that appear late.
#include <PelaconSDK/PelaconSvc.h>
#include <tests/sdk/ipc/GroupFixture.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kGroups = "IPCMessageSender::SoftAPGroupsChangeCallBack";

constexpr std::chrono::seconds kLongest{5};

using GroupChanges = GroupFixture;

TEST_F(GroupChanges, AreDeliveredInOrderOfRegistration)
{
    Register(DeliverGroup<2>);
    Register(DeliverGroup<1>);
    Register(DeliverGroup<3>);
    channel.Deliver(kGroupsChange, GroupChange(1, -7));
    EXPECT_THAT(Delivered(), ElementsAre("2: group 1 -7", "1: group 1 -7", "3: group 1 -7"));
}

TEST_F(GroupChanges, AreLogged)
{
    Register([](Vod2dGroupChange) { Journal::Note("called"); });
    channel.Deliver(kGroupsChange, GroupChange(1));
    const std::string function = std::string("(") + kGroups + ")";
    EXPECT_THAT(Journal::Entries(),
                ElementsAre("log 1 start" + function, "log 1 call callback" + function, "called",
                            "log 1 end" + function));
}

TEST_F(GroupChanges, SkipATableWithAnEmptySlot)
{
    Register(DeliverGroup<1>);
    Register(nullptr, DeliverStation<2>);
    channel.Deliver(kGroupsChange, GroupChange(0));
    EXPECT_THAT(Delivered(), ElementsAre("1: group 0 0"));
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kGroups), Line(1, "call callback", kGroups), End(kGroups)));
}

TEST_F(GroupChanges, WithoutAPayloadAreDropped)
{
    Register(DeliverGroup<1>, DeliverStation<1>);
    channel.DeliverWithoutPayload(kGroupsChange);
    channel.DeliverWithoutPayload(kConnectionChange);
    EXPECT_THAT(Delivered(), IsEmpty());
    EXPECT_THAT(LogLines::All(), IsEmpty());
}

TEST_F(GroupChanges, WithANullRecordAreRefusedByTheHandlers)
{
    Register(DeliverGroup<1>, DeliverStation<1>);
    Registry<GroupCallbacks>().SoftAPGroupsChangeCallBack(nullptr);
    Registry<GroupCallbacks>().SoftAPConnectionStateChangeCallBack(nullptr);
    EXPECT_THAT(Delivered(), IsEmpty());
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kGroups), Line(4, "null ptr", kGroups), Start(kStations),
                            Line(3, "info is nullptr, return", kStations)));
}

// ---- Registering

TEST_F(GroupChanges, ReachATableOnlyIfTheServiceAccepted)
{
    auto& table = Lasting<Vod2dWifiBroadcastRecvCb>({DeliverGroup<1>, nullptr});
    channel.Reply(kRegister, Bytes().I32(4));
    EXPECT_EQ(Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&table), 4);
    channel.ReplyNothing(kRegister);
    EXPECT_EQ(Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&table), -12);
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_THAT(Delivered(), IsEmpty());
}

TEST_F(GroupChanges, ReachATableOnceHoweverOftenItIsRegistered)
{
    Vod2dWifiBroadcastRecvCb& table = Register(DeliverGroup<1>, DeliverStation<1>);
    EXPECT_EQ(Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&table), 0);
    constexpr auto kMember = "Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback";
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kMember),
                                             Line(1, "callback already exist",
                                                  "IPCMessageSender::AddSoftAPStateChanged"),
                                             End(kMember)));
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_EQ(Delivered().size(), 1U);
    EXPECT_EQ(Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&table), 0);
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_EQ(Delivered().size(), 1U) << "one unregistration is enough";
}

TEST_F(GroupChanges, EndWithTheRegistration)
{
    Vod2dWifiBroadcastRecvCb& first = Register(DeliverGroup<1>);
    Register(DeliverGroup<2>);
    EXPECT_EQ(Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&first), 0);
    constexpr auto kMember = "Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback";
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Start(kMember), Line(1, "remove", "IPCMessageSender::RemoveSoftAPStateChanged"),
                    End(kMember)));
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_THAT(Delivered(), ElementsAre("2: group 1 0"));
}

TEST_F(GroupChanges, AreDeliveredWhenUnregisteringFails)
{
    Vod2dWifiBroadcastRecvCb& table = Register(DeliverGroup<1>);
    channel.Reply(kUnregister, Bytes().I32(4));
    EXPECT_EQ(Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&table), 4);
    channel.ReplyNothing(kUnregister);
    EXPECT_EQ(Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&table), -12);
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_EQ(Delivered().size(), 1U);
}

TEST_F(GroupChanges, ANullTableIsRefused)
{
    EXPECT_EQ(Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(nullptr), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kRegister, {}, 5000))
        << "the request is sent all the same";
    EXPECT_FALSE(Registry<GroupCallbacks>().HasSoftAPStateChanged());
    EXPECT_EQ(Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(nullptr), 0);
    channel.Deliver(kGroupsChange, GroupChange(1));
    channel.Deliver(kConnectionChange, Station(1, "0123456789ab"));
}

TEST_F(GroupChanges, AreDeliveredAfterStopAndStart)
{
    Register(DeliverGroup<1>);
    PelaconSvcStop();
    ASSERT_EQ(PelaconSvcStart(), 0);
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_EQ(Delivered().size(), 1U);
}

// ---- A creation that timed out

TEST_F(GroupChanges, AGroupThatAppearsAfterATimeOutIsRemovedWithoutACallback)
{
    channel.Reply(kRemoveGroup, Bytes().I32(0));
    Register(DeliverGroup<1>);
    TimeOut();
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_THAT(Delivered(), IsEmpty());
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kRemoveGroup, {}, 20000));
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Start(kGroups), Line(1, "last Create Group is timeout", kGroups),
                    Line(1, "after timeout, create success, remove it", kGroups),
                    Start("Vod2dApi::Vod2dRemoveGroup"), End("Vod2dApi::Vod2dRemoveGroup")));
    // The next one is delivered as usual.
    channel.Deliver(kGroupsChange, GroupChange(1, 3));
    EXPECT_THAT(Delivered(), ElementsAre("1: group 1 3"));
    EXPECT_EQ(channel.Requests().size(), 1U);
}

TEST_F(GroupChanges, AnotherStateAfterATimeOutIsDeliveredAndClearsTheFlag)
{
    Register(DeliverGroup<1>);
    TimeOut();
    channel.Deliver(kGroupsChange, GroupChange(0, 10));
    EXPECT_THAT(Delivered(), ElementsAre("1: group 0 10"));
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kGroups), Line(1, "last Create Group is timeout", kGroups),
                            Line(1, "call callback", kGroups), End(kGroups)));
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_THAT(Delivered(), ElementsAre("1: group 0 10", "1: group 1 0"));
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

TEST_F(GroupChanges, StatesOtherThanZeroAndOneClearTheFlag)
{
    Register(DeliverGroup<1>);
    for (const std::int32_t state : {2, -1, 257}) {
        TimeOut();
        channel.Deliver(kGroupsChange, GroupChange(state));
        EXPECT_THAT(channel.Requests(), IsEmpty());
    }
    EXPECT_EQ(Delivered().size(), 3U);
}

TEST_F(GroupChanges, TwoTimeOutsRemoveOneGroup)
{
    channel.Reply(kRemoveGroup, Bytes().I32(0));
    Register(DeliverGroup<1>);
    TimeOut();
    TimeOut();
    channel.Deliver(kGroupsChange, GroupChange(1));
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_EQ(Delivered().size(), 1U);
}

TEST_F(GroupChanges, ARemovalKeepsTheFlag)
{
    Register(DeliverGroup<1>);
    TimeOut();
    EXPECT_EQ(Vod2dApi::Vod2dRemoveGroup(), -12) << "one that times out";
    channel.Reply(kRemoveGroup, Bytes().I32(0));
    EXPECT_EQ(Vod2dApi::Vod2dRemoveGroup(), 0) << "and one that does not";
    channel.ForgetSent();
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_EQ(channel.OnlyRequest().item.msgId, kRemoveGroup);
    EXPECT_THAT(Delivered(), IsEmpty());
}

TEST_F(GroupChanges, ACreationThatIsNotSentIsNoTimeOut)
{
    Register(DeliverGroup<1>);
    PelaconSvcStop();
    Vod2dSoftAPInfo info{};
    EXPECT_EQ(Vod2dApi::Vod2dCreateGroup(&info), -1);
    ASSERT_EQ(PelaconSvcStart(), 0);
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_EQ(Delivered().size(), 1U);
}

TEST_F(GroupChanges, ACreationThatFailsIsNoTimeOut)
{
    channel.Reply(kCreateGroup, Bytes().Zeros(320).I32(10));
    Register(DeliverGroup<1>);
    Vod2dSoftAPInfo info{};
    EXPECT_EQ(Vod2dApi::Vod2dCreateGroup(&info), 10);
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_EQ(Delivered().size(), 1U);
}

TEST_F(GroupChanges, ARemovalAfterATimeOutMayTimeOutItself)
{
    Register(DeliverGroup<1>);
    TimeOut();
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_EQ(Events::All().size(), 1U) << "error code 2";
    EXPECT_THAT(Delivered(), IsEmpty());
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_EQ(Delivered().size(), 1U);
}

TEST_F(GroupChanges, EveryTimeOutIsTakenByOneChangeOnly)
{
    channel.Reply(kRemoveGroup, Bytes().I32(0));
    for (int round = 0; round < 20; ++round) {
        Registry<GroupCallbacks>().SetCreateGroupTimeOut(&Vod2dRemoveGroup);
        channel.ForgetSent();
        const auto change = [&] { channel.Deliver(kGroupsChange, GroupChange(1)); };
        std::thread one(change);
        std::thread other(change);
        one.join();
        other.join();
        EXPECT_EQ(channel.Requests().size(), 1U);
    }
}

// ---- Locks

TEST_F(GroupChanges, ACallbackMayCallOperationsWhileAnotherThreadRegisters)
{
    // The callback holds the list's lock and takes the operations' lock; the registration holds the
    // operations' lock and takes the list's. Neither may wait for the other for ever.
    static std::promise<void>* insideCallback = nullptr;
    static std::atomic<int> frequency{0};
    std::promise<void> inside;
    insideCallback = &inside;
    channel.Reply(kFrequency, Bytes().I32(5180));
    Register([](Vod2dGroupChange) {
        insideCallback->set_value();
        frequency = Vod2dApi::Vod2dGetFrequency();
    });

    std::promise<void> registering;
    channel.OnRequest(kRegister, [&](const Sent&) {
        registering.set_value();
        EXPECT_EQ(inside.get_future().wait_for(kLongest), std::future_status::ready);
    });
    auto& late = Lasting<Vod2dWifiBroadcastRecvCb>();
    auto registration = std::async(std::launch::async, [&] {
        return Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&late);
    });
    ASSERT_EQ(registering.get_future().wait_for(kLongest), std::future_status::ready);
    auto delivery =
        std::async(std::launch::async, [&] { channel.Deliver(kGroupsChange, GroupChange(1)); });
    if (delivery.wait_for(kLongest) != std::future_status::ready ||
        registration.wait_for(kLongest) != std::future_status::ready) {
        ADD_FAILURE() << "the two wait for each other";
        std::abort();  // the deadlocked threads cannot be ended
    }
    EXPECT_EQ(registration.get(), 0);
    EXPECT_EQ(frequency, 5180);
    Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&late);
}

TEST_F(GroupChanges, UnregisteringWaitsForARunningCallback)
{
    static std::promise<void>* entered = nullptr;
    static std::atomic<bool> ended{false};
    std::promise<void> inside;
    entered = &inside;
    ended = false;
    Vod2dWifiBroadcastRecvCb& table = Register([](Vod2dGroupChange) {
        entered->set_value();
        std::this_thread::yield();
        ended = true;
    });
    std::thread delivery([&] { channel.Deliver(kGroupsChange, GroupChange(1)); });
    ASSERT_EQ(inside.get_future().wait_for(kLongest), std::future_status::ready);
    EXPECT_EQ(Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&table), 0);
    EXPECT_TRUE(ended);
    delivery.join();
}

}  // namespace

}  // namespace pelacon::test
