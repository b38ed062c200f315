#include <PelaconSDK/BleScanner.h>
#include <tests/sdk/api/ScanFilters.h>
#include <tests/support/SdkTest.h>

#include <memory>
#include <string>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(SdkTest, SetScanFilterOfFiveFillsAllSlots)
{
    channel.Reply(kSetFilter, Bytes().I32(0));
    BleScanFilter filters[5];
    Bytes expected;
    expected.I32(9);
    for (std::uint8_t i = 0; i < 5; ++i) {
        filters[i] = Filter(static_cast<std::uint8_t>(40 * i), 3);
        expected.Raw(Raw(filters[i]));
    }
    EXPECT_EQ(BleScanner::SetScanFilter(9, filters, 5), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kSetFilter, expected.I32(5).U32(0), 5000));
    EXPECT_EQ(channel.OnlyRequest().item.length, 212U);
}

TEST_F(SdkTest, SetScanFilterOfTwoLeavesTheOtherSlotsZero)
{
    channel.Reply(kSetFilter, Bytes().I32(0));
    const BleScanFilter one = Filter(1, 32);
    const BleScanFilter two = Filter(2, 0);
    BleScanFilter filters[] = {one, two};
    EXPECT_EQ(BleScanner::SetScanFilter(-9, filters, 2), 0);
    EXPECT_THAT(
        channel.OnlyRequest(),
        RequestIs(kSetFilter, Bytes().I32(-9).Raw(Raw(one)).Raw(Raw(two)).Zeros(120).I32(2).U32(0),
                  5000));
}

TEST_F(SdkTest, SetScanFilterOfNoPatternSendsZeros)
{
    channel.Reply(kSetFilter, Bytes().I32(0));
    BleScanFilter filter = Filter(1, 1);
    EXPECT_EQ(BleScanner::SetScanFilter(9, &filter, 0), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kSetFilter, Bytes().I32(9).Zeros(208), 5000));
}

TEST_F(SdkTest, SetScanFilterOfANegativeCountCopiesNothingAndSendsTheCount)
{
    channel.Reply(kSetFilter, Bytes().I32(0));
    for (const int count : {-1, -2147483647 - 1}) {
        channel.ForgetSent();
        BleScanFilter filter = Filter(1, 1);
        EXPECT_EQ(BleScanner::SetScanFilter(9, &filter, count), 0);
        EXPECT_THAT(channel.OnlyRequest(),
                    RequestIs(kSetFilter, Bytes().I32(9).Zeros(200).I32(count).U32(0), 5000));
        EXPECT_EQ(BleScanner::SetScanFilter(9, nullptr, count), 0);
    }
}

TEST_F(SdkTest, SetScanFilterRefusesMoreThanFive)
{
    constexpr auto kFunction = "BleScanner::SetScanFilter";
    BleScanFilter filters[6]{};
    for (const int count : {6, 7, 2147483647}) {
        LogLines::Clear();
        EXPECT_EQ(BleScanner::SetScanFilter(31, filters, count), -1);
        EXPECT_THAT(LogLines::All(),
                    ElementsAre(Line(1, "start listenerId:31", kFunction),
                                Line(4, "invalid filterSize" + std::to_string(count), kFunction)));
    }
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

TEST_F(SdkTest, SetScanFilterRefusesANullArray)
{
    EXPECT_EQ(BleScanner::SetScanFilter(31, nullptr, 1), -1);
    EXPECT_EQ(LogLines::All().back(), Line(4, "invalid filterSize1", "BleScanner::SetScanFilter"));
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

TEST_F(SdkTest, SetScanFilterLogsThePatterns)
{
    constexpr auto kFunction = "BleScanner::SetScanFilter";
    channel.Reply(kSetFilter, Bytes().I32(0));
    BleScanFilter filters[3]{};
    filters[0].patternLength = 3;
    filters[0].patternData[0] = 0x0A;
    filters[0].patternData[1] = 0x1B;
    filters[0].patternData[2] = 0xFF;
    filters[1].patternLength = 0;
    filters[2].patternLength = 1;
    BleScanner::SetScanFilter(31, filters, 3);
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Line(1, "start listenerId:31", kFunction),
                            Line(1, "scanFilter[0],patternData:0A:1B:FF", kFunction),
                            Line(1, "scanFilter[1],patternData:", kFunction),
                            Line(1, "scanFilter[2],patternData:00", kFunction), End(kFunction)));
}

TEST_F(SdkTest, SetScanFilterReadsNoPatternBeyondItsField)
{
    channel.Reply(kSetFilter, Bytes().I32(0));
    for (const std::uint32_t length : {33U, 0xFFFFFFFFU}) {
        ForgetWhatHappened();
        // On the heap, so that AddressSanitizer reports a read beyond it.
        const auto filter = std::make_unique<BleScanFilter>(Filter(0xE0, length));
        EXPECT_EQ(BleScanner::SetScanFilter(8, filter.get(), 1), 0);
        std::string pattern;
        for (int byte = 0xE0; byte <= 0xFF; ++byte) {
            constexpr char kDigits[] = "0123456789ABCDEF";
            pattern += pattern.empty() ? "" : ":";
            pattern += {kDigits[byte / 16], kDigits[byte % 16]};
        }
        EXPECT_EQ(LogLines::All()[1],
                  Line(1, "scanFilter[0],patternData:" + pattern, "BleScanner::SetScanFilter"));
        EXPECT_THAT(
            channel.OnlyRequest(),
            RequestIs(kSetFilter, Bytes().I32(8).Raw(Raw(*filter)).Zeros(160).I32(1).U32(0), 5000));
    }
}

TEST_F(StoppedSdkTest, SetScanFilterThatIsNotSent)
{
    constexpr auto kFunction = "BleScanner::SetScanFilter";
    EXPECT_EQ(BleScanner::SetScanFilter(3, nullptr, 0), -1);
    EXPECT_THAT(LogLines::All(), ElementsAre(Line(1, "start listenerId:3", kFunction), NotStarted(),
                                             Line(4, "Set scan filter ipc send error", kFunction)));
}

}  // namespace

}  // namespace pelacon::test
