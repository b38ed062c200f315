#include <protocol/Hex.h>

#include <gtest/gtest.h>

#include <string_view>

namespace pelacon::protocol {
namespace {

constexpr std::uint8_t kBytes[] = {0x00, 0x0A, 0xFF};

TEST(HexTest, WritesBytes)
{
    EXPECT_EQ(HexText(kBytes), "000aff");
    EXPECT_EQ(HexText(kBytes, HexCase::kUpper), "000AFF");
    EXPECT_EQ(HexText(kBytes, HexCase::kUpper, ":"), "00:0A:FF");
    EXPECT_EQ(HexText({}, HexCase::kLower, ":"), "");
}

TEST(HexTest, WritesTheLowestDigitsOfANumber)
{
    EXPECT_EQ(HexNumber(0xD8, 4), "00D8");
    EXPECT_EQ(HexNumber(0xABCDEF, 4, HexCase::kLower), "cdef");
    EXPECT_EQ(HexNumber(1, 0), "");
}

TEST(HexTest, ReadsDigitsInEitherCase)
{
    EXPECT_EQ(HexValue('0'), 0);
    EXPECT_EQ(HexValue('9'), 9);
    EXPECT_EQ(HexValue('a'), 10);
    EXPECT_EQ(HexValue('F'), 15);
    for (const char other : {'/', ':', '@', 'G', '`', 'g', ' ', '\0'}) {
        EXPECT_EQ(HexValue(other), -1) << other;
    }
}

TEST(HexTest, TakesAByteFromTheFrontOrNothing)
{
    std::string_view text = "0aFf1";
    EXPECT_EQ(TakeHexByte(text), 0x0A);
    EXPECT_EQ(TakeHexByte(text), 0xFF);
    EXPECT_EQ(TakeHexByte(text), std::nullopt) << "one digit";
    EXPECT_EQ(text, "1");
    text = "x0";
    EXPECT_EQ(TakeHexByte(text), std::nullopt);
    EXPECT_EQ(text, "x0");
    text = "";
    EXPECT_EQ(TakeHexByte(text), std::nullopt);
}

}  // namespace
}  // namespace pelacon::protocol
