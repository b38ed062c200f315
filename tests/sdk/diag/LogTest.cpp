#include <sdk/diag/Log.h>
#include <tests/support/SdkTest.h>

#include <cstdint>
#include <locale>
#include <string>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;

TEST_F(StoppedSdkTest, LineIsTagMessageAndFunction)
{
    diag::Log(kLogTrace, "BleManager::BtEnable", "start");
    EXPECT_THAT(LogLines::All(),
                ElementsAre(LogLine{1, "[PelaconSDK]start(BleManager::BtEnable)"}));
}

TEST_F(StoppedSdkTest, AnEmptyMessageHasTagAndFunction)
{
    diag::Log(kLogMilestone, "F", "");
    diag::Log(kLogMilestone, "F");
    EXPECT_THAT(LogLines::All(),
                ElementsAre(LogLine{2, "[PelaconSDK](F)"}, LogLine{2, "[PelaconSDK](F)"}));
}

TEST_F(StoppedSdkTest, LevelsAreHandedOn)
{
    for (const LOG_MESSAGE_LEVEL level : {kLogTrace, kLogMilestone, kLogIncomplete, kLogFailure}) {
        diag::Log(level, "F", "x");
    }
    ASSERT_EQ(LogLines::All().size(), 4U);
    for (int level = 1; level <= 4; ++level) {
        EXPECT_EQ(LogLines::All()[static_cast<std::size_t>(level - 1)].level, level);
    }
}

TEST_F(StoppedSdkTest, PiecesFollowEachOtherWithNothingBetween)
{
    diag::Log(kLogTrace, "F", "count ", 3, ',', std::int64_t{-1099511627776}, " of ", 7U,
              std::string(" narrow "), L"wide ", std::wstring(L"string"));
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(LogLine{1, "[PelaconSDK]count 3,-1099511627776 of 7 narrow wide string(F)"}));
}

TEST_F(StoppedSdkTest, NarrowTextIsWidenedCharacterByCharacter)
{
    diag::Log(kLogTrace, "F", "\xE4\xFF");
    EXPECT_EQ(LogLines::All().front().text, "[PelaconSDK]\xC3\xA4\xC3\xBF(F)");
}

TEST_F(StoppedSdkTest, WideTextIsTakenAsItIs)
{
    diag::Log(kLogTrace, "F", std::wstring(L"\u03A9"));
    EXPECT_EQ(LogLines::All().front().text, "[PelaconSDK]\xCE\xA9(F)");
}

/// Groups thousands with a point, as some locales do.
struct Grouping : std::numpunct<wchar_t> {
    wchar_t do_thousands_sep() const override { return L'.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(StoppedSdkTest, TheProcessLocaleHasNoEffect)
{
    const std::locale before = std::locale::global(std::locale(std::locale(), new Grouping));
    diag::Log(kLogTrace, "F", 1234567);
    std::locale::global(before);
    EXPECT_EQ(LogLines::All().front().text, "[PelaconSDK]1234567(F)");
}

TEST_F(StoppedSdkTest, FixedLinesHaveTheirText)
{
    diag::LogStart("F");
    diag::LogEnd("F");
    diag::LogNoReply("F");
    EXPECT_THAT(LogLines::All(),
                ElementsAre(LogLine{1, "[PelaconSDK]start(F)"}, LogLine{1, "[PelaconSDK]end(F)"},
                            LogLine{3, "[PelaconSDK]recvMsg.message is nullptr, return(F)"}));
}

}  // namespace

}  // namespace pelacon::test
