// The filters of `pelaconctl scan`: what is sent to the service, and what is dropped afterwards.
#include <tests/support/Bytes.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/ScanFilters.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace pelacon::ctl {

namespace {

using test::ByteVector;

BleScanResultC Result(const ByteVector& data, std::uint64_t address = 0xC00000000001)
{
    BleScanResultC result{};
    result.address = address;
    result.dataLen = static_cast<std::uint32_t>(data.size());
    std::copy(data.begin(), data.end(), result.data);
    return result;
}

const ByteVector kListed{5, 3, 0x09, 0x18, 0x0F, 0x18};
const ByteVector kWithData{4, 0x16, 0x0F, 0x18, 0x64};
const ByteVector kNeither{5, 0xFF, 0xFE, 0xCA, 0x0F, 0x18};

TEST(ScanFilters, FindAServiceInListsAndInData)
{
    const ScanFilters filters({"service=180F"});
    ASSERT_EQ(filters.ForService().size(), 1U);
    EXPECT_EQ(filters.ForService()[0].type, kBleScanFilterAnywhere);
    EXPECT_EQ(filters.ForService()[0].patternLength, 2U);
    EXPECT_EQ(filters.ForService()[0].patternData[0], 0x0F);
    EXPECT_TRUE(filters.Match(Result(kListed)));
    EXPECT_TRUE(filters.Match(Result(kWithData)));
    EXPECT_FALSE(filters.Match(Result(kNeither))) << "though the bytes are there";
}

TEST(ScanFilters, FindLongServices)
{
    const ScanFilters filters({"service=01020304-0506-0708-090a-0b0c0d0e0f10"});
    EXPECT_EQ(filters.ForService()[0].patternLength, 16U);
    ByteVector data{17, 7};
    for (std::uint8_t byte = 16; byte > 0; --byte) {
        data.push_back(byte);
    }
    EXPECT_TRUE(filters.Match(Result(data)));
    EXPECT_FALSE(filters.Match(Result(kListed)));
}

TEST(ScanFilters, KeepWhatAnotherFilterWants)
{
    const ScanFilters filters(
        {"service=180F", "manufacturer=CAFE", "address=D0", "hex=0918", "name=me"});
    EXPECT_TRUE(filters.Match(Result(kNeither)));
    EXPECT_TRUE(filters.Match(Result({2, 1, 6}, 0xD00000000001)));
    EXPECT_TRUE(filters.Match(Result({4, 0xFF, 1, 9, 0x18})));
    EXPECT_TRUE(filters.Match(Result({4, 9, 'm', 'e', '!'})));
    EXPECT_FALSE(filters.Match(Result({3, 8, 'm', 'e'}))) << "a short name";
    EXPECT_FALSE(filters.Match(Result({2, 1, 6})));
}

TEST(ScanFilters, MayBeAbsent)
{
    const ScanFilters filters({});
    EXPECT_TRUE(filters.ForService().empty());
    EXPECT_TRUE(filters.Match(Result({})));
}

TEST(ScanFilters, RefuseWhatIsNone)
{
    for (const char* text : {"", "name", "color=red", "service=", "service=18", "hex=1"}) {
        EXPECT_THROW(ScanFilters({text}), Failure) << text;
    }
    EXPECT_THROW(ScanFilters({"hex=" + std::string(66, '1')}), Failure);
    EXPECT_THROW(ScanFilters(std::vector<std::string>(6, "name=x")), Failure);
}

}  // namespace

}  // namespace pelacon::ctl
