// The contents of advertisements, as text and in JSON.
#include <tests/support/Bytes.h>
#include <tools/pelaconctl/AdvertisedData.h>
#include <tools/pelaconctl/Failure.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <vector>

namespace pelacon::ctl {

namespace {

using test::ByteVector;
using ::testing::ElementsAre;

TEST(AdvertisedData, ReadsEachPart)
{
    const ByteVector bytes{2,    1,    6, 5,    3,    0x0F, 0x18, 0x09, 0x18, 4, 0x16, 0x0F,
                           0x18, 0x64, 5, 0xFF, 0xFE, 0xCA, 1,    2,    3,    9, 'm',  'e'};
    const AdvertisedData data = ReadAdvertisedData(bytes);
    EXPECT_EQ(data.name, "me");
    EXPECT_THAT(data.services,
                ElementsAre(*protocol::ParseUuid("180F"), *protocol::ParseUuid("1809")));
    ASSERT_TRUE(data.serviceData && data.manufacturer);
    EXPECT_EQ(data.serviceData->identifier, 0x180F);
    EXPECT_EQ(data.serviceData->data, ByteVector{0x64});
    EXPECT_EQ(DataText(data), "services 180F,1809  CAFE: 0102  180F: 64");
    nlohmann::ordered_json record;
    AddFields(record, data);
    EXPECT_EQ(record.dump(), R"({"name":"me","services":["180F","1809"],)"
                             R"("serviceData":{"uuid":"180F","data":"64"},)"
                             R"("manufacturer":{"company":"CAFE","data":"0102"}})");
}

TEST(AdvertisedData, ReadsServicesOfEachSize)
{
    ByteVector bytes{3, 2, 0x0A, 0x18, 5, 5, 0x78, 0x56, 0x34, 0x12, 17, 6};
    for (std::uint8_t byte = 16; byte > 0; --byte) {
        bytes.push_back(byte);
    }
    const AdvertisedData data = ReadAdvertisedData(bytes);
    EXPECT_EQ(DataText(data), "services 180A,12345678,01020304-0506-0708-090a-0b0c0d0e0f10");
    for (const protocol::Uuid& service : data.services) {
        EXPECT_TRUE(HasService(data, service));
    }
    EXPECT_FALSE(HasService(data, *protocol::ParseUuid("180F")));
    EXPECT_EQ(AdvertisedBytes(data.services[0]), (ByteVector{0x0A, 0x18}));
    EXPECT_EQ(AdvertisedBytes(data.services[1]), (ByteVector{0x78, 0x56, 0x34, 0x12}));
    EXPECT_EQ(AdvertisedBytes(data.services[2]).front(), 16);
}

TEST(AdvertisedData, OmitsMissingParts)
{
    const AdvertisedData data = ReadAdvertisedData(ByteVector{2, 1, 6});
    EXPECT_EQ(DataText(data), "");
    nlohmann::ordered_json record = nlohmann::ordered_json::object();
    AddFields(record, data);
    EXPECT_EQ(record.dump(), "{}");
}

TEST(AdvertisedData, MalformedDataHaveNoParts)
{
    for (const ByteVector& bytes :
         {ByteVector{}, ByteVector{0}, ByteVector{0, 9}, ByteVector{9, 9, 'a'},
          ByteVector{2, 0x16, 1}, ByteVector{1, 0xFF}, ByteVector{2, 3, 1}}) {
        const AdvertisedData data = ReadAdvertisedData(bytes);
        EXPECT_FALSE(data.name || data.serviceData || data.manufacturer);
        EXPECT_TRUE(data.services.empty());
    }
}

TEST(AdvertisedData, UsesTheShortNameWithoutACompleteOne)
{
    EXPECT_EQ(ReadAdvertisedData(ByteVector{3, 8, 'm', 'e'}).name, "me");
    EXPECT_EQ(ReadAdvertisedData(ByteVector{2, 8, 'm', 3, 9, 'm', 'e'}).name, "me");
}

TEST(AdvertisedData, FormatsIdentifiersWithFourDigits)
{
    EXPECT_EQ(FormatUuid16(0x0A), "000A");
    EXPECT_EQ(ParseUuid16("180f"), 0x180F);
    EXPECT_EQ(ParseUuid16("0x180F"), 0x180F);
    for (const char* text : {"", "18", "180F00", "wxyz", "180"}) {
        EXPECT_THROW(ParseUuid16(text), Failure) << text;
    }
}

}  // namespace

}  // namespace pelacon::ctl
