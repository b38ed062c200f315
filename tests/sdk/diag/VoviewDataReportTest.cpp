#include <sdk/diag/VoviewDataReport.h>
#include <tests/support/SdkTest.h>

#include <type_traits>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using VoviewDataReport::EventDataReport;

static_assert(std::has_virtual_destructor_v<EventDataReport>);

TEST_F(StoppedSdkTest, EventPutsLongsThenIntsThenStrings)
{
    EventDataReport(5)
        .AddString("s1", "a")
        .AddInt("i1", 1)
        .AddLong("l1", 10)
        .AddString("s2", "b")
        .AddInt("i2", -2)
        .AddLong("l2", std::int64_t{1} << 33)
        .Report();
    EXPECT_THAT(Events::All(),
                ElementsAre(Event{5,
                                  {Long("l1", 10), Long("l2", std::int64_t{1} << 33), Int("i1", 1),
                                   Int("i2", -2), Str("s1", "a"), Str("s2", "b")}}));
}

TEST_F(StoppedSdkTest, EventWithoutLongsBeginsWithItsInts)
{
    EventDataReport(6).AddString("s", "x").AddInt("i", 3).Report();
    EXPECT_THAT(Events::All(), ElementsAre(Event{6, {Int("i", 3), Str("s", "x")}}));
}

TEST_F(StoppedSdkTest, EventWithoutEntries)
{
    EventDataReport(7).Report();
    EXPECT_THAT(Events::All(), ElementsAre(Event{7, {}}));
}

TEST_F(StoppedSdkTest, EventKeepsRepeatedKeys)
{
    EventDataReport(8).AddInt("k", 1).AddInt("k", 2).Report();
    EXPECT_THAT(Events::All(), ElementsAre(Event{8, {Int("k", 1), Int("k", 2)}}));
}

TEST_F(StoppedSdkTest, ApplicationInterfaceEvent)
{
    constexpr auto kFunction = "VoviewDataReport::ReportApplicationInterface";
    for (const std::int32_t code : {0, 6, -1}) {
        ForgetWhatHappened();
        VoviewDataReport::ReportApplicationInterface(code);
        EXPECT_THAT(Events::All(),
                    ElementsAre(Event{
                        954079014,
                        {Int("ErrorCode", code), Str("Tavimo", "0.0.0.0"),
                         Str("WifiDriver", "0.0.0.0"), Str("DriverApiLibVersion", "0.0.0.0")}}));
        EXPECT_THAT(LogLines::All(),
                    ElementsAre(Line(2, "[VoView]==== 954079014 ====", kFunction),
                                Line(2, "[VoView]ErrorCode:" + std::to_string(code), kFunction),
                                Line(2, "[VoView]Tavimo:0.0.0.0", kFunction),
                                Line(2, "[VoView]WifiDriver:0.0.0.0", kFunction),
                                Line(2, "[VoView]DriverApiLibVersion0.0.0.0", kFunction)));
        EXPECT_EQ(Journal::Entries().front(), "event 954079014") << "before its lines";
    }
}

TEST_F(StoppedSdkTest, BroadcastEvent)
{
    constexpr auto kFunction = "ReportBroadcastError";
    ReportBroadcastError(4, -17);
    EXPECT_THAT(
        Events::All(),
        ElementsAre(
            Event{954082008, {Int("EventType", 4), Int("ErrorCode", 2), Int("BusinessId", -17)}}));
    EXPECT_THAT(LogLines::All(), ElementsAre(Line(2, "[VoView]==== 954082008 ====", kFunction),
                                             Line(2, "[VoView]EventType:4,ErrorCode:2", kFunction),
                                             Line(3, "[VoView]BusinessId -17", kFunction)));
}

TEST_F(StoppedSdkTest, GattClientEvent)
{
    constexpr auto kFunction = "ReportClientError";
    ReportClientError(3, "0000180D", 21);
    EXPECT_THAT(Events::All(),
                ElementsAre(Event{954082009,
                                  {Int("EventType", 3), Int("ErrorCode", 10), Int("BusinessId", 21),
                                   Str("CharUuid", "0000180D")}}));
    const std::vector<LogLine> lines = LogLines::All();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], Line(2, "[VoView]==== 954082009 ====", kFunction));
    EXPECT_EQ(lines[1], Line(2, "[VoView]EventType:3,ErrorCode:10", kFunction));
    EXPECT_EQ(lines[2], Line(3, "[VoView]BusinessId 21", kFunction));
    EXPECT_EQ(lines[3], Line(3, "[VoView]CharUuid 0000180D", kFunction));
}

TEST_F(StoppedSdkTest, GattServerEvent)
{
    constexpr auto kFunction = "ReportServerError";
    ReportServerError(2, "", 9, 300);
    EXPECT_THAT(Events::All(),
                ElementsAre(Event{954082010,
                                  {Int("EventType", 2), Int("ErrorCode", 10), Int("BusinessId", 9),
                                   Int("ServiceHandle", 300), Str("CharUuid", "")}}));
    EXPECT_THAT(LogLines::All(), ElementsAre(Line(2, "[VoView]==== 954082010 ====", kFunction),
                                             Line(2, "[VoView]EventType:2,ErrorCode:10", kFunction),
                                             Line(3, "[VoView]BusinessId 9", kFunction),
                                             Line(3, "[VoView]ServiceHandle 300", kFunction),
                                             Line(3, "[VoView]CharUuid ", kFunction)));
}

}  // namespace

}  // namespace pelacon::test
