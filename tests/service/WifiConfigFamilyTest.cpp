#include <protocol/ServiceStatus.h>
#include <protocol/Vod2dConfig.h>
#include <protocol/Vod2dGroup.h>
#include <tests/service/ServiceFixture.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

namespace pelacon::service::tests {
namespace {

using protocol::kStatusDone;
using protocol::kStatusInvalidArgument;
using protocol::kStatusNotFound;

constexpr char kWifiWorld[] = R"({
    "wifi": {"address": "12:34:56:78:9A:BC", "switchMs": 1,
             "channels": [{"channel": 6, "load": 10}, {"channel": 36, "load": 20}]},
    "group": {"creation": {"ms": 1}, "removeMs": 1},
    "wifiCards": {"cards": ["off", "absent", "on"], "coexistence": "one+two",
                  "interfaces": [
                      {"name": "wlan0", "guid": "{00000000-0000-0000-0000-00000000000A}"},
                      {"name": "p2p0", "guid": "{00000000-0000-0000-0000-00000000000b}"}]}})";

class WifiConfigFamilyTest : public ServiceTest {
  protected:
    WifiConfigFamilyTest() { StartService(kWifiWorld); }

    static std::int32_t Set(TestClient& client, std::int32_t type, const std::string& text)
    {
        protocol::WifiCfg request{};
        request.type = type;
        std::ranges::copy(text, request.blob);
        request.length = static_cast<std::int32_t>(text.size());
        return client.Call(protocol::kSetPeerWifiCfgInfo, request)->status;
    }
    static std::string TextOf(const std::uint8_t* blob, std::int32_t length)
    {
        return {blob, blob + length};
    }
    static std::string Self(TestClient& client, std::int32_t type)
    {
        const auto reply = client.Call(protocol::kGetSelfWifiCfgInfo, {type});
        return reply->status == kStatusDone ? TextOf(reply->blob, reply->length)
                                            : "status " + std::to_string(reply->status);
    }
    static std::string NextConfiguration(TestClient& client)
    {
        const auto event = client.Next(protocol::kWifiCfgChanged);
        return std::to_string(event.type) + ' ' + TextOf(event.blob, event.length);
    }
    static std::string NextConnection(TestClient& client)
    {
        const auto event = client.Next(protocol::kConnNotify);
        return std::to_string(event.type) + ' ' + TextOf(event.blob, event.length);
    }
    void Station(const char* command, const char* address)
    {
        Command({{"command", command}, {"address", address}});
    }
};

// ---- Configurations

TEST_F(WifiConfigFamilyTest, ReturnsTheOwnConfiguration)
{
    TestClient client(PipeName());
    EXPECT_EQ(Self(client, 0), "role=owner;address=123456789abc;channels=6,36");
    EXPECT_EQ(Self(client, 1), "role=station;address=123456789abc;channels=6,36");
    EXPECT_EQ(Self(client, 2), "status 7");
    EXPECT_EQ(Self(client, -1), "status 7");
}

TEST_F(WifiConfigFamilyTest, APeerConfigurationIsTheOthersOwnAndIsNotified)
{
    TestClient one(PipeName());
    TestClient other(PipeName());
    TestClient third(PipeName());
    for (TestClient* client : {&one, &other}) {
        EXPECT_EQ(client->Call(protocol::kRegisterWifiCfg)->status, kStatusDone);
    }
    EXPECT_EQ(Set(one, 1, "from one"), kStatusDone);
    EXPECT_EQ(NextConfiguration(other), "1 from one");
    EXPECT_EQ(Self(other, 1), "from one");
    EXPECT_EQ(Self(third, 1), "from one");
    EXPECT_EQ(Self(one, 1).substr(0, 12), "role=station") << "not its own configuration";
    EXPECT_EQ(Self(other, 0).substr(0, 10), "role=owner") << "another type";

    EXPECT_EQ(Set(other, 1, "from other"), kStatusDone);
    EXPECT_EQ(NextConfiguration(one), "1 from other");
    EXPECT_EQ(Self(one, 1), "from other");
    EXPECT_EQ(Self(other, 1), "from one");
    EXPECT_EQ(Self(third, 1), "from other") << "the latest";
    EXPECT_EQ(one.Waiting(protocol::kWifiCfgChanged.id), 0U);
    EXPECT_EQ(third.Waiting(protocol::kWifiCfgChanged.id), 0U);
}

TEST_F(WifiConfigFamilyTest, AConfigurationOutlivesItsClient)
{
    for (const char* text : {"first", "second"}) {
        TestClient client(PipeName());
        EXPECT_EQ(Set(client, 0, text), kStatusDone);
    }
    TestClient client(PipeName());
    EXPECT_TRUE(Eventually([&] {
        return Command({{"command", "status"}})["wifiConfig"]["configurations"] == 1;
    })) << "of two clients that left, one is kept";
    EXPECT_EQ(Self(client, 0), "second");
}

TEST_F(WifiConfigFamilyTest, AClientsConfigurationIsNotItsOwnAfterALoss)
{
    TestClient one(PipeName());
    EXPECT_EQ(Set(one, 1, "from one"), kStatusDone);
    Command({{"command", "disconnect"}});
    one.Next(protocol::kServiceStarted);
    EXPECT_EQ(Self(one, 1).substr(0, 12), "role=station");
    TestClient other(PipeName());
    EXPECT_EQ(Self(other, 1), "from one");
    EXPECT_EQ(Set(one, 1, "anew"), kStatusDone);
    EXPECT_EQ(Self(other, 1), "anew");
}

TEST_F(WifiConfigFamilyTest, AConfigurationMayFillItsField)
{
    TestClient one(PipeName());
    TestClient other(PipeName());
    const std::string whole(512, 'w');
    EXPECT_EQ(Set(one, 0, whole), kStatusDone);
    EXPECT_EQ(Self(other, 0), whole);
    EXPECT_EQ(Set(one, 0, ""), kStatusDone);
    EXPECT_EQ(Self(other, 0), "status 7") << "an empty configuration clears it";
}

TEST_F(WifiConfigFamilyTest, InvalidConfigurationsAreRefused)
{
    TestClient client(PipeName());
    for (const std::int32_t type : {-1, 16, 2147483647}) {
        EXPECT_EQ(Set(client, type, "x"), kStatusInvalidArgument);
    }
    protocol::WifiCfg request{};
    for (const std::int32_t length : {-1, 513, 2147483647}) {
        request.length = length;
        EXPECT_EQ(client.Call(protocol::kSetPeerWifiCfgInfo, request)->status,
                  kStatusInvalidArgument);
    }
}

// ---- Channels

TEST_F(WifiConfigFamilyTest, RecommendsAChannel)
{
    TestClient client(PipeName());
    protocol::ChannelWish wish{};
    wish.band = 2;
    wish.bandwidth = 40;
    const auto reply = client.Call(protocol::kGetRecommendChannel,
                                   Bytes(AsBytes(wish).begin(), AsBytes(wish).end()));
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, kStatusDone);
    EXPECT_EQ(reply->response.channel, 36);
    EXPECT_EQ(reply->response.frequency, 5180);
    EXPECT_EQ(reply->response.band, 2);
    EXPECT_EQ(reply->response.bandwidth, 40);
    EXPECT_EQ(reply->response.load, 20);
    EXPECT_EQ(reply->response.satisfied, 1);
    const auto any = client.Call(protocol::kGetRecommendChannel, Bytes());
    EXPECT_EQ(any->response.channel, 6);
}

TEST_F(WifiConfigFamilyTest, RecommendsNoChannelForInvalidRequests)
{
    TestClient client(PipeName());
    const auto ask = [&](const Bytes& payload) {
        return client.Call(protocol::kGetRecommendChannel, payload)->status;
    };
    EXPECT_EQ(ask(Bytes(67)), kStatusInvalidArgument);
    EXPECT_EQ(ask(Bytes(69)), kStatusInvalidArgument);
    EXPECT_EQ(ask(Bytes(11 * 68UL)), kStatusInvalidArgument);
    EXPECT_EQ(ask(Bytes(10 * 68UL)), kStatusDone);
    EXPECT_EQ(ask(Bytes(68, 0xFF)), kStatusInvalidArgument);
    protocol::ChannelWish unknown{};
    unknown.channelCount = 1;
    unknown.channels[0] = 100;
    EXPECT_EQ(ask({AsBytes(unknown).begin(), AsBytes(unknown).end()}), kStatusNotFound);
}

// ---- Interfaces

TEST_F(WifiConfigFamilyTest, ReportsCoexistence)
{
    TestClient client(PipeName());
    const auto reply = client.Call(protocol::kGetIfaceCoexistCap);
    ASSERT_TRUE(reply);
    EXPECT_EQ(TextIn(reply->capability), "one+two");
    EXPECT_EQ(reply->length, 7);
    EXPECT_EQ(reply->status, kStatusDone);
}

TEST_F(WifiConfigFamilyTest, TheSharedIdIsDistinguishedByLength)
{
    TestClient client(PipeName());
    const auto withNothing = client.CallRaw(0xD7007D, {});
    ASSERT_TRUE(withNothing);
    EXPECT_EQ(withNothing->size(), 264U);
    const auto withFour = client.CallRaw(0xD7007D, Bytes(4));
    ASSERT_TRUE(withFour);
    EXPECT_EQ(withFour->size(), 4U) << "the other family's";
}

TEST_F(WifiConfigFamilyTest, ReturnsGuidsByName)
{
    TestClient client(PipeName());
    const auto reply = client.Call(protocol::kGetGuidByInterfaceName, "p2p0");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->index, 2);
    EXPECT_EQ(TextIn(reply->guid), "{00000000-0000-0000-0000-00000000000b}");
    EXPECT_EQ(reply->status, kStatusDone);
    EXPECT_EQ(client.Call(protocol::kGetGuidByInterfaceName, "eth0")->status, kStatusNotFound);
    EXPECT_EQ(client.Call(protocol::kGetGuidByInterfaceName, "")->status, kStatusNotFound);
}

TEST_F(WifiConfigFamilyTest, KeepsTheSceneOfAnInterface)
{
    TestClient client(PipeName());
    protocol::UpperSceneRequest request{};
    PutText(request.ifName, "wlan0");
    request.ifNameLength = 5;
    request.scene.scene = 9;
    EXPECT_EQ(client.Call(protocol::kSetUpperScene, request)->status, kStatusDone);
    EXPECT_EQ(Command({{"command", "status"}})["wifiConfig"]["scene wlan0"], 9);
    std::ranges::fill(request.ifName, 'x');
    EXPECT_EQ(client.Call(protocol::kSetUpperScene, request)->status, kStatusNotFound);
}

// ---- Connections

TEST_F(WifiConfigFamilyTest, NotifiesOfRegisteredConnections)
{
    TestClient all(PipeName());
    TestClient joining(PipeName());
    TestClient one(PipeName());
    const auto ask = [](TestClient& client, std::int32_t events, const char* address) {
        protocol::ConnNotifyRequest request{};
        request.events = events;
        PutText(request.address, address);
        EXPECT_EQ(client.Call(protocol::kSetConnNotify, request)->status, kStatusDone);
    };
    ask(all, 3, "");
    ask(joining, 1, "");
    ask(one, 3, "000000000002");
    EXPECT_EQ(all.Call(protocol::kCreateGroup, protocol::CreateGroupRequest{})->status,
              kStatusDone);
    Station("group.join", "00:00:00:00:00:01");
    Station("group.join", "00:00:00:00:00:02");
    Station("group.leave", "00:00:00:00:00:01");
    Station("group.leave", "00:00:00:00:00:02");
    EXPECT_EQ(NextConnection(all), "1 000000000001");
    EXPECT_EQ(NextConnection(all), "1 000000000002");
    EXPECT_EQ(NextConnection(all), "0 000000000001");
    EXPECT_EQ(NextConnection(all), "0 000000000002");
    EXPECT_EQ(NextConnection(joining), "1 000000000001");
    EXPECT_EQ(NextConnection(joining), "1 000000000002");
    EXPECT_EQ(NextConnection(one), "1 000000000002");
    EXPECT_EQ(NextConnection(one), "0 000000000002");
    EXPECT_EQ(joining.Waiting(protocol::kConnNotify.id), 0U);
    ask(all, 0, "");
    Station("group.join", "00:00:00:00:00:03");
    EXPECT_EQ(NextConnection(joining), "1 000000000003");
    EXPECT_EQ(all.Waiting(protocol::kConnNotify.id), 0U) << "no more";
}

TEST_F(WifiConfigFamilyTest, AddressesOfConnectionsMayBeUpperCaseButMustBeAddresses)
{
    TestClient client(PipeName());
    const auto ask = [&](const char* address) {
        protocol::ConnNotifyRequest request{};
        request.events = 3;
        PutText(request.address, address);
        return client.Call(protocol::kSetConnNotify, request)->status;
    };
    for (const char* address : {"0A0B0C0D0E0", "0A0B0C0D0E0F0", "0A0B0C0D0E0G", "0A:0B:0C:0D"}) {
        EXPECT_EQ(ask(address), kStatusInvalidArgument) << address;
    }
    EXPECT_EQ(ask("0A0B0C0D0e0f"), kStatusDone);
    EXPECT_EQ(client.Call(protocol::kCreateGroup, protocol::CreateGroupRequest{})->status,
              kStatusDone);
    Station("group.join", "0A:0B:0C:0D:0E:0F");
    EXPECT_EQ(NextConnection(client), "1 0a0b0c0d0e0f");
}

// ---- Cards

TEST_F(WifiConfigFamilyTest, ReturnsTheStatesOfCards)
{
    TestClient client(PipeName());
    const auto ask = [&](std::int32_t card) {
        return *client.Call(protocol::kSetWifiCardStateNotify, {card, 0});
    };
    const auto first = ask(0);
    EXPECT_EQ(first.status, kStatusDone);
    EXPECT_EQ(first.count, 1);
    EXPECT_EQ(first.entries[0].card, 0);
    EXPECT_EQ(first.entries[0].state, 2) << "the adapter's card follows the switch";
    EXPECT_EQ(ask(1).entries[0].state, 0);
    const auto every = ask(-1);
    EXPECT_EQ(every.count, 3);
    EXPECT_EQ(every.entries[2].card, 2);
    EXPECT_EQ(every.entries[2].state, 2);
    EXPECT_EQ(ask(3).status, kStatusNotFound);
    EXPECT_EQ(ask(-2).status, kStatusNotFound);
}

TEST_F(WifiConfigFamilyTest, NotifiesOfChangedCards)
{
    TestClient client(PipeName());
    TestClient refused(PipeName());
    client.Call(protocol::kSetWifiCardStateNotify, {0, 0});
    refused.Call(protocol::kSetWifiCardStateNotify, {4, 0});
    Command({{"command", "wifi.card"}, {"card", 1}, {"state", "on"}});
    const auto change = client.Next(protocol::kWifiCardStateChange);
    EXPECT_EQ(change.count, 3);
    EXPECT_EQ(change.changed, 1);
    EXPECT_EQ(change.cards[1].card, 1);
    EXPECT_EQ(change.cards[1].state, 2);
    Command({{"command", "wifi.card"}, {"card", 1}, {"state", "on"}});
    Command({{"command", "wifi.card"}, {"card", 2}, {"state", "absent"}});
    EXPECT_EQ(client.Next(protocol::kWifiCardStateChange).changed, 2)
        << "the same state is no change";
    EXPECT_EQ(refused.Waiting(protocol::kWifiCardStateChange.id), 0U);
    EXPECT_EQ(CommandText(R"({"command": "wifi.card", "card": 4, "state": "on"})")["error"],
              "there is no place for this card");
}

TEST_F(WifiConfigFamilyTest, ReturningClientsStayRegistered)
{
    TestClient client(PipeName());
    client.Call(protocol::kSetWifiCardStateNotify, {0, 0});
    Command({{"command", "restart"}});
    client.Next(protocol::kServiceStarted);
    Command({{"command", "wifi.card"}, {"card", 2}, {"state", "off"}});
    EXPECT_EQ(client.Next(protocol::kWifiCardStateChange).changed, 2);
}

}  // namespace
}  // namespace pelacon::service::tests
