#include <PelaconSDK/PelaconSvc.h>
#include <PelaconSDK/Vod2dApi.h>
#include <sdk/ipc/GroupCallbacks.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <tests/sdk/Vod2dIds.h>
#include <tests/support/SdkTest.h>

#include <algorithm>
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

constexpr std::int32_t kServiceStarted = 0xD700A0;
constexpr std::int32_t kConnectionChange = 0xD80039;

constexpr auto kGroups = "IPCMessageSender::SoftAPGroupsChangeCallBack";
constexpr auto kStations = "IPCMessageSender::SoftAPConnectionStateChangeCallBack";

constexpr std::chrono::seconds kLongest{5};

ByteVector GroupChange(std::int32_t state, std::int32_t reason = 0)
{
    return Bytes().I32(state).I32(reason);
}

ByteVector Station(std::int32_t state, const std::string& address, const std::string& ip = "")
{
    return Bytes().I32(state).Text(address, 13).Text(ip, 16);
}

/// What was delivered, with the number of the table, as text.
std::vector<std::string>& Delivered()
{
    static auto& delivered = *new std::vector<std::string>;
    return delivered;
}

template <int Number>
void TellGroup(Vod2dGroupChange change)
{
    Delivered().push_back(std::to_string(Number) + ": group " + std::to_string(change.state) + ' ' +
                          std::to_string(change.reason));
}

template <std::size_t Size>
std::string FieldText(const char (&field)[Size])
{
    return {field, std::find(field, field + Size, '\0')};
}

template <int Number>
void TellStation(const Vod2dStationChange* change)
{
    Delivered().push_back(std::to_string(Number) + ": station " + std::to_string(change->state) +
                          ' ' + FieldText(change->address) + ' ' + FieldText(change->ipAddress));
}

class GroupChanges : public SdkTest {
  protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        channel.Deliver(kGroupsChange, GroupChange(0));  // no time-out remains from an earlier test
        channel.Reply(kRegister, Bytes().I32(0));
        channel.Reply(kUnregister, Bytes().I32(0));
        Delivered().clear();
        ForgetWhatHappened();
    }

    void TearDown() override
    {
        Registry<GroupCallbacks>().WifiExceptCallback();  // no station remains for later tests
        channel.Reply(kUnregister, Bytes().I32(0));
        for (Vod2dWifiBroadcastRecvCb* table : registered_) {
            Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(table);
        }
        SdkTest::TearDown();
    }

    Vod2dWifiBroadcastRecvCb& Register(void (*onGroup)(Vod2dGroupChange),
                                       void (*onStation)(const Vod2dStationChange*) = nullptr)
    {
        auto& table = Lasting<Vod2dWifiBroadcastRecvCb>({onGroup, onStation});
        EXPECT_EQ(Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&table), 0);
        registered_.push_back(&table);
        ForgetWhatHappened();
        return table;
    }

    /// A creation that is not answered.
    void TimeOut()
    {
        Vod2dSoftAPInfo info{};
        EXPECT_EQ(Vod2dApi::Vod2dCreateGroup(&info), -12);
        Threads::WaitForAll();
        ForgetWhatHappened();
    }

  private:
    std::vector<Vod2dWifiBroadcastRecvCb*> registered_;
};

// ---- The group

TEST_F(GroupChanges, OfTheGroupAreDeliveredInOrderOfRegistration)
{
    Register(TellGroup<2>);
    Register(TellGroup<1>);
    Register(TellGroup<3>);
    channel.Deliver(kGroupsChange, GroupChange(1, -7));
    EXPECT_THAT(Delivered(), ElementsAre("2: group 1 -7", "1: group 1 -7", "3: group 1 -7"));
}

TEST_F(GroupChanges, OfTheGroupAreLogged)
{
    Register([](Vod2dGroupChange) { Journal::Note("called"); });
    channel.Deliver(kGroupsChange, GroupChange(1));
    const std::string function = std::string("(") + kGroups + ")";
    EXPECT_THAT(Journal::Entries(),
                ElementsAre("log 1 start" + function, "log 1 call callback" + function, "called",
                            "log 1 end" + function));
}

TEST_F(GroupChanges, OfTheGroupSkipATableWithAnEmptySlot)
{
    Register(TellGroup<1>);
    Register(nullptr, TellStation<2>);
    channel.Deliver(kGroupsChange, GroupChange(0));
    EXPECT_THAT(Delivered(), ElementsAre("1: group 0 0"));
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kGroups), Line(1, "call callback", kGroups), End(kGroups)));
}

TEST_F(GroupChanges, WithoutAPayloadAreDropped)
{
    Register(TellGroup<1>, TellStation<1>);
    channel.DeliverWithoutPayload(kGroupsChange);
    channel.DeliverWithoutPayload(kConnectionChange);
    EXPECT_THAT(Delivered(), IsEmpty());
    EXPECT_THAT(LogLines::All(), IsEmpty());
}

TEST_F(GroupChanges, WithANullRecordAreRefusedByTheHandlers)
{
    Register(TellGroup<1>, TellStation<1>);
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
    auto& table = Lasting<Vod2dWifiBroadcastRecvCb>({TellGroup<1>, nullptr});
    channel.Reply(kRegister, Bytes().I32(4));
    EXPECT_EQ(Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&table), 4);
    channel.ReplyNothing(kRegister);
    EXPECT_EQ(Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&table), -12);
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_THAT(Delivered(), IsEmpty());
}

TEST_F(GroupChanges, ReachATableOnceHoweverOftenItIsRegistered)
{
    Vod2dWifiBroadcastRecvCb& table = Register(TellGroup<1>, TellStation<1>);
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
    Vod2dWifiBroadcastRecvCb& first = Register(TellGroup<1>);
    Register(TellGroup<2>);
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
    Vod2dWifiBroadcastRecvCb& table = Register(TellGroup<1>);
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
    Register(TellGroup<1>);
    PelaconSvcStop();
    ASSERT_EQ(PelaconSvcStart(), 0);
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_EQ(Delivered().size(), 1U);
}

// ---- A creation that timed out

TEST_F(GroupChanges, AGroupThatAppearsAfterATimeOutIsRemovedWithoutACallback)
{
    channel.Reply(kRemoveGroup, Bytes().I32(0));
    Register(TellGroup<1>);
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
    Register(TellGroup<1>);
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
    Register(TellGroup<1>);
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
    Register(TellGroup<1>);
    TimeOut();
    TimeOut();
    channel.Deliver(kGroupsChange, GroupChange(1));
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_EQ(Delivered().size(), 1U);
}

TEST_F(GroupChanges, ARemovalKeepsTheFlag)
{
    Register(TellGroup<1>);
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
    Register(TellGroup<1>);
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
    Register(TellGroup<1>);
    Vod2dSoftAPInfo info{};
    EXPECT_EQ(Vod2dApi::Vod2dCreateGroup(&info), 10);
    channel.Deliver(kGroupsChange, GroupChange(1));
    EXPECT_EQ(Delivered().size(), 1U);
}

TEST_F(GroupChanges, ARemovalAfterATimeOutMayTimeOutItself)
{
    Register(TellGroup<1>);
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

// ---- Stations

TEST_F(GroupChanges, OfStationsAreDeliveredInOrderOfRegistration)
{
    Register(nullptr, TellStation<2>);
    Register(TellGroup<9>);
    Register(nullptr, TellStation<1>);
    channel.Deliver(kConnectionChange, Station(1, "0123456789ab", "192.168.137.101"));
    EXPECT_THAT(Delivered(), ElementsAre("2: station 1 0123456789ab 192.168.137.101",
                                         "1: station 1 0123456789ab 192.168.137.101"));
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kStations), End(kStations)));
}

TEST_F(GroupChanges, OfStationsKeepTextsThatFillTheirFields)
{
    Register(nullptr, TellStation<1>);
    channel.Deliver(kConnectionChange, Station(-2, "0123456789abc", "0123456789abcdef"));
    EXPECT_THAT(Delivered(), ElementsAre("1: station -2 0123456789abc 0123456789abcdef"));
}

TEST_F(GroupChanges, OfStationsReachEveryTableAsACopyOfItsOwn)
{
    const auto spoil = [](const Vod2dStationChange* change) {
        const_cast<Vod2dStationChange*>(change)->state = 5;
        const_cast<Vod2dStationChange*>(change)->address[0] = 'X';
    };
    Register(nullptr, spoil);
    Register(nullptr, TellStation<1>);
    channel.Deliver(kConnectionChange, Station(1, "aa"));
    EXPECT_THAT(Delivered(), ElementsAre("1: station 1 aa "));
}

TEST_F(GroupChanges, OfAStationThatCannotBeCopiedAreDropped)
{
    Register(nullptr, TellStation<1>);
    Register(nullptr, TellStation<2>);
    Copies::FailNext();
    channel.Deliver(kConnectionChange, Station(1, "aa"));
    EXPECT_THAT(Delivered(), IsEmpty());
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kStations), Line(4, "memcpy error", kStations)));
    Copies::FailAfter(3);  // the second field for the second table
    channel.Deliver(kConnectionChange, Station(1, "aa"));
    EXPECT_THAT(Delivered(), ElementsAre("1: station 1 aa "));
    EXPECT_EQ(LogLines::All().back(), Line(4, "memcpy error", kStations));
}

// ---- Stations of a service that has ended

class StationsAfterARestart : public GroupChanges {
  protected:
    /// What is delivered after a restart of the service.
    std::vector<std::string> DeliveredAfterRestart()
    {
        Delivered().clear();
        channel.DeliverWithoutPayload(kServiceStarted);
        return Delivered();
    }
};

TEST_F(StationsAfterARestart, AreReportedAsGone)
{
    Register(nullptr, TellStation<1>);
    Register(TellGroup<7>);
    Register(nullptr, TellStation<2>);
    channel.Deliver(kConnectionChange, Station(1, "bbb", "10.0.0.2"));
    channel.Deliver(kConnectionChange, Station(1, "aaa", "10.0.0.1"));
    EXPECT_THAT(DeliveredAfterRestart(), ElementsAre("1: station 0 aaa ", "2: station 0 aaa ",
                                                     "1: station 0 bbb ", "2: station 0 bbb "));
    EXPECT_THAT(DeliveredAfterRestart(), IsEmpty()) << "once";
}

TEST_F(StationsAfterARestart, IncludeOnlyThoseThatHadNotLeft)
{
    Register(nullptr, TellStation<1>);
    channel.Deliver(kConnectionChange, Station(1, "aaa"));
    channel.Deliver(kConnectionChange, Station(1, "aaa"));
    channel.Deliver(kConnectionChange, Station(1, "bbb"));
    channel.Deliver(kConnectionChange, Station(1, "ccc"));
    channel.Deliver(kConnectionChange, Station(0, "aaa"));
    channel.Deliver(kConnectionChange, Station(2, "bbb"));  // a state other than 0 and 1
    EXPECT_THAT(DeliveredAfterRestart(), ElementsAre("1: station 0 ccc "));
}

TEST_F(StationsAfterARestart, AreUnknownWithoutATable)
{
    channel.Deliver(kConnectionChange, Station(1, "aaa"));
    Vod2dWifiBroadcastRecvCb& groupsOnly = Register(TellGroup<1>);
    channel.Deliver(kConnectionChange, Station(1, "bbb"));
    Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&groupsOnly);
    Register(nullptr, TellStation<1>);
    EXPECT_THAT(DeliveredAfterRestart(), IsEmpty());
}

TEST_F(StationsAfterARestart, AreKeptWhenTheirTableIsUnregistered)
{
    Vod2dWifiBroadcastRecvCb& first = Register(nullptr, TellStation<1>);
    channel.Deliver(kConnectionChange, Station(1, "aaa"));
    Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&first);
    Register(nullptr, TellStation<2>);
    EXPECT_THAT(DeliveredAfterRestart(), ElementsAre("2: station 0 aaa "));
}

TEST_F(StationsAfterARestart, AreUnknownWhenTheirCopyFailed)
{
    Register(nullptr, TellStation<1>);
    Copies::FailNext();
    channel.Deliver(kConnectionChange, Station(1, "aaa"));
    EXPECT_THAT(DeliveredAfterRestart(), IsEmpty());
}

TEST_F(StationsAfterARestart, MayHaveAddressesThatFillTheField)
{
    Register(nullptr, TellStation<1>);
    channel.Deliver(kConnectionChange, Station(1, "0123456789abc", "10.0.0.1"));
    EXPECT_THAT(DeliveredAfterRestart(), ElementsAre("1: station 0 0123456789abc "));
}

TEST_F(StationsAfterARestart, AreLeftOutWhenTheirAddressCannotBeCopied)
{
    constexpr auto kFunction = "IPCMessageSender::WifiExceptCallback";
    Register(nullptr, TellStation<1>);
    channel.Deliver(kConnectionChange, Station(1, "aaa"));
    channel.Deliver(kConnectionChange, Station(1, "bbb"));
    Delivered().clear();
    ForgetWhatHappened();
    Copies::FailNext();
    Registry<GroupCallbacks>().WifiExceptCallback();
    EXPECT_THAT(Delivered(), ElementsAre("1: station 0 bbb "));
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kFunction), Line(4, "memcpy error!", kFunction), End(kFunction)));
}

TEST_F(StationsAfterARestart, AreReportedAfterTheRepairRequest)
{
    Register(nullptr, [](const Vod2dStationChange*) { Journal::Note("delivered"); });
    channel.Deliver(kConnectionChange, Station(1, "aaa"));
    ForgetWhatHappened();
    channel.DeliverWithoutPayload(kServiceStarted);
    const std::vector<std::string> entries = Journal::Entries();
    const auto repair = std::find(entries.begin(), entries.end(), "request 0xD700A1");
    EXPECT_NE(std::find(repair, entries.end(), "delivered"), entries.end());
}

TEST_F(StationsAfterARestart, AreNotReportedWhenAnotherServiceRuns)
{
    Processes::Set({});
    Register(nullptr, TellStation<1>);
    channel.Deliver(kConnectionChange, Station(1, "aaa"));
    EXPECT_THAT(DeliveredAfterRestart(), IsEmpty());
}

TEST(StationDeparture, ARecordThatDoesNotFitIsRefused)
{
    LogLines::Clear();
    Vod2dStationChange change{};
    EXPECT_TRUE(FillDeparture(std::string(13, 'a'), change));
    EXPECT_THAT(LogLines::All(), IsEmpty());
    EXPECT_FALSE(FillDeparture(std::string(14, 'a'), change));
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Line(4, "length too long!", "IPCMessageSender::WifiExceptCallback")));
}

}  // namespace

}  // namespace pelacon::test
