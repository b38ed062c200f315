#include <service/simulation/WorldFile.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace pelacon::service::tests {
namespace {

using protocol::ParseUuid;

simulation::GattPeripheralConfig Read(const std::string& gatt)
{
    const simulation::WorldFile file = simulation::ReadWorldFile(
        R"({"peripherals": [{"address": "C0:00:00:00:00:01", "gatt": )" + gatt + "}]}", "w");
    return file.peripherals.at(0).gatt;
}

std::string ErrorOf(const std::string& gatt)
{
    try {
        Read(gatt);
    } catch (const json::Error& error) {
        const std::string text = error.what();
        return text.substr(text.find("gatt"));
    }
    return "none";
}

TEST(GattConfig, HasDefaults)
{
    const auto config = Read("{}");
    EXPECT_EQ(config.link.connectDelay.count(), 20);
    EXPECT_EQ(config.link.responseDelay.count(), 0);
    EXPECT_EQ(config.link.mtu, 247);
    EXPECT_FALSE(config.refuses);
    EXPECT_FALSE(config.disconnect);
    EXPECT_TRUE(config.services.empty());

    const auto characteristic =
        Read(R"({"services": [{"uuid": "180d", "characteristics": [{"uuid": "2a38"}]}]})")
            .services.at(0)
            .characteristics.at(0);
    EXPECT_EQ(characteristic.flags, radio::kGattRead);
    EXPECT_TRUE(characteristic.value.empty());
    EXPECT_EQ(characteristic.notifyEvery.count(), 0);
}

TEST(GattConfig, ReadsEveryField)
{
    const auto config = Read(R"({"connectMs": 1, "responseMs": 2, "mtu": 23, "refuse": true,
        "disconnect": {"afterMs": 3, "reason": "timeout"}, "services": [{"uuid": "0000180d",
        "characteristics": [{"uuid": "0123ABCD-0000-0000-0000-00000000F00D",
        "flags": ["read", "write", "writeWithoutResponse", "notify", "indicate"],
        "value": "00 FF", "notifyMs": 4, "notifyValues": ["01", {"text": "hi"}, ""]}]}]})");
    EXPECT_EQ(config.link.connectDelay.count(), 1);
    EXPECT_EQ(config.link.responseDelay.count(), 2);
    EXPECT_EQ(config.link.mtu, 23);
    EXPECT_TRUE(config.refuses);
    EXPECT_EQ(config.disconnect->after.count(), 3);
    EXPECT_EQ(config.disconnect->reason, radio::GattReason::kTimeout);
    EXPECT_EQ(config.services.at(0).uuid, *ParseUuid("180d"));
    const auto& characteristic = config.services[0].characteristics.at(0);
    EXPECT_EQ(characteristic.uuid, *ParseUuid("0123abcd-0000-0000-0000-00000000f00d"));
    EXPECT_EQ(characteristic.flags, 0x3E);
    EXPECT_EQ(characteristic.value, (radio::GattValue{0, 0xFF}));
    EXPECT_EQ(characteristic.notifyEvery.count(), 4);
    EXPECT_THAT(
        characteristic.notifyValues,
        testing::ElementsAre(radio::GattValue{1}, radio::GattValue{'h', 'i'}, radio::GattValue{}));
}

TEST(GattConfig, ReadsTheSettingsOfThisMachine)
{
    const simulation::WorldFile file =
        simulation::ReadWorldFile(R"({"gatt": {"mtu": 517, "connectMs": 9}})", "w");
    EXPECT_EQ(file.gatt.mtu, 517);
    EXPECT_EQ(file.gatt.connectDelay.count(), 9);
}

TEST(GattConfig, ReportsMistakes)
{
    EXPECT_EQ(ErrorOf(R"({"mtu": 22})"), "gatt.mtu: must be a whole number between 23 and 517");
    EXPECT_EQ(ErrorOf(R"({"services": [{"uuid": "18"}]})"),
              "gatt.services[0].uuid: must be a UUID: four or eight hexadecimal digits, or 36 "
              "characters with dashes");
    EXPECT_EQ(ErrorOf(R"({"services": [{"uuid": "180d"}, {"uuid": "0000180D"}]})"),
              "gatt.services: names 180d twice");
    EXPECT_EQ(ErrorOf(R"({"services": [{"uuid": "180d", "characteristics":
                          [{"uuid": "2a37"}, {"uuid": "2a38"}, {"uuid": "2A37"}]}]})"),
              "gatt.services[0].characteristics: names 2a37 twice");
    EXPECT_EQ(ErrorOf(R"({"disconnect": {}})"),
              "gatt.disconnect: the field \"afterMs\" is missing");
    EXPECT_EQ(ErrorOf(R"({"refuse": 1})"), "gatt.refuse: must be true or false");
    EXPECT_EQ(ErrorOf(R"({"services": [{"uuid": "180d", "characteristics": [
                          {"uuid": "2a37", "flags": ["fly"]}]}]})"),
              "gatt.services[0].characteristics[0].flags[0]: must be one of \"read\", \"write\", "
              "\"writeWithoutResponse\", \"notify\", \"indicate\"");
    const std::string tooLong(2050, '0');
    EXPECT_THAT(ErrorOf(R"({"services": [{"uuid": "180d", "characteristics": [
                          {"uuid": "2a37", "value": ")" +
                        tooLong + R"("}]}]})"),
                testing::HasSubstr("characteristics[0].value: "));
}

TEST(Uuid, HasTextsOfThreeLengths)
{
    EXPECT_EQ(ParseUuid("180D"), ParseUuid("0000180d-0000-1000-8000-00805F9B34FB"));
    EXPECT_EQ(ParseUuid("0000180d"), ParseUuid("180d"));
    EXPECT_NE(ParseUuid("1000180d"), ParseUuid("180d"));
    for (const std::string text : {"180d", "1000180d", "0123abcd-0000-0000-0000-00000000f00d"}) {
        EXPECT_EQ(ShortText(*ParseUuid(text)), text);
    }
    EXPECT_EQ(LongText(*ParseUuid("180D")), "0000180d-0000-1000-8000-00805f9b34fb");
    EXPECT_EQ(ShortText(*ParseUuid("0000180D-0000-1000-8000-00805F9B34FB")), "180d");
}

TEST(Uuid, RefusesOtherTexts)
{
    for (const std::string text :
         {"", "1", "180", "180g", "18 d", "180d0", "0x180d", "-180",
          "0000180d00001000800000805f9b34fb", "0000180d-0000-1000-8000-00805f9b34f",
          "0000180d-0000-1000-8000-00805f9b34fb0", "0000180d-0000-1000-8000_00805f9b34fb",
          "0000180d-00001-000-8000-00805f9b34fb", "0000180d-0000-1000-8000-00805f9b34f-"}) {
        EXPECT_FALSE(ParseUuid(text)) << text;
    }
}

}  // namespace
}  // namespace pelacon::service::tests
