// Wi-Fi Direct, from the library's operations to the radios and back.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/Mailbox.h>
#include <tests/support/ServiceProcess.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;

constexpr char kWorld[] = R"({
    "wifi": {"address": "12:34:56:78:9A:BC", "switchMs": 1,
             "channels": [{"channel": 6, "load": 10}, {"channel": 36, "load": 20},
                          {"channel": 149, "load": 5, "bandwidth": 80}]},
    "group": {"ssid": "DIRECT-xy", "passPhrase": "eight letters", "ipAddress": "10.0.0.1",
              "address": "AA:BB:CC:DD:EE:0F", "creation": {"ms": 5}, "removeMs": 5},
    "wifiCards": {"cards": ["on", "off"], "coexistence": "station+group",
                  "interfaces": [
                      {"name": "wlan0", "guid": "{00000000-0000-0000-0000-00000000000A}"}]}})";

/// What the callbacks received, as text.
Mailbox<std::string>& Delivered()
{
    static auto& delivered = *new Mailbox<std::string>;
    return delivered;
}

template <std::size_t Size>
std::string Text(const char (&field)[Size])
{
    return {field, std::find(field, field + Size, '\0')};
}

std::string Text(const Vod2dWifiCfgEvent& event)
{
    return std::to_string(event.type) + ' ' + std::string(event.blob, event.blob + event.length);
}

Vod2dWifiBroadcastRecvCb groupTable{
    [](Vod2dGroupChange change) {
        Delivered().Put("group " + std::to_string(change.state) + ' ' +
                        std::to_string(change.reason));
    },
    [](const Vod2dStationChange* change) {
        Delivered().Put("station " + std::to_string(change->state) + ' ' + Text(change->address) +
                        ' ' + Text(change->ipAddress));
    },
};

Vod2dWifiCfgCallback cfgTable{
    [](const Vod2dWifiCfgEvent* event) { Delivered().Put("configuration " + Text(*event)); }};

Vod2dWifiCfgCallback connTable{
    [](const Vod2dWifiCfgEvent* event) { Delivered().Put("connection " + Text(*event)); }};

WifiCardStateCallback cardTable{[](const WifiCardStateEvent* event) {
    const WifiCardStateInfo& card = event->cards[event->changed];
    Delivered().Put("card " + std::to_string(card.card) + " of " + std::to_string(event->count) +
                    ": " + std::to_string(card.state));
}};

class Group : public ::testing::Test {
  protected:
    Group()
    {
        Delivered().Clear();
        EXPECT_EQ(PelaconSvcStart(), 0);
    }
    ~Group() override
    {
        Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&groupTable);
        PelaconSvcStop();
    }

    static void Listen()
    {
        EXPECT_EQ(Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&groupTable), 0);
    }
    static Vod2dSoftAPInfo Created(std::int32_t channel = 0)
    {
        Vod2dSoftAPInfo info{};
        info.channel = channel;
        EXPECT_EQ(Vod2dApi::Vod2dCreateGroup(&info), 0);
        return info;
    }
    void Station(const char* command, const char* address)
    {
        service.Command({{"command", command}, {"address", address}});
    }

    ServiceProcess service{kWorld};
};

TEST_F(Group, IsCreatedDescribedAndRemoved)
{
    Listen();
    const Vod2dSoftAPInfo made = Created(36);
    EXPECT_EQ(Text(made.ssid), "DIRECT-xy");
    EXPECT_EQ(Text(made.pwd), "eight letters");
    EXPECT_THAT(made.mac, ElementsAre(0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0x0F));
    EXPECT_EQ(made.channel, 36);
    EXPECT_EQ(made.active, 1);
    EXPECT_EQ(Text(made.ipAddress), "10.0.0.1");
    EXPECT_EQ(made.is5GHz, 1);
    EXPECT_EQ(Delivered().Next(), "group 1 0");

    Vod2dSoftAPInfo read{};
    EXPECT_EQ(Vod2dApi::Vod2dGetGroupConfig(&read), 0);
    EXPECT_EQ(std::memcmp(&read, &made, sizeof read), 0);
    EXPECT_EQ(Vod2dApi::Vod2dGetFrequency(), 5180);

    Vod2dSoftAPInfo second{};
    EXPECT_EQ(Vod2dApi::Vod2dCreateGroup(&second), kWifiBusy);
    EXPECT_EQ(Vod2dApi::Vod2dRemoveGroup(), 0);
    EXPECT_EQ(Delivered().Next(), "group 0 0");
    EXPECT_EQ(Vod2dApi::Vod2dRemoveGroup(), kWifiNotFound);
    Vod2dSoftAPInfo impossible{};
    impossible.channel = 44;
    EXPECT_EQ(Vod2dApi::Vod2dCreateGroup(&impossible), kWifiNotSupported);
}

TEST_F(Group, StationsAreReportedAndCounted)
{
    Listen();
    Created();
    EXPECT_EQ(Delivered().Next(), "group 1 0");
    Station("group.join", "0A:0B:0C:0D:0E:0F");
    Station("group.join", "00:00:00:00:00:01");
    EXPECT_EQ(Delivered().Next(), "station 1 0a0b0c0d0e0f 10.0.0.2");
    EXPECT_EQ(Delivered().Next(), "station 1 000000000001 10.0.0.3");
    Vod2dLinkGroup link{};
    EXPECT_EQ(Vod2dApi::Vod2dGetGroupInfoConnected(&link), 0);
    EXPECT_EQ(link.groupState, kVod2dGroupExists);
    EXPECT_EQ(link.stationCount, 2);
    Station("group.leave", "0A:0B:0C:0D:0E:0F");
    EXPECT_EQ(Delivered().Next(), "station 0 0a0b0c0d0e0f ");
    EXPECT_EQ(Vod2dApi::Vod2dRemoveGroup(), 0);
    EXPECT_EQ(Delivered().Next(), "station 0 000000000001 ");
    EXPECT_EQ(Delivered().Next(), "group 0 0");
}

TEST_F(Group, StationsAreNotifiedAgainAfterALostConnection)
{
    Listen();
    Created();
    EXPECT_EQ(Delivered().Next(), "group 1 0");
    Station("group.join", "00:00:00:00:00:01");
    EXPECT_EQ(Delivered().Next(), "station 1 000000000001 10.0.0.2");
    service.Command({{"command", "disconnect"}});
    EXPECT_EQ(Delivered().Next(), "station 0 000000000001 ") << "by the library itself";
    EXPECT_EQ(Delivered().Next(), "group 1 11");
    EXPECT_EQ(Delivered().Next(), "station 1 000000000001 10.0.0.2");
    Station("group.leave", "00:00:00:00:00:01");
    EXPECT_EQ(Delivered().Next(), "station 0 000000000001 ");
}

TEST_F(Group, TakingTheCardOutEndsTheGroup)
{
    Listen();
    Created();
    EXPECT_EQ(Delivered().Next(), "group 1 0");
    service.Command({{"command", "wifi.card"}, {"card", 0}, {"state", "absent"}});
    EXPECT_EQ(Delivered().Next(), "group 0 1");
    bool active = true;
    EXPECT_EQ(Vod2dApi::Vod2dIsWifiActive(&active), 0);
    EXPECT_FALSE(active);
    EXPECT_EQ(WifiSystemApi::GetInstance().EnableWifi(true), kEnableWifiNoAdapter);
}

TEST_F(Group, AnOwnConfigurationIsNotAPeersAfterALostConnection)
{
    EXPECT_EQ(Vod2dApi::Vod2dRegisterWifiCfgCallback(&cfgTable), 0);
    std::uint8_t own[] = {'o', 'w', 'n'};
    EXPECT_EQ(Vod2dApi::Vod2dSetPeerWifiCfgInfo(kPeerCfgStation, own, 3), 0);
    Listen();
    service.Command({{"command", "disconnect"}});
    EXPECT_EQ(Delivered().Next(), "group 0 11") << "the state after the restart";
    std::uint8_t blob[512];
    std::int32_t length = 0;
    EXPECT_EQ(Vod2dApi::Vod2dGetSelfWifiCfgInfo(kSelfCfgStation, blob, &length), 0);
    EXPECT_NE(std::string(blob, blob + length), "own");
    EXPECT_EQ(Pelaconctl({"group", "config", "station"}).output, "own\n");
}

TEST_F(Group, AnUnregisteredTableIsNotCalled)
{
    Listen();
    EXPECT_EQ(Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&groupTable), 0);
    Created();
    EXPECT_EQ(Vod2dApi::Vod2dRemoveGroup(), 0);
    EXPECT_EQ(Delivered().Left(), 0U);
}

TEST_F(Group, CallbacksMayCallOperations)
{
    static Vod2dWifiBroadcastRecvCb asking{
        [](Vod2dGroupChange) {
            Delivered().Put("frequency " + std::to_string(Vod2dApi::Vod2dGetFrequency()));
        },
        nullptr};
    EXPECT_EQ(Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&asking), 0);
    Created(149);
    EXPECT_EQ(Delivered().Next(), "frequency 5745");
    EXPECT_EQ(Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&asking), 0);
}

TEST_F(Group, TheAdapterIsDescribed)
{
    bool active = false;
    EXPECT_EQ(Vod2dApi::Vod2dIsWifiActive(&active), 0);
    EXPECT_TRUE(active);
    char mac[6] = {};
    EXPECT_EQ(Vod2dApi::Vod2dGetBaseMacAddress(mac, sizeof mac), 0);
    EXPECT_EQ(std::string(mac, 6), "\x12\x34\x56\x78\x9A\xBC");
    std::vector<std::int32_t> channels(12, -1);
    EXPECT_EQ(Vod2dApi::Vod2dGetChannelListFor5G(channels.data(), 12), 0);
    EXPECT_EQ(channels[0], 36);
    EXPECT_EQ(channels[1], 149);
    EXPECT_EQ(channels[2], 0);
    EXPECT_EQ(Vod2dApi::Vod2dGetChannelListFor5G(channels.data(), 7), kWifiCopyFailed)
        << "eight bytes into seven";
    EXPECT_EQ(Vod2dApi::Vod2dGetFrequency(), 0) << "neither group nor connection";
}

TEST_F(Group, AChannelIsRecommended)
{
    const RecommendChannelRequest wishes[2] = {{kVod2dBand5GHz, 40, 0, {}},
                                               {kVod2dBandAny, 0, 2, {6, 36}}};
    RecommendChannelResponse best{};
    EXPECT_EQ(Vod2dApi::Vod2dGetRecommendChannel(wishes, 2, &best), 0);
    EXPECT_EQ(best.channel, 36);
    EXPECT_EQ(best.frequency, 5180);
    EXPECT_EQ(best.band, kVod2dBand5GHz);
    EXPECT_EQ(best.bandwidth, 40);
    EXPECT_EQ(best.load, 20);
    EXPECT_EQ(best.satisfied, 2);
    EXPECT_EQ(Vod2dApi::Vod2dGetRecommendChannel(wishes, 0, &best), 0);
    EXPECT_EQ(best.channel, 149);
    const RecommendChannelRequest nonsense{9, 0, 0, {}};
    EXPECT_EQ(Vod2dApi::Vod2dGetRecommendChannel(&nonsense, 1, &best), kWifiInvalidArgument);
}

TEST_F(Group, ConfigurationsPassBetweenApplications)
{
    EXPECT_EQ(Vod2dApi::Vod2dRegisterWifiCfgCallback(&cfgTable), 0);
    const CommandResult other =
        Pelaconctl({"group", "config", "station", "--set", "from the other"});
    EXPECT_EQ(other.exitCode, 0) << other.errors;
    EXPECT_EQ(Delivered().Next(), "configuration 1 from the other");
    std::uint8_t blob[512];
    std::int32_t length = 0;
    EXPECT_EQ(Vod2dApi::Vod2dGetSelfWifiCfgInfo(kSelfCfgStation, blob, &length), 0);
    EXPECT_EQ(std::string(blob, blob + length), "from the other");

    std::uint8_t own[] = {'o', 'w', 'n'};
    EXPECT_EQ(Vod2dApi::Vod2dSetPeerWifiCfgInfo(kPeerCfgStation, own, 3), 0);
    EXPECT_EQ(Pelaconctl({"group", "config", "station"}).output, "own\n");
    EXPECT_EQ(Delivered().Left(), 0U) << "it is not notified of its own";
}

TEST_F(Group, InterfacesAreDescribed)
{
    char capability[256];
    std::int32_t length = 0;
    EXPECT_EQ(Vod2dApi::Vod2dGetIfaceCoexistCap(capability, &length), 0);
    EXPECT_EQ(std::string(capability, static_cast<std::size_t>(length)), "station+group");
    char guid[39];
    EXPECT_EQ(Vod2dApi::GetGuidByInterfaceName("wlan0", 5, sizeof guid, guid), 0);
    EXPECT_STREQ(guid, "{00000000-0000-0000-0000-00000000000A}");
    EXPECT_EQ(Vod2dApi::GetGuidByInterfaceName("eth0", 4, sizeof guid, guid), kWifiNotFound);
    char name[] = "wlan0";
    EXPECT_EQ(Vod2dApi::Vod2dSetUpperScene(name, 5, {{}, 7}), 0);
    EXPECT_EQ(service.Command({{"command", "status"}})["wifiConfig"]["scene wlan0"], 7);
    char longName[] = "a name of more than thirty-one characters";
    EXPECT_EQ(Vod2dApi::Vod2dSetUpperScene(longName, sizeof longName - 1, {}), kWifiNotFound);
}

TEST_F(Group, ConnectionsAreReported)
{
    Vod2dConnNotifyRequest request{3, "000000000002", {}};
    EXPECT_EQ(Vod2dApi::Vod2dSetConnNotify(&request, &connTable), 0);
    Created();
    Station("group.join", "00:00:00:00:00:01");
    Station("group.join", "00:00:00:00:00:02");
    Station("group.leave", "00:00:00:00:00:02");
    EXPECT_EQ(Delivered().Next(), "connection 1 000000000002");
    EXPECT_EQ(Delivered().Next(), "connection 0 000000000002");
}

TEST_F(Group, CardStatesAreReported)
{
    WifiCardStateInfo card{1, 0};
    std::int32_t count = -1;
    EXPECT_EQ(Vod2dApi::Vod2dSetWifiCardStateNotify(&card, &count, &cardTable), 0);
    EXPECT_EQ(card.card, 1);
    EXPECT_EQ(card.state, kWifiCardOff);
    EXPECT_EQ(count, 1);
    WifiCardStateInfo missing{5, 0};
    EXPECT_EQ(Vod2dApi::Vod2dSetWifiCardStateNotify(&missing, &count, &cardTable), kWifiNotFound);
    WifiCardStateInfo every{-1, 0};
    EXPECT_EQ(Vod2dApi::Vod2dSetWifiCardStateNotify(&every, &count, &cardTable), kWifiCopyFailed);
    service.Command({{"command", "wifi.card"}, {"card", 1}, {"state", "on"}});
    EXPECT_EQ(Delivered().Next(), "card 1 of 2: 2");
}

TEST_F(Group, ASharedLinkKeepsTheGroup)
{
    Created();
    EXPECT_EQ(Vod2dApi::Vod2dOrvidSharedlinkIncrease(), 0);
    EXPECT_EQ(Pelaconctl({"group", "remove"}).exitCode, 1);
    EXPECT_EQ(Vod2dApi::Vod2dOrvidSharedlinkDecrease(), 0);
    EXPECT_EQ(Vod2dApi::Vod2dOrvidSharedlinkDecrease(), kWifiInvalidArgument);
    EXPECT_EQ(Pelaconctl({"group", "remove"}).exitCode, 0);
}

TEST_F(Group, RegistrationsAreRepeatedAfterARestart)
{
    Listen();
    WifiCardStateInfo card{0, 0};
    std::int32_t count = 0;
    EXPECT_EQ(Vod2dApi::Vod2dSetWifiCardStateNotify(&card, &count, &cardTable), 0);
    EXPECT_EQ(Vod2dApi::Vod2dRegisterWifiCfgCallback(&cfgTable), 0);
    Vod2dConnNotifyRequest request{1, "", {}};
    EXPECT_EQ(Vod2dApi::Vod2dSetConnNotify(&request, &connTable), 0);
    Created();
    EXPECT_EQ(Delivered().Next(), "group 1 0");
    Station("group.join", "00:00:00:00:00:01");
    EXPECT_THAT((std::vector{Delivered().Next(), Delivered().Next()}),
                ::testing::UnorderedElementsAre("station 1 000000000001 10.0.0.2",
                                                "connection 1 000000000001"));
    service.Restart();
    EXPECT_THAT((std::vector{Delivered().Next(), Delivered().Next()}),
                ::testing::UnorderedElementsAre("station 0 000000000001 ", "group 0 11"))
        << "the new service has neither";
    EXPECT_TRUE(Eventually([&] {
        return service.Command({{"command", "status"}})["wifiConfig"]["connectionListeners"] == 1;
    }));
    Created();
    EXPECT_EQ(Delivered().Next(), "group 1 0");
    Station("group.join", "00:00:00:00:00:02");
    EXPECT_THAT((std::vector{Delivered().Next(), Delivered().Next()}),
                ::testing::UnorderedElementsAre("station 1 000000000002 10.0.0.2",
                                                "connection 1 000000000002"));
    service.Command({{"command", "wifi.card"}, {"card", 1}, {"state", "on"}});
    EXPECT_EQ(Delivered().Next(), "card 1 of 2: 2");
}

}  // namespace

}  // namespace pelacon::test
