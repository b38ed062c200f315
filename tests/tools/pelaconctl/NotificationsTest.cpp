// Notifications as people read them.
#include <protocol/Catalogue.h>
#include <tests/support/Bytes.h>
#include <tools/pelaconctl/Notifications.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <ostream>
#include <string>

namespace pelacon::ctl {

namespace {

using test::Bytes;
using test::ByteVector;

constexpr std::uint64_t kAddress = 0x5CF3708B1234;
constexpr char kAddressText[] = "5C:F3:70:8B:12:34";

struct Case {
    const char* name;
    std::int32_t id;
    ByteVector payload;
    std::string line;
};

void PrintTo(const Case& one, std::ostream* out)
{
    *out << one.name;
}

class Notification : public ::testing::TestWithParam<Case> {};

TEST_P(Notification, ShowsItsFields)
{
    const Case& one = GetParam();
    EXPECT_EQ(FieldsLine(NotificationFields(one.id, one.payload)), one.line);
}

const Case kCases[] = {
    {"ServiceStarted", 0xD700A0, {}, ""},
    {"BtStateChanged", 0xD80062, Bytes().I32(2), "state=on"},
    {"AdvertiseDisabled", 0xD80044, Bytes().I32(3).I32(-7), "advertiser=3 status=-7"},
    {"ScanStatus", 0xD8006A, Bytes().I32(5).I32(1), "listener=5 status=1"},
    {"ScanResult", 0xD8006B,
     Bytes().Zeros(8).U64(kAddress).I32(-58).I32(1).U32(3).Raw({2, 1, 6}, 31).Zeros(13),
     std::string("address=") + kAddressText + " rssi=-58 eventType=1 data=020106"},
    {"TargetAdvReceived", 0xD8007E, Bytes().I32(9).Fill(36, 0xAB),
     "business=9 data="
     "abababababababababababababababababababababababababababababababababababab"},
    {"GattConnectionState", 0xD80048, Bytes().I32(1).I32(2).I32(0), "client=1 state=2 reason=0"},
    {"GattConnectionEnd", 0xD80049, Bytes().I32(1).I32(0).I32(8), "client=1 state=0 reason=8"},
    {"GattNotification", 0xD80053,
     Bytes().I32(1).Text("180D", 37).Text("2A37", 37).Raw({0, 72}, 1024).Zeros(2).U32(2).I32(0),
     "client=1 service=180D characteristic=2A37 value=0048 status=0"},
    {"GattPeerConnected", 0xD80075, Bytes().I32(4).Zeros(4).U64(kAddress),
     std::string("server=4 peer=") + kAddressText},
    {"GattMtuChanged", 0xD80078, Bytes().I32(4).Zeros(4).U64(kAddress).U32(185),
     std::string("server=4 peer=") + kAddressText + " value=185"},
    {"GattPeerWrites", 0xD8007A,
     Bytes().I32(4).I32(2).U64(kAddress).Text("2A06", 37).Raw({1}, 1024).Zeros(3).U32(1),
     std::string("server=4 peer=") + kAddressText + " characteristic=2A06 data=01"},
    {"WifiCfg", 0xD80087, Bytes().I32(1).Raw({0xCA, 0xFE}, 512).I32(2), "type=1 data=cafe"},
    {"WifiCardStateChange", 0xD8008B, Bytes().I32(0).I32(2).I32(1).I32(1).Zeros(24).I32(1).I32(2),
     R"(changed=1 cards=[{"card":0,"state":2},{"card":1,"state":1}])"},
    {"SoftAPGroupsChange", 0xD80038, Bytes().I32(1).I32(0), "state=1 reason=0"},
    {"SoftAPConnectionStateChange", 0xD80039,
     Bytes().I32(1).Text("5cf3708b1234", 13).Text("192.168.137.2", 16),
     "state=1 station=5cf3708b1234 ipAddress=192.168.137.2"},
    {"WifiConnectChannel", 0xD70008, Bytes().I32(36), "channel=36"},
    {"ErrorStatus", 0xD80028, Bytes().I32(268435457), "code=268435457"},
};

INSTANTIATE_TEST_SUITE_P(All, Notification, ::testing::ValuesIn(kCases),
                         [](const auto& one) { return std::string(one.param.name); });

TEST(Notifications, HasFieldsForEachNotificationOfTheCatalogue)
{
    for (const protocol::CatalogueEntry& entry : protocol::kCatalogue) {
        if (!entry.IsSentToService()) {
            EXPECT_FALSE(NotificationFields(entry.id, {}).is_null()) << entry.name;
        }
    }
}

TEST(Notifications, ShortPayloadsArePaddedWithZeros)
{
    EXPECT_EQ(FieldsLine(NotificationFields(0xD8006A, ByteVector(Bytes().I32(5)))),
              "listener=5 status=0");
    EXPECT_EQ(FieldsLine(NotificationFields(0xD80062, {})), "state=off");
}

TEST(Notifications, CutsLengthsAndTextsToTheirFields)
{
    const ByteVector scanResult = Bytes().Zeros(24).U32(0xFFFFFFFF).Fill(31, 0xEE).Zeros(13);
    EXPECT_EQ(NotificationFields(0xD8006B, scanResult).at("data").get<std::string>().size(), 62U);
    const ByteVector wifiCfg = Bytes().I32(1).Fill(512, 0xEE).I32(-1);
    EXPECT_EQ(NotificationFields(0xD80087, wifiCfg).at("data"), "");
    const ByteVector cards = Bytes().Zeros(44).I32(1000);
    EXPECT_EQ(NotificationFields(0xD8008B, cards).at("cards").size(), 5U);
    const ByteVector station = Bytes().I32(1).Fill(13, 'x').Fill(16, 'y');
    EXPECT_EQ(NotificationFields(0xD80039, station).at("station"), std::string(13, 'x'));
}

TEST(Notifications, FieldsLineReplacesControlCharacters)
{
    const ByteVector station = Bytes().I32(1).Text("a\033[2J\xFF", 13).Zeros(16);
    const std::string line = FieldsLine(NotificationFields(0xD80039, station));
    EXPECT_EQ(line.find('\033'), std::string::npos) << line;
    EXPECT_EQ(FieldsLine({{"list", {{{"name", "\xFF"}}}}}).find('\xFF'), std::string::npos);
}

TEST(Notifications, UnknownNotificationsAreNamedByTheirId)
{
    EXPECT_TRUE(NotificationFields(0xD8FFFF, ByteVector(Bytes().I32(1))).is_null());
    EXPECT_EQ(NotificationName(0xD8FFFF), "0xD8FFFF");
    EXPECT_EQ(NotificationName(0xD80062), "BtStateChanged");
}

}  // namespace

}  // namespace pelacon::ctl
