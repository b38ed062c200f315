#include <karvell_secure_c/securec.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <string_view>

namespace {

using Buffer = std::array<char, 5>;  // one more than the size passed to the copies

Buffer Marked()
{
    return {'x', 'x', 'x', 'x', 'x'};
}

std::string_view Text(const Buffer& buffer)
{
    return {buffer.data(), buffer.size()};
}

TEST(MemcpySTest, CopiesExactlyTheGivenCount)
{
    Buffer buffer = Marked();
    EXPECT_EQ(memcpy_s(buffer.data(), 4, "abcd", 3), 0);
    EXPECT_EQ(Text(buffer), "abcxx");
    EXPECT_EQ(memcpy_s(buffer.data(), 4, "efgh", 4), 0);
    EXPECT_EQ(Text(buffer), "efghx");
}

TEST(MemcpySTest, ACountOfZeroChangesNothing)
{
    Buffer buffer = Marked();
    EXPECT_EQ(memcpy_s(buffer.data(), 4, "abcd", 0), 0);
    EXPECT_EQ(memcpy_s(buffer.data(), 4, nullptr, 0), 0);
    EXPECT_EQ(memcpy_s(nullptr, 0, nullptr, 0), 0);
    EXPECT_EQ(Text(buffer), "xxxxx");
}

TEST(MemcpySTest, ASourceThatDoesNotFitZeroesTheDestination)
{
    Buffer buffer = Marked();
    EXPECT_EQ(memcpy_s(buffer.data(), 4, "abcde", 5), ERANGE);
    EXPECT_EQ(Text(buffer), std::string_view("\0\0\0\0x", 5));
    EXPECT_EQ(memcpy_s(buffer.data(), 0, "abcde", 5), ERANGE);
    EXPECT_EQ(buffer[4], 'x');
}

TEST(MemcpySTest, ANullSourceZeroesTheDestination)
{
    Buffer buffer = Marked();
    EXPECT_EQ(memcpy_s(buffer.data(), 4, nullptr, 2), EINVAL);
    EXPECT_EQ(Text(buffer), std::string_view("\0\0\0\0x", 5));
}

TEST(MemcpySTest, ANullDestinationFails)
{
    EXPECT_EQ(memcpy_s(nullptr, 4, "abcd", 4), EINVAL);
    EXPECT_EQ(memcpy_s(nullptr, 0, "abcd", 4), EINVAL);
}

TEST(MemsetSTest, SetsExactlyTheGivenCount)
{
    Buffer buffer = Marked();
    EXPECT_EQ(memset_s(buffer.data(), 4, 'a', 2), 0);
    EXPECT_EQ(Text(buffer), "aaxxx");
    EXPECT_EQ(memset_s(buffer.data(), 4, 'b', 4), 0);
    EXPECT_EQ(Text(buffer), "bbbbx");
    EXPECT_EQ(memset_s(buffer.data(), 4, 'c', 0), 0);
    EXPECT_EQ(Text(buffer), "bbbbx");
}

TEST(MemsetSTest, ACountThatDoesNotFitSetsTheWholeDestination)
{
    Buffer buffer = Marked();
    EXPECT_EQ(memset_s(buffer.data(), 4, 'a', 5), ERANGE);
    EXPECT_EQ(Text(buffer), "aaaax");
}

TEST(MemsetSTest, ANullDestinationFails)
{
    EXPECT_EQ(memset_s(nullptr, 4, 0, 4), EINVAL);
    EXPECT_EQ(memset_s(nullptr, 0, 0, 0), EINVAL);
}

}  // namespace
