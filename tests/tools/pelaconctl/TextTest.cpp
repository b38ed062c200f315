// Addresses, bytes, times and states, as people write them.
#include <tests/support/Bytes.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Text.h>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace pelacon::ctl {

namespace {

using test::ByteVector;

TEST(Text, ParsesAddressesWithAndWithoutSeparators)
{
    for (const char* text : {"5C:F3:70:8B:12:34", "5c:f3:70:8b:12:34", "5C-F3-70-8B-12-34",
                             "5CF3708B1234", "5C F3 70 8B 12 34"}) {
        EXPECT_EQ(ParseAddress(text), 0x5CF3708B1234U) << text;
    }
}

TEST(Text, RejectsTextThatIsNotAnAddress)
{
    for (const char* text : {"", "5C:F3:70:8B:12", "5C:F3:70:8B:12:34:56", "5C:F3:70:8B:12:3G",
                             "5C:F3:70:8B:1:234", "0x5CF3708B1234", "localhost"}) {
        EXPECT_THROW(ParseAddress(text), Failure) << text;
    }
}

TEST(Text, FormatsAddressesOctetByOctet)
{
    EXPECT_EQ(protocol::AddressText(0x5CF3708B1234U), "5C:F3:70:8B:12:34");
    EXPECT_EQ(protocol::AddressText(0x0000000000AAU), "00:00:00:00:00:AA");
    EXPECT_EQ(protocol::AddressText(0xFFFF5CF3708B1234U), "5C:F3:70:8B:12:34")
        << "the low six bytes";
}

TEST(Text, ParsesHexadecimalWithAndWithoutSeparators)
{
    for (const char* text : {"0a1Bff", "0A 1B FF", "0a:1b:ff", "0x0a1bff", "0a-1b-ff"}) {
        EXPECT_EQ(ParseHex(text), (ByteVector{0x0A, 0x1B, 0xFF})) << text;
    }
    EXPECT_EQ(ParseHex(""), ByteVector());
}

TEST(Text, RejectsTextThatIsNotHexadecimal)
{
    for (const char* text : {"0", "0a1", "0g", "0 a", "0a,1b", "\xC3\xA4"}) {
        EXPECT_THROW(ParseHex(text), Failure) << text;
    }
}

TEST(Text, FormatsBytesAndIdsWithAllDigits)
{
    EXPECT_EQ(protocol::HexText(ByteVector{0x00, 0x0A, 0xFF}), "000aff");
    EXPECT_EQ(protocol::HexText(ByteVector()), "");
    EXPECT_EQ(FormatMessageId(0xD80062), "0xD80062");
    EXPECT_EQ(FormatMessageId(0x62), "0x000062");
    EXPECT_EQ(FormatMessageId(-1), "0xFFFFFFFF");
}

TEST(Text, TimesHaveMilliseconds)
{
    using std::chrono::milliseconds;
    const std::chrono::system_clock::time_point time(milliseconds(1'715'938'212'045));
    EXPECT_EQ(FormatTime(time), "2024-05-17T09:30:12.045Z");
    EXPECT_THAT(FormatClock(time), ::testing::MatchesRegex("..:..:12\\.045"));
}

TEST(Text, UnknownStatesAreNamedByTheirNumber)
{
    EXPECT_EQ(BtStateName(0), "off");
    EXPECT_EQ(BtStateName(1), "turning on");
    EXPECT_EQ(BtStateName(2), "on");
    EXPECT_EQ(BtStateName(3), "turning off");
    EXPECT_EQ(BtStateName(17), "in state 17");
}

}  // namespace

}  // namespace pelacon::ctl
