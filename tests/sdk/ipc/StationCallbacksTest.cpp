// Stations that join and leave, and stations of a service that has ended.
#include <tests/sdk/ipc/GroupFixture.h>

#include <algorithm>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int32_t kServiceStarted = 0xD700A0;

using StationChanges = GroupFixture;

TEST_F(StationChanges, AreDeliveredInOrderOfRegistration)
{
    Register(nullptr, DeliverStation<2>);
    Register(DeliverGroup<9>);
    Register(nullptr, DeliverStation<1>);
    channel.Deliver(kConnectionChange, Station(1, "0123456789ab", "192.168.137.101"));
    EXPECT_THAT(Delivered(), ElementsAre("2: station 1 0123456789ab 192.168.137.101",
                                         "1: station 1 0123456789ab 192.168.137.101"));
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kStations), End(kStations)));
}

TEST_F(StationChanges, KeepTextsThatFillTheirFields)
{
    Register(nullptr, DeliverStation<1>);
    channel.Deliver(kConnectionChange, Station(-2, "0123456789abc", "0123456789abcdef"));
    EXPECT_THAT(Delivered(), ElementsAre("1: station -2 0123456789abc 0123456789abcdef"));
}

TEST_F(StationChanges, ReachEveryTableAsACopyOfItsOwn)
{
    const auto spoil = [](const Vod2dStationChange* change) {
        const_cast<Vod2dStationChange*>(change)->state = 5;
        const_cast<Vod2dStationChange*>(change)->address[0] = 'X';
    };
    Register(nullptr, spoil);
    Register(nullptr, DeliverStation<1>);
    channel.Deliver(kConnectionChange, Station(1, "aa"));
    EXPECT_THAT(Delivered(), ElementsAre("1: station 1 aa "));
}

TEST_F(StationChanges, ThatCannotBeCopiedAreDropped)
{
    Register(nullptr, DeliverStation<1>);
    Register(nullptr, DeliverStation<2>);
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

class StationsAfterARestart : public GroupFixture {
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
    Register(nullptr, DeliverStation<1>);
    Register(DeliverGroup<7>);
    Register(nullptr, DeliverStation<2>);
    channel.Deliver(kConnectionChange, Station(1, "bbb", "10.0.0.2"));
    channel.Deliver(kConnectionChange, Station(1, "aaa", "10.0.0.1"));
    EXPECT_THAT(DeliveredAfterRestart(), ElementsAre("1: station 0 aaa ", "2: station 0 aaa ",
                                                     "1: station 0 bbb ", "2: station 0 bbb "));
    EXPECT_THAT(DeliveredAfterRestart(), IsEmpty()) << "once";
}

TEST_F(StationsAfterARestart, IncludeOnlyThoseThatHadNotLeft)
{
    Register(nullptr, DeliverStation<1>);
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
    Vod2dWifiBroadcastRecvCb& groupsOnly = Register(DeliverGroup<1>);
    channel.Deliver(kConnectionChange, Station(1, "bbb"));
    Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&groupsOnly);
    Register(nullptr, DeliverStation<1>);
    EXPECT_THAT(DeliveredAfterRestart(), IsEmpty());
}

TEST_F(StationsAfterARestart, AreKeptWhenTheirTableIsUnregistered)
{
    Vod2dWifiBroadcastRecvCb& first = Register(nullptr, DeliverStation<1>);
    channel.Deliver(kConnectionChange, Station(1, "aaa"));
    Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&first);
    Register(nullptr, DeliverStation<2>);
    EXPECT_THAT(DeliveredAfterRestart(), ElementsAre("2: station 0 aaa "));
}

TEST_F(StationsAfterARestart, AreUnknownWhenTheirCopyFailed)
{
    Register(nullptr, DeliverStation<1>);
    Copies::FailNext();
    channel.Deliver(kConnectionChange, Station(1, "aaa"));
    EXPECT_THAT(DeliveredAfterRestart(), IsEmpty());
}

TEST_F(StationsAfterARestart, MayHaveAddressesThatFillTheField)
{
    Register(nullptr, DeliverStation<1>);
    channel.Deliver(kConnectionChange, Station(1, "0123456789abc", "10.0.0.1"));
    EXPECT_THAT(DeliveredAfterRestart(), ElementsAre("1: station 0 0123456789abc "));
}

TEST_F(StationsAfterARestart, AreLeftOutWhenTheirAddressCannotBeCopied)
{
    constexpr auto kFunction = "IPCMessageSender::WifiExceptCallback";
    Register(nullptr, DeliverStation<1>);
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
    Register(nullptr, DeliverStation<1>);
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
