#include <service/simulation/WorldFile.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace pelacon::service::tests {
namespace {

using std::chrono::milliseconds;
using Bytes = std::vector<std::uint8_t>;

simulation::PeripheralConfig Read(const std::string& fields)
{
    const simulation::WorldFile file = simulation::ReadWorldFile(
        R"({"peripherals": [{"address": "C0:00:00:00:00:01", )" + fields + "}]}", "test");
    return file.peripherals.at(0);
}

Bytes Data(const std::string& data)
{
    return Read(R"("advertising": {"data": )" + data + "}").advertising.data;
}

std::string ErrorOf(const std::string& text)
{
    try {
        simulation::ReadWorldFile(text, "test");
    } catch (const json::Error& error) {
        return error.what();
    }
    return "none";
}

std::string DataError(const std::string& data)
{
    return ErrorOf(R"({"peripherals": [{"address": "C0:00:00:00:00:01", "advertising": {"data": )" +
                   data + "}}]}");
}

TEST(PeripheralConfig, HasDefaults)
{
    const auto config = Read(R"("name": "Lamp")");
    EXPECT_EQ(config.address, 0xC00000000001U);
    EXPECT_EQ(config.rssi, -60);
    EXPECT_EQ(config.rssiVariation, 3);
    EXPECT_TRUE(config.advertising.on);
    EXPECT_EQ(config.advertising.interval, milliseconds(500));
    EXPECT_EQ(config.advertising.kind, radio::AdvertisementKind::kConnectable);
    EXPECT_EQ(config.advertising.data, (Bytes{2, 1, 6, 5, 9, 'L', 'a', 'm', 'p'}));
    EXPECT_TRUE(config.advertising.scanResponse.empty());
}

TEST(PeripheralConfig, ShortensALongNameThatItAdvertises)
{
    const std::string name = "a name that is much longer than an advertisement";
    const Bytes data = Read("\"name\": \"" + name + "\"").advertising.data;
    ASSERT_EQ(data.size(), 31U);
    EXPECT_EQ(data[4], 0x08);
    EXPECT_EQ(std::string(data.begin() + 5, data.end()), name.substr(0, 26));
}

TEST(PeripheralConfig, ReadsAllFields)
{
    const auto config = Read(R"("rssi": -90, "rssiVariation": 0, "advertising": {
        "on": false, "intervalMs": 20, "kind": "non-connectable", "data": "02 01 06",
        "scanResponse": "0309 6D65"})");
    EXPECT_EQ(config.rssi, -90);
    EXPECT_EQ(config.rssiVariation, 0);
    EXPECT_FALSE(config.advertising.on);
    EXPECT_EQ(config.advertising.interval, milliseconds(20));
    EXPECT_EQ(config.advertising.kind, radio::AdvertisementKind::kNonConnectable);
    EXPECT_EQ(config.advertising.data, (Bytes{2, 1, 6}));
    EXPECT_EQ(config.advertising.scanResponse, (Bytes{3, 9, 'm', 'e'}));
}

TEST(PeripheralConfig, BuildsDataFromStructures)
{
    EXPECT_EQ(Data(R"([{"flags": 4}, {"services": ["180F", "1809"]}])"),
              (Bytes{2, 1, 4, 5, 3, 0x0F, 0x18, 0x09, 0x18}));
    EXPECT_EQ(Data(R"([{"manufacturer": "1234", "data": "AA"}, {"manufacturer": "0001"}])"),
              (Bytes{4, 0xFF, 0x34, 0x12, 0xAA, 3, 0xFF, 1, 0}));
    EXPECT_EQ(Data(R"([{"service": "180F", "data": "64"}])"), (Bytes{4, 0x16, 0x0F, 0x18, 0x64}));
    EXPECT_EQ(Data(R"([{"type": 10, "data": "FC"}, {"type": 25, "data": ""}])"),
              (Bytes{2, 10, 0xFC, 1, 25}));
    EXPECT_EQ(Data("[]"), Bytes());
    EXPECT_EQ(Data("\"\""), Bytes());
}

TEST(PeripheralConfig, ReportsMistakes)
{
    using ::testing::HasSubstr;
    EXPECT_THAT(DataError("5"), HasSubstr("advertising.data"));
    EXPECT_THAT(DataError("[{}]"), HasSubstr("must have one of flags, name"));
    EXPECT_THAT(DataError(R"([{"flags": 6, "name": "x"}])"), HasSubstr("name"));
    EXPECT_THAT(DataError(R"([{"flags": 256}])"), HasSubstr("flags"));
    EXPECT_THAT(DataError(R"([{"manufacturer": "12"}])"), HasSubstr("manufacturer"));
    EXPECT_THAT(DataError(R"([{"name": "0123456789012345"}, {"name": "012345678901"}])"),
                HasSubstr("makes 32 bytes, and there is room for 31"));
    EXPECT_THAT(DataError("\"" + std::string(64, '0') + "\""), HasSubstr("0 to 31 bytes"));
    EXPECT_THAT(ErrorOf(R"({"peripherals": [{"name": "x"}]})"), HasSubstr("address"));
    EXPECT_THAT(ErrorOf(R"({"peripherals": [{"address": "C0:00:00:00:00:01"},
                                            {"address": "c0:00:00:00:00:01"}]})"),
                HasSubstr("test:2: peripherals[1]: has the address of one before it"));
    EXPECT_THAT(ErrorOf(R"({"targetedAdvertisements": [{}]})"), HasSubstr("business"));
}

TEST(PeripheralConfig, TheBuiltInWorldHasSome)
{
    EXPECT_GE(
        simulation::ReadWorldFile(simulation::DefaultWorldText(), "default").peripherals.size(),
        4U);
}

}  // namespace
}  // namespace pelacon::service::tests
