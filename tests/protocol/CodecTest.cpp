#include <protocol/Codec.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace pelacon::protocol {
namespace {

using ByteVector = std::vector<std::uint8_t>;

struct Padded {
    std::int32_t one;
    std::int32_t other;
};

TEST(CodecTest, AShortPayloadIsPaddedWithZeros)
{
    // In storage of exactly its length, so that reading further would be seen.
    const std::unique_ptr<std::uint8_t[]> payload(new std::uint8_t[5]{1, 0, 0, 0, 7});
    const Padded pair = ReadPadded<Padded>({payload.get(), 5});
    EXPECT_EQ(pair.one, 1);
    EXPECT_EQ(pair.other, 7);
    EXPECT_EQ(ReadPadded<Padded>({}).one, 0);
}

TEST(CodecTest, ALongPayloadIsCutToTheRecord)
{
    const ByteVector payload{1, 0, 0, 0, 2, 0, 0, 0, 3};
    EXPECT_EQ(ReadPadded<Padded>(payload).other, 2);
}

TEST(CodecTest, TextEndsAtItsNulOrItsField)
{
    EXPECT_EQ(TextIn(ByteView()), "");
    EXPECT_EQ(TextIn(ByteVector{'a', 'b'}), "ab");
    EXPECT_EQ(TextIn(ByteVector{'a', 0, 'b'}), "a");
    const char full[3] = {'x', 'y', 'z'};
    EXPECT_EQ(TextIn(full), "xyz");
    const char terminated[4] = {'a', 'b', '\0', 'c'};
    EXPECT_EQ(TextIn(terminated), "ab");
    const char empty[2] = {'\0', 'x'};
    EXPECT_EQ(TextIn(empty), "");
}

TEST(CodecTest, TextIsCutToItsFieldAndPadded)
{
    char field[4] = {'#', '#', '#', '#'};
    PutText(field, "ab");
    EXPECT_EQ(std::string(field, 4), std::string("ab\0\0", 4));
    PutText(field, "abcdef");
    EXPECT_EQ(std::string(field, 4), "abcd");
}

TEST(CodecTest, TheBytesOfARecordAreComplete)
{
    const Padded pair{1, 2};
    EXPECT_EQ(AsBytes(pair).size(), 8U);
    EXPECT_EQ(AsBytes(pair)[4], 2);
}

TEST(CodecTest, AddressesBeginWithTheirMostSignificantOctet)
{
    std::uint8_t octets[6];
    PutAddress(octets, 0x5CF3708B1234);
    EXPECT_EQ(ByteVector(octets, octets + 6), (ByteVector{0x5C, 0xF3, 0x70, 0x8B, 0x12, 0x34}));
    EXPECT_EQ(AddressOf(octets), 0x5CF3708B1234U);
    EXPECT_EQ(AddressText(0x5CF3708B1234), "5C:F3:70:8B:12:34");
    EXPECT_EQ(AddressText(0), "00:00:00:00:00:00");
}

TEST(CodecTest, PayloadsAreWhatTheirKindSays)
{
    EXPECT_EQ(Payload<Nothing>::View({}).size(), 0U);
    const std::string text = "red";
    EXPECT_EQ(Payload<Text>::View(text).size(), 4U) << "with its NUL";
    EXPECT_EQ(Payload<Text>::Read(Payload<Text>::View(text)), "red");
    const ByteVector bytes{1, 2, 3};
    EXPECT_EQ(Payload<Bytes>::Read(Payload<Bytes>::View(bytes)).data(), bytes.data());
    const StatusReply status{7};
    EXPECT_EQ(Payload<StatusReply>::Read(Payload<StatusReply>::View(status)).status, 7);
}

}  // namespace
}  // namespace pelacon::protocol
