// The Wi-Fi sections of a world file.
#include <service/simulation/WorldFile.h>
#include <tests/service/WorldText.h>

#include <gmock/gmock.h>

#include <string>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;

TEST(WifiWorldTest, ReadsTheAdapter)
{
    const simulation::WifiConfig wifi = Read(R"({"wifi": {
        "address": "01:02:03:04:05:06", "on": false, "switchMs": 7,
        "channels": [{"channel": 149}, {"channel": 6, "load": 40, "bandwidth": 40}],
        "connected": {"ssid": "Home", "channel": 6}}})")
                                            .wifi;
    EXPECT_EQ(wifi.address, 0x010203040506U);
    EXPECT_FALSE(wifi.on);
    EXPECT_EQ(wifi.switchDelay, 7ms);
    ASSERT_EQ(wifi.channels.size(), 2U);
    EXPECT_EQ(wifi.channels[0].number, 6) << "in ascending order";
    EXPECT_EQ(wifi.channels[0].load, 40);
    EXPECT_EQ(wifi.channels[0].bandwidth, 40);
    EXPECT_EQ(wifi.channels[1].bandwidth, 80);
    ASSERT_TRUE(wifi.connected);
    EXPECT_EQ(wifi.connected->ssid, "Home");
}

TEST(WifiWorldTest, ReadsGroups)
{
    const simulation::GroupConfig group = Read(R"({"group": {
        "ssid": "DIRECT-ab", "passPhrase": "12345678", "address": "01:02:03:04:05:06",
        "ipAddress": "10.1.2.3", "creation": {"ms": 5, "fails": true},
        "firstCreations": [{"ms": 22000}, {}], "removeMs": 6,
        "stations": [{"address": "0A:00:00:00:00:01"},
                     {"address": "0A:00:00:00:00:02", "joinMs": 1, "stayMs": 2,
                      "ipAddress": "10.1.2.9"}]}})")
                                              .group;
    EXPECT_EQ(group.ssid, "DIRECT-ab");
    EXPECT_EQ(group.creation.delay, 5ms);
    EXPECT_EQ(group.creation.outcome, radio::GroupOutcome::kFailed);
    ASSERT_EQ(group.firstCreations.size(), 2U);
    EXPECT_EQ(group.firstCreations[0].delay, 22s);
    EXPECT_EQ(group.firstCreations[1].outcome, radio::GroupOutcome::kDone);
    EXPECT_EQ(group.removeDelay, 6ms);
    ASSERT_EQ(group.stations.size(), 2U);
    EXPECT_FALSE(group.stations[0].stay);
    EXPECT_EQ(group.stations[1].stay, 2ms);
    EXPECT_EQ(group.stations[1].ipAddress, "10.1.2.9");
}

TEST(WifiWorldTest, ReadsCards)
{
    const simulation::WifiCardsConfig cards = Read(R"({"wifiCards": {
        "cards": ["off", "absent", "on"], "coexistence": "",
        "interfaces": [{"name": "a", "guid": "{01234567-89ab-CDEF-0123-456789ABCDEF}"}]}})")
                                                  .wifiCards;
    EXPECT_EQ(cards.cards.size(), 3U);
    EXPECT_EQ(cards.coexistence, "");
    ASSERT_EQ(cards.interfaces.size(), 1U);
    EXPECT_EQ(cards.interfaces[0].index, 1);
}

TEST(WifiWorldTest, ReportsMistakes)
{
    const struct {
        const char* world;
        const char* complaint;
    } rows[] = {
        {R"({"wifi": {"channels": [{"channel": 15}]}})",
         "wifi.channels[0].channel: is no channel of the 2.4 GHz or the 5 GHz band"},
        {R"({"wifi": {"channels": [{"channel": 6}, {"channel": 6}]}})",
         "wifi.channels: names a channel twice"},
        {R"({"wifi": {"connected": {"ssid": "x"}}})",
         "wifi.connected: the field \"channel\" is missing"},
        {R"({"group": {"passPhrase": "1234567"}})",
         "group.passPhrase: must be text of 8 to 63 bytes"},
        {R"({"group": {"ipAddress": "10.0.0"}})", "group.ipAddress: must be an IPv4 address"},
        {R"({"group": {"ipAddress": "10.0.0.256"}})", "group.ipAddress: must be an IPv4 address"},
        {R"({"group": {"ipAddress": "10.0.0.1x"}})", "group.ipAddress: must be an IPv4 address"},
        {R"({"group": {"ipAddress": "10.0..1"}})", "group.ipAddress: must be an IPv4 address"},
        {R"({"group": {"ipAddress": "-1.0.0.1"}})", "group.ipAddress: must be an IPv4 address"},
        {R"({"group": {"firstCreations": [{}, {"ms": 600001}]}})",
         "group.firstCreations[1].ms: must be a whole number between 0 and 600000"},
        {R"({"group": {"stations": [{}]}})", "group.stations[0]: the field \"address\" is missing"},
        {R"({"wifiCards": {"cards": []}})", "wifiCards.cards: must name one to five cards"},
        {R"({"wifiCards": {"cards": ["on", "on", "on", "on", "on", "on"]}})",
         "wifiCards.cards: must name one to five cards"},
        {R"({"wifiCards": {"cards": ["up"]}})",
         "wifiCards.cards[0]: must be one of \"absent\", \"off\", \"on\""},
        {R"({"wifiCards": {"interfaces": [{"name": "a", "guid": "{01234567089AB-CDEF-0123-456789ABCDEF}"}]}})",
         "wifiCards.interfaces[0].guid: must be a GUID"},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(Complaint(row.world), HasSubstr(row.complaint)) << row.world;
    }
}

}  // namespace
}  // namespace pelacon::service::tests
