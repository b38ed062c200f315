// Lists of channels: how their texts become numbers.
#include <PelaconSDK/WifiSystemApi.h>
#include <sdk/api/Utils.h>
#include <tests/support/SdkTest.h>

#include <limits>
#include <list>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kStollS = "Utils::StollS";

LogLine Invalid()
{
    return Line(2, "stoll exception: invalid stoll argument", kStollS);
}
LogLine OutOfRange()
{
    return Line(2, "stoll exception: stoll argument out of range", kStollS);
}

/// A text, the numbers in it, and the lines that are logged.
struct Text {
    const char* text;
    std::list<int> numbers;
    std::vector<LogLine> lines;
};

class ChannelTexts : public SdkTest, public ::testing::WithParamInterface<Text> {};

TEST_P(ChannelTexts, Split)
{
    const Text& text = GetParam();
    EXPECT_EQ(Utils::SplitNumbers(text.text), text.numbers);
    EXPECT_EQ(LogLines::All(), text.lines);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ChannelTexts,
    ::testing::Values(Text{"36,40,x", {36, 40, 0}, {Invalid()}}, Text{"4294967296", {0}, {}},
                      Text{"2147483647,2147483648,-2147483648,-2147483649",
                           {2147483647, 0, std::numeric_limits<int>::min(), 0},
                           {}},
                      Text{"9223372036854775807,9223372036854775808,-9223372036854775809",
                           {0, 0, 0},
                           {OutOfRange(), OutOfRange()}},
                      Text{"99999999999999999999x", {0}, {Invalid()}}, Text{"", {}, {}},
                      Text{",", {}, {}}, Text{",,36,,40,", {36, 40}, {}}, Text{"36", {36}, {}},
                      Text{" 36,\t40", {36, 40}, {}}, Text{"36 ,40", {0, 40}, {Invalid()}},
                      Text{"+36,-40", {36, -40}, {}}, Text{"36a", {0}, {Invalid()}},
                      Text{"a36", {0}, {Invalid()}}, Text{" ", {0}, {Invalid()}},
                      Text{"010,0x10", {10, 0}, {Invalid()}}, Text{"3.5", {0}, {Invalid()}},
                      Text{"-,+", {0, 0}, {Invalid(), Invalid()}},
                      Text{"36;40", {0}, {Invalid()}}));

TEST_F(SdkTest, AListLogsOneLinePerInvalidNumber)
{
    channel.Reply(0xD70014, Bytes().Text("36,40,x").U8(0));
    EXPECT_THAT(WifiSystemApi::GetInstance().GetRecordPhone24GChannelList(),
                ElementsAre(36, 40, 0));
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start("WifiSystemApi::GetRecordPhone24GChannelList"), Invalid(),
                            End("WifiSystemApi::GetRecordPhone24GChannelList")));
}

TEST_F(SdkTest, ThePcListsFillTheirFieldsToTheLastByte)
{
    // Neither text has a NUL; the second follows directly after the first's 255 bytes.
    const std::string first(255, '1');
    const std::string second(257, '2');
    channel.Reply(0xD70004, Bytes().Text(first).Text(second).I32(-1));
    std::string channels24G;
    std::string channels5G;
    int current = 0;
    WifiSystemApi::GetInstance().GetPCChannelList(channels24G, channels5G, current);
    EXPECT_EQ(channels24G, first);
    EXPECT_EQ(channels5G, second);
    EXPECT_EQ(current, -1);
}

TEST_F(SdkTest, ThePcListsReplaceWhatTheListsHeld)
{
    channel.Reply(0xD70016, Bytes().Text("1,x", 255).Text("", 257).I32(36));
    std::list<int> channels24G{7, 8, 9};
    std::list<int> channels5G{7};
    int current = 0;
    WifiSystemApi::GetInstance().GetPCSupportChannelList(channels24G, channels5G, current);
    EXPECT_THAT(channels24G, ElementsAre(1, 0));
    EXPECT_THAT(channels5G, IsEmpty());
    EXPECT_EQ(current, 36);
}

TEST_F(SdkTest, TheConnectionsChannelIsSentByValue)
{
    channel.Reply(0xD70020, Bytes().I32(5180));
    const int wanted = 36;
    EXPECT_EQ(WifiSystemApi::GetInstance().GetFrequencyFromChannel(wanted), 5180);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD70020, Bytes().I32(36), 5000));
}

}  // namespace

}  // namespace pelacon::test
