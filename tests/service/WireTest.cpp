#include <protocol/BleManager.h>
#include <service/core/Wire.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace pelacon::service::tests {
namespace {

struct Padded {
    std::int32_t one;
    std::int32_t other;
};

TEST(WireTest, AShortPayloadIsPaddedWithZeros)
{
    // In storage of exactly its length, so that reading further would be seen.
    const std::unique_ptr<std::uint8_t[]> payload(new std::uint8_t[5]{1, 0, 0, 0, 7});
    const Padded pair = ReadPadded<Padded>({payload.get(), 5});
    EXPECT_EQ(pair.one, 1);
    EXPECT_EQ(pair.other, 7);
    EXPECT_EQ(ReadPadded<Padded>({}).one, 0);
}

TEST(WireTest, ALongPayloadIsCutToTheRecord)
{
    const Bytes payload{1, 0, 0, 0, 2, 0, 0, 0, 3};
    EXPECT_EQ(ReadPadded<Padded>(payload).other, 2);
}

TEST(WireTest, TextEndsAtItsNulOrItsField)
{
    EXPECT_EQ(TextIn(ByteView()), "");
    EXPECT_EQ(TextIn(Bytes{'a', 'b'}), "ab");
    EXPECT_EQ(TextIn(Bytes{'a', 0, 'b'}), "a");
    const char field[3] = {'x', 'y', 'z'};
    EXPECT_EQ(TextIn(field), "xyz");
}

TEST(WireTest, TextIsCutToItsFieldAndPadded)
{
    char field[4] = {'#', '#', '#', '#'};
    PutText(field, "ab");
    EXPECT_EQ(std::string(field, 4), std::string("ab\0\0", 4));
    PutText(field, "abcdef");
    EXPECT_EQ(std::string(field, 4), "abcd");
}

TEST(WireTest, TheBytesOfARecordAreComplete)
{
    const Padded pair{1, 2};
    EXPECT_EQ(AsBytes(pair).size(), 8U);
    EXPECT_EQ(AsBytes(pair)[4], 2);
}

}  // namespace
}  // namespace pelacon::service::tests
