#include <LogHelper/KvLogger.h>
#include <PelaconSDK/Diagnostics.h>
#include <sdk/diag/Log.h>
#include <sdk/diag/VoviewDataReport.h>
#include <tests/support/SdkTest.h>

#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;

struct Taken {
    PelaconLogLevel level;
    std::string line;

    bool operator==(const Taken&) const = default;
};

void TakeLine(void* context, PelaconLogLevel level, const char* line)
{
    static_cast<std::vector<Taken>*>(context)->push_back({level, line});
}

TEST_F(StoppedSdkTest, LogSinkReceivesLinesInUtf8)
{
    std::vector<Taken> taken;
    PelaconSetLogSink(TakeLine, &taken, kPelaconLogTrace);
    diag::Log(kLogTrace, "F", "first");
    diag::Log(kLogFailure, "F", L"\u00FCber \u20AC");
    PelaconSetLogSink(nullptr, nullptr, kPelaconLogTrace);
    diag::Log(kLogTrace, "F", "third");
    EXPECT_THAT(taken, ElementsAre(Taken{kPelaconLogTrace, "[PelaconSDK]first(F)"},
                                   Taken{kPelaconLogFailure,
                                         "[PelaconSDK]\xC3\xBC"
                                         "ber \xE2\x82\xAC(F)"}));
}

TEST_F(StoppedSdkTest, LogSinkReceivesLinesFromItsLevelOn)
{
    std::vector<Taken> taken;
    PelaconSetLogSink(TakeLine, &taken, kPelaconLogIncomplete);
    for (const LOG_MESSAGE_LEVEL level : {kLogTrace, kLogMilestone, kLogIncomplete, kLogFailure}) {
        diag::Log(level, "F", "x");
    }
    EXPECT_THAT(taken, ElementsAre(Taken{kPelaconLogIncomplete, "[PelaconSDK]x(F)"},
                                   Taken{kPelaconLogFailure, "[PelaconSDK]x(F)"}));
    PelaconSetLogSink(nullptr, nullptr, kPelaconLogTrace);
}

struct TakenEvent {
    int32_t id;
    std::vector<std::string> entries;

    bool operator==(const TakenEvent&) const = default;
};

void TakeEvent(void* context, int32_t eventId, const PelaconEventEntry* entries, uint32_t count)
{
    TakenEvent event{eventId, {}};
    for (uint32_t entry = 0; entry < count; ++entry) {
        const PelaconEventEntry& one = entries[entry];
        event.entries.push_back(std::string(one.key) + "=" +
                                (one.text != nullptr ? one.text : std::to_string(one.number)));
    }
    static_cast<std::vector<TakenEvent>*>(context)->push_back(event);
}

TEST_F(StoppedSdkTest, EventSinkReceivesEvents)
{
    std::vector<TakenEvent> taken;
    PelaconSetEventSink(TakeEvent, &taken);
    VoviewDataReport::EventDataReport(77)
        .AddInt("small", -3)
        .AddLong("large", std::int64_t{1} << 40)
        .AddString("text", "blue")
        .Report();
    VoviewDataReport::EventDataReport(78).Report();
    PelaconSetEventSink(nullptr, nullptr);
    VoviewDataReport::EventDataReport(79).Report();
    EXPECT_THAT(taken, ElementsAre(TakenEvent{77, {"large=1099511627776", "small=-3", "text=blue"}},
                                   TakenEvent{78, {}}));
}

}  // namespace

}  // namespace pelacon::test
