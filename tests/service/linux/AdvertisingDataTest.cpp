#include <service/linux/bluetooth/AdvertisingData.h>
#include <tests/service/linux/Recorded.h>

#include <gmock/gmock.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using namespace bluetooth;
using protocol::ParseUuid;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t kRoom = 31;

Uuid U(const char* text)
{
    return *ParseUuid(text);
}

AdvertisingFields Read(const char* text)
{
    AdvertisingFields fields;
    ReadStructures(FromHex(text), fields);
    return fields;
}

TEST(AdvertisingStructures, BecomeFields)
{
    const AdvertisingFields fields = Read(
        "020106 0303aafe 05020d180f18 05ff3412 0a0b 0416aafe01 020af4 0319c103 0409 616263 021bff");
    EXPECT_EQ(fields.flags, 6);
    EXPECT_THAT(fields.services, ElementsAre(U("feaa"), U("180d"), U("180f")));
    EXPECT_EQ(fields.manufacturerData.at(0x1234), FromHex("0a0b"));
    EXPECT_EQ(fields.serviceData.at(U("feaa")), FromHex("01"));
    EXPECT_EQ(fields.txPower, -12);
    EXPECT_EQ(fields.appearance, 0x03C1);
    EXPECT_EQ(fields.name, "abc");
    EXPECT_EQ(fields.others.at(0x1b), FromHex("ff"));
}

TEST(AdvertisingStructures, HaveUuidsOfThreeSizes)
{
    const AdvertisingFields fields = Read("0505 44332211 1107 0f0e0d0c0b0a09080706050403020100");
    EXPECT_THAT(fields.services,
                ElementsAre(U("11223344"), U("00010203-0405-0607-0809-0a0b0c0d0e0f")));
    EXPECT_EQ(Read("0621 0102030405").serviceData.size(), 0U);
    EXPECT_EQ(Read("0620 4433221155").serviceData.at(U("11223344")), FromHex("55"));
    EXPECT_EQ(Read("1221 0f0e0d0c0b0a09080706050403020100 55")
                  .serviceData.at(U("00010203-0405-0607-0809-0a0b0c0d0e0f")),
              FromHex("55"));
}

TEST(AdvertisingStructures, InvalidOnesAreIgnored)
{
    EXPECT_EQ(Read(""), AdvertisingFields());
    EXPECT_EQ(Read("00"), AdvertisingFields());
    EXPECT_EQ(Read("05"), AdvertisingFields());
    EXPECT_EQ(Read("0509ab"), AdvertisingFields());
    EXPECT_EQ(Read("0101 010a 0119 01ff 02ff01 021601"), AdvertisingFields());
    EXPECT_EQ(Read("020106 00 0303aafe"), Read("020106"));
    EXPECT_THAT(Read("0403aafe01").services, ElementsAre(U("feaa")));
}

TEST(AdvertisingStructures, AnyBytesAreRead)
{
    std::uint32_t state = 1;
    for (int round = 0; round < 20000; ++round) {
        std::vector<std::uint8_t> data(state % 64);
        for (std::uint8_t& byte : data) {
            state = state * 1664525U + 1013904223U;
            byte = static_cast<std::uint8_t>((state >> 24U) % (round % 2 == 0 ? 256U : 8U));
        }
        AdvertisingFields fields;
        ReadStructures(data, fields);
        EXPECT_LE(WholeStructures(data, kRoom), kRoom);
        const AdvertisingPair pair = WriteStructures(fields, kRoom);
        EXPECT_LE(pair.data.size(), kRoom);
        EXPECT_LE(pair.scanResponse.size(), kRoom);
        state = state * 1664525U + 1013904223U;
    }
}

TEST(AdvertisingStructures, AreCutAtTheirEnds)
{
    const auto data = FromHex("020106 0303aafe 05ff34120a0b");
    EXPECT_EQ(WholeStructures(data, 31), 13U);
    EXPECT_EQ(WholeStructures(data, 12), 7U);
    EXPECT_EQ(WholeStructures(data, 7), 7U);
    EXPECT_EQ(WholeStructures(data, 2), 0U);
    EXPECT_EQ(WholeStructures(FromHex("020106 05ff"), 31), 3U);
}

TEST(Fields, BecomeStructuresInAFixedOrder)
{
    const AdvertisingFields fields = Read("0409616263 020af4 05ff34120a0b 0303aafe 020106");
    const AdvertisingPair pair = WriteStructures(fields, kRoom);
    EXPECT_EQ(pair.data, FromHex("020106 0303aafe 05ff34120a0b 020af4 0409616263"));
    EXPECT_THAT(pair.scanResponse, IsEmpty());
}

TEST(Fields, GoIntoTheScanResponseWhereTheAdvertisementIsFull)
{
    AdvertisingFields fields = Read("020106 1107 0f0e0d0c0b0a09080706050403020100");
    fields.manufacturerData[0x1234] = std::vector<std::uint8_t>(10, 0xEE);
    fields.name = "a long name";
    const AdvertisingPair pair = WriteStructures(fields, kRoom);
    EXPECT_EQ(pair.data, FromHex("020106 1107 0f0e0d0c0b0a09080706050403020100"));
    EXPECT_EQ(pair.scanResponse,
              FromHex("0dff3412eeeeeeeeeeeeeeeeeeee 0c09 61206c6f6e67206e616d65"));
}

TEST(Fields, HaveAShortenedNameWhereItDoesNotFit)
{
    AdvertisingFields fields;
    fields.name = std::string(40, 'n');
    const AdvertisingPair pair = WriteStructures(fields, kRoom);
    ASSERT_EQ(pair.data.size(), kRoom);
    EXPECT_EQ(pair.data[0], 30);
    EXPECT_EQ(pair.data[1], 0x08);
}

TEST(Fields, AreLeftOutWhereTheyDoNotFit)
{
    AdvertisingFields fields = Read("020106");
    fields.manufacturerData[1] = std::vector<std::uint8_t>(28, 0xEE);
    EXPECT_EQ(WriteStructures(fields, kRoom).data, FromHex("020106"));
    EXPECT_THAT(WriteStructures(fields, kRoom).scanResponse, IsEmpty());
}

TEST(Fields, AreReadBackUnchanged)
{
    const AdvertisingFields fields = Read(
        "020106 0303aafe 0505 44332211 05ff3412 0a0b 0416aafe01 020af4 0319c103 0409 616263 021bff"
        " 0314 0d18");
    const AdvertisingPair pair = WriteStructures(fields, kRoom);
    AdvertisingFields again;
    ReadStructures(pair.data, again);
    ReadStructures(pair.scanResponse, again);
    EXPECT_EQ(again, fields);
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
