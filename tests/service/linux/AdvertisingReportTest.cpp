#include <service/linux/bluetooth/AdvertisingReport.h>
#include <tests/service/linux/Recorded.h>

#include <gmock/gmock.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using namespace bluetooth;
using Kind = AdvertisingReport::Kind;
using Part = AdvertisingReport::Part;

// As kernel 6.1 handed them out, with two virtual controllers.
constexpr const char* kConnectable = "043e150201000001000101aa000902010605ff34120a0b7f";
constexpr const char* kResponse = "043e130201040001000101aa000706095241572d317f";
constexpr const char* kFromRandom = "043e13020103017b65b3b6f33d070201040303aafe7f";

// Put together after the layout that Bluetooth gives an extended report.
constexpr const char* kExtended =
    "043e1e0d010000010605040302c1010003"
    "7fd4000000000000000000"
    "04"
    "0303aafe";

AdvertisingReport Only(const char* packet)
{
    const auto reports = DecodeAdvertisingReports(FromHex(packet));
    EXPECT_EQ(reports.size(), 1U);
    return reports.empty() ? AdvertisingReport() : reports.front();
}

TEST(AnAdvertisingReport, IsDecoded)
{
    const AdvertisingReport report = Only(kConnectable);
    EXPECT_EQ(report.kind, Kind::kConnectable);
    EXPECT_FALSE(report.isDirected);
    EXPECT_FALSE(report.isExtended);
    EXPECT_EQ(report.addressType, AddressType::kPublic);
    EXPECT_EQ(report.address, 0x00AA01010001U);
    EXPECT_EQ(report.rssi, AdvertisingReport::kUnknownRssi);
    EXPECT_EQ(report.data, FromHex("02010605ff34120a0b"));
}

TEST(AnAdvertisingReport, MayBeAScanResponse)
{
    const AdvertisingReport report = Only(kResponse);
    EXPECT_EQ(report.kind, Kind::kScanResponse);
    EXPECT_EQ(report.data, FromHex("06095241572d31"));
}

TEST(AnAdvertisingReport, MayComeFromARandomAddress)
{
    const AdvertisingReport report = Only(kFromRandom);
    EXPECT_EQ(report.kind, Kind::kNonConnectable);
    EXPECT_EQ(report.addressType, AddressType::kRandom);
    EXPECT_EQ(report.address, 0x3DF3B6B3657BU);
}

TEST(AnAdvertisingReport, MayBeExtended)
{
    const AdvertisingReport report = Only(kExtended);
    EXPECT_EQ(report.kind, Kind::kNonConnectable);
    EXPECT_TRUE(report.isExtended);
    EXPECT_EQ(report.part, Part::kWhole);
    EXPECT_EQ(report.addressType, AddressType::kRandom);
    EXPECT_EQ(report.address, 0xC10203040506U);
    EXPECT_EQ(report.set, 3);
    EXPECT_EQ(report.rssi, -44);
    EXPECT_EQ(report.data, FromHex("0303aafe"));
}

TEST(AnAdvertisingReport, HasTheTypeOfAnExtendedOne)
{
    const auto kindOf = [](std::uint8_t type) {
        auto packet = FromHex(kExtended);
        packet[5] = type;
        return DecodeAdvertisingReports(packet).at(0);
    };
    EXPECT_EQ(kindOf(0x13).kind, Kind::kConnectable);
    EXPECT_FALSE(kindOf(0x13).isExtended);
    EXPECT_EQ(kindOf(0x12).kind, Kind::kScannable);
    EXPECT_EQ(kindOf(0x10).kind, Kind::kNonConnectable);
    EXPECT_EQ(kindOf(0x1B).kind, Kind::kScanResponse);
    EXPECT_TRUE(kindOf(0x15).isDirected);
    EXPECT_EQ(kindOf(0x21).part, Part::kMoreToCome);
    EXPECT_EQ(kindOf(0x41).part, Part::kCutOff);
}

TEST(AnAdvertisingReport, MayShareItsEventWithOthers)
{
    const auto reports =
        DecodeAdvertisingReports(FromHex("043e190202"
                                         "000001000101aa0001117f"
                                         "030101000101aa000222 33ce"));
    ASSERT_EQ(reports.size(), 2U);
    EXPECT_EQ(reports[0].data, FromHex("11"));
    EXPECT_EQ(reports[1].data, FromHex("2233"));
    EXPECT_EQ(reports[1].rssi, -50);
}

TEST(AnAdvertisingReport, IsNotDecodedFromOtherEvents)
{
    for (const char* packet :
         {"", "04", "043e", "043e00", "043e0102", "040f0400012020",
          "043e0c0a0100000001000101aa0000", "023e150201",
          // an unknown kind, an anonymous sender
          "043e0c02010900010001 01aa00007f", "043e0c0201 00ff010001 01aa00007f"}) {
        EXPECT_TRUE(DecodeAdvertisingReports(FromHex(packet)).empty()) << packet;
    }
}

TEST(AnAdvertisingReport, IsNotDecodedFromTruncatedPackets)
{
    for (const char* packet : {kConnectable, kResponse, kFromRandom, kExtended}) {
        const auto whole = FromHex(packet);
        for (std::size_t size = 0; size < whole.size(); ++size) {
            // A buffer of its own, so that a sanitizer sees a byte too many.
            const std::vector<std::uint8_t> part(whole.begin(),
                                                 whole.begin() + static_cast<std::ptrdiff_t>(size));
            EXPECT_TRUE(DecodeAdvertisingReports(part).empty()) << packet << " " << size;
        }
    }
}

TEST(AnAdvertisingReport, MayHaveAnyInvalidByte)
{
    for (const char* packet : {kConnectable, kExtended}) {
        const auto right = FromHex(packet);
        for (std::size_t place = 0; place < right.size(); ++place) {
            for (int value = 0; value < 256; ++value) {
                auto wrong = right;
                wrong[place] = static_cast<std::uint8_t>(value);
                for (const AdvertisingReport& report : DecodeAdvertisingReports(wrong)) {
                    EXPECT_LE(report.data.size(), right.size());
                }
            }
        }
    }
}

class AReportAssembler : public testing::Test {
  protected:
    static AdvertisingReport Piece(std::uint64_t address, Part part, std::size_t size,
                                   std::uint8_t value)
    {
        AdvertisingReport report;
        report.isExtended = true;
        report.address = address;
        report.part = part;
        report.data.assign(size, value);
        return report;
    }

    ReportAssembler assembler;
};

TEST_F(AReportAssembler, PassesWholeReportsOn)
{
    AdvertisingReport report = Piece(1, Part::kWhole, 5, 1);
    EXPECT_TRUE(assembler.Join(report));
    EXPECT_EQ(report.data.size(), 5U);
}

TEST_F(AReportAssembler, JoinsThePartsOfEachSender)
{
    AdvertisingReport first = Piece(1, Part::kMoreToCome, 2, 1);
    AdvertisingReport other = Piece(2, Part::kMoreToCome, 2, 9);
    AdvertisingReport second = Piece(1, Part::kMoreToCome, 1, 2);
    AdvertisingReport last = Piece(1, Part::kWhole, 1, 3);
    EXPECT_FALSE(assembler.Join(first));
    EXPECT_FALSE(assembler.Join(other));
    EXPECT_FALSE(assembler.Join(second));
    EXPECT_TRUE(assembler.Join(last));
    EXPECT_EQ(last.data, (std::vector<std::uint8_t>{1, 1, 2, 3}));
    AdvertisingReport next = Piece(1, Part::kWhole, 1, 4);
    EXPECT_TRUE(assembler.Join(next));
    EXPECT_EQ(next.data, (std::vector<std::uint8_t>{4}));
}

TEST_F(AReportAssembler, KeepsNoMoreThanAnAdvertisementHolds)
{
    for (int i = 0; i < 20; ++i) {
        AdvertisingReport report = Piece(1, Part::kMoreToCome, 229, 1);
        EXPECT_FALSE(assembler.Join(report));
    }
    AdvertisingReport last = Piece(1, Part::kCutOff, 229, 1);
    EXPECT_TRUE(assembler.Join(last));
    EXPECT_EQ(last.data.size(), ReportAssembler::kMostData);
}

TEST_F(AReportAssembler, ForgetsTheOldestSenders)
{
    for (std::uint64_t address = 0; address <= ReportAssembler::kMostUnfinished; ++address) {
        AdvertisingReport report = Piece(address, Part::kMoreToCome, 1, 1);
        EXPECT_FALSE(assembler.Join(report));
    }
    AdvertisingReport forgotten = Piece(0, Part::kWhole, 1, 2);
    EXPECT_TRUE(assembler.Join(forgotten));
    EXPECT_EQ(forgotten.data.size(), 1U);
    AdvertisingReport kept = Piece(1, Part::kWhole, 1, 2);
    EXPECT_TRUE(assembler.Join(kept));
    EXPECT_EQ(kept.data.size(), 2U);
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
