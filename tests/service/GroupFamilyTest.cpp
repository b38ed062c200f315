#include <protocol/ServiceStatus.h>
#include <protocol/Vod2dConfig.h>
#include <protocol/Vod2dGroup.h>
#include <protocol/WifiState.h>
#include <tests/service/StackTest.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <future>
#include <string>
#include <vector>

namespace pelacon::service::tests {
namespace {

using protocol::kStatusBusy;
using protocol::kStatusDone;
using protocol::kStatusInterrupted;
using protocol::kStatusInvalidArgument;
using protocol::kStatusNotFound;
using protocol::kStatusNotPermitted;
using protocol::kStatusNotSupported;
using protocol::kStatusRadioOff;
using ::testing::ElementsAre;
using ::testing::StrEq;

constexpr char kWorld[] = R"({
    "wifi": {"address": "12:34:56:78:9A:BC", "switchMs": 1,
             "channels": [{"channel": 149, "load": 30}, {"channel": 6, "load": 10},
                          {"channel": 36, "load": 20}],
             "connected": {"ssid": "Home", "channel": 149}},
    "group": {"ssid": "DIRECT-xy", "passPhrase": "eight letters", "address": "AA:BB:CC:DD:EE:0F",
              "ipAddress": "10.0.0.1", "creation": {"ms": 1}, "removeMs": 1}})";

class GroupFamilyTest : public StackTest {
  protected:
    GroupFamilyTest() { StartService(kWorld); }

    void RestartWith(const std::string& group)
    {
        EndService();
        StartService(R"({"group": )" + group + "}");
    }

    static protocol::GroupInfoReply Create(TestClient& client, std::int32_t channel = 0)
    {
        protocol::CreateGroupRequest request{};
        request.info.channel = channel;
        const auto reply = client.Call(protocol::kCreateGroup, request);
        EXPECT_TRUE(reply);
        return reply.value_or(protocol::GroupInfoReply{});
    }
    static std::int32_t Remove(TestClient& client)
    {
        return client.Call(protocol::kRemoveGroup).value_or(protocol::StatusReply{-99}).status;
    }
    static void Listen(TestClient& client)
    {
        EXPECT_EQ(client.Call(protocol::kRegisterSoftApStateChanged)->status, kStatusDone);
    }
    /// The next change of the group, as text.
    static std::string NextChange(TestClient& client)
    {
        const auto change = client.Next(protocol::kSoftApGroupsChange);
        return std::to_string(change.state) + " because " + std::to_string(change.reason);
    }
    static std::string NextStation(TestClient& client)
    {
        const auto change = client.Next(protocol::kSoftApConnectionStateChange);
        return std::to_string(change.state) + ' ' + std::string(TextIn(change.address)) + ' ' +
               std::string(TextIn(change.ipAddress));
    }
    bool IsBeingMade()
    {
        return Command({{"command", "status"}})["group"]["beingMade"].get<bool>();
    }
    nlohmann::json Join(const char* address)
    {
        return Command({{"command", "group.join"}, {"address", address}});
    }
    nlohmann::json Leave(const char* address)
    {
        return Command({{"command", "group.leave"}, {"address", address}});
    }
};

TEST_F(GroupFamilyTest, IsDescribedBeforeItExists)
{
    TestClient client(PipeName());
    const auto reply = client.Call(protocol::kGetGroupConfig);
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, kStatusDone);
    EXPECT_EQ(TextIn(reply->info.ssid), "DIRECT-xy");
    EXPECT_EQ(TextIn(reply->info.pwd), "eight letters");
    EXPECT_THAT(reply->info.mac, ElementsAre(0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0x0F));
    EXPECT_EQ(reply->info.channel, 0);
    EXPECT_EQ(reply->info.active, 0);
    EXPECT_EQ(TextIn(reply->info.ipAddress), "10.0.0.1");
    EXPECT_EQ(reply->info.is5GHz, 0);
    const auto connected = client.Call(protocol::kGetGroupInfoConnected);
    EXPECT_EQ(connected->group.groupState, 0);
    EXPECT_EQ(connected->group.stationCount, 0);
}

TEST_F(GroupFamilyTest, IsCreatedOnTheRequestedChannel)
{
    TestClient client(PipeName());
    Listen(client);
    const auto reply = Create(client, 36);
    EXPECT_EQ(reply.status, kStatusDone);
    EXPECT_EQ(reply.info.channel, 36);
    EXPECT_EQ(reply.info.active, 1);
    EXPECT_EQ(reply.info.is5GHz, 1);
    EXPECT_EQ(TextIn(reply.info.ssid), "DIRECT-xy");
    EXPECT_EQ(NextChange(client), "1 because 0");
    EXPECT_EQ(client.Call(protocol::kGetFrequency)->value, 5180);
    EXPECT_EQ(client.Call(protocol::kGetGroupInfoConnected)->group.groupState, 1);

    EXPECT_EQ(Remove(client), kStatusDone);
    EXPECT_EQ(NextChange(client), "0 because 0");
    EXPECT_EQ(client.Call(protocol::kGetGroupConfig)->info.active, 0);
}

TEST_F(GroupFamilyTest, IsCreatedOnTheChannelOfTheConnectionByDefault)
{
    TestClient client(PipeName());
    EXPECT_EQ(Create(client).info.channel, 149);
    Remove(client);
    Command({{"command", "wifi.disconnect"}});
    EXPECT_EQ(Create(client).info.channel, 6) << "the least busy one";
    EXPECT_EQ(client.Call(protocol::kGetGroupConfig)->info.is5GHz, 0);
}

TEST_F(GroupFamilyTest, IsNotCreatedOnAForbiddenChannel)
{
    TestClient client(PipeName());
    for (const std::int32_t channel : {40, 1, -1, 1000}) {
        EXPECT_EQ(Create(client, channel).status, kStatusNotSupported);
    }
    EXPECT_EQ(client.Call(protocol::kGetGroupInfoConnected)->group.groupState, 0);
}

TEST_F(GroupFamilyTest, OnlyOneExistsAtATime)
{
    TestClient one(PipeName());
    TestClient other(PipeName());
    EXPECT_EQ(Create(one, 36).status, kStatusDone);
    const auto second = Create(other, 149);
    EXPECT_EQ(second.status, kStatusBusy);
    EXPECT_EQ(second.info.channel, 36) << "the existing one";
    EXPECT_EQ(Remove(other), kStatusDone) << "any client may remove it";
    EXPECT_EQ(Remove(one), kStatusNotFound);
}

TEST_F(GroupFamilyTest, OutlivesItsCreator)
{
    {
        TestClient client(PipeName());
        EXPECT_EQ(Create(client).status, kStatusDone);
    }
    TestClient client(PipeName());
    EXPECT_EQ(client.Call(protocol::kGetGroupInfoConnected)->group.groupState, 1);
}

TEST_F(GroupFamilyTest, AFailedCreationIsNotifiedToListeners)
{
    RestartWith(R"({"creation": {"ms": 1, "fails": true}})");
    TestClient client(PipeName());
    Listen(client);
    EXPECT_EQ(Create(client).status, kStatusNotSupported);
    EXPECT_EQ(NextChange(client), "0 because 10");
}

TEST_F(GroupFamilyTest, TheFirstCreationsMayHaveTheirOwnOutcome)
{
    RestartWith(R"({"creation": {"ms": 1}, "removeMs": 1,
                  "firstCreations": [{"ms": 1, "fails": true}, {"ms": 2}]})");
    TestClient client(PipeName());
    EXPECT_EQ(Create(client).status, kStatusNotSupported);
    EXPECT_EQ(Create(client).status, kStatusDone);
    EXPECT_EQ(Remove(client), kStatusDone);
    EXPECT_EQ(Create(client).status, kStatusDone);
}

TEST_F(GroupFamilyTest, ARefusedCreationIsNotifiedWithItsReason)
{
    TestClient client(PipeName());
    Listen(client);
    const std::vector<std::pair<std::string, std::int32_t>> reasons{
        {"no-adapter", kStatusRadioOff}, {"off", kStatusRadioOff},
        {"blocked", kStatusRadioOff},    {"not-permitted", kStatusNotPermitted},
        {"limit-reached", kStatusBusy},  {"failed", kStatusNotSupported}};
    for (const auto& [why, status] : reasons) {
        Behave("createGroup", {{"fails", why}, {"times", 1}});
        EXPECT_EQ(Create(client).status, status) << why;
        EXPECT_EQ(NextChange(client), "0 because " + std::to_string(status));
    }
    EXPECT_EQ(Create(client).status, kStatusDone);
}

TEST_F(GroupFamilyTest, ASlowStackMakesTheGroupLate)
{
    Behave("createGroup", {{"ms", kForever}});
    TestClient client(PipeName());
    EXPECT_FALSE(client.Call(protocol::kCreateGroup, {}, std::chrono::milliseconds(10)));
    EXPECT_TRUE(IsBeingMade());
}

TEST_F(GroupFamilyTest, AppearsAfterItsCreationTimedOut)
{
    RestartWith(R"({"creation": {"ms": 60}})");
    TestClient client(PipeName());
    Listen(client);
    EXPECT_FALSE(client.Call(protocol::kCreateGroup, {}, std::chrono::milliseconds(10)));
    EXPECT_EQ(NextChange(client), "1 because 0");
    EXPECT_EQ(client.Call(protocol::kGetGroupInfoConnected)->group.groupState, 1);
}

TEST_F(GroupFamilyTest, CanBeRemovedWhileItIsCreated)
{
    RestartWith(R"({"creation": {"ms": 60000}})");
    TestClient maker(PipeName());
    TestClient other(PipeName());
    Listen(other);
    auto creation = std::async(std::launch::async, [&] { return Create(maker).status; });
    EXPECT_TRUE(Eventually([&] { return IsBeingMade(); }));
    EXPECT_EQ(Create(other).status, kStatusBusy);
    EXPECT_EQ(Remove(other), kStatusDone);
    EXPECT_EQ(creation.get(), kStatusInterrupted);
    EXPECT_EQ(NextChange(other), "0 because 11");
}

TEST_F(GroupFamilyTest, IsRemovedOnceForConcurrentRequests)
{
    RestartWith(R"({"creation": {"ms": 1}, "removeMs": 30})");
    TestClient one(PipeName());
    TestClient other(PipeName());
    Listen(one);
    Create(one);
    auto removal = std::async(std::launch::async, [&] { return Remove(other); });
    EXPECT_EQ(Remove(one), kStatusDone);
    const std::int32_t second = removal.get();
    EXPECT_TRUE(second == kStatusDone || second == kStatusNotFound) << "before the end, or after";
    EXPECT_EQ(NextChange(one), "1 because 0");
    EXPECT_EQ(NextChange(one), "0 because 0");
    EXPECT_EQ(one.Waiting(protocol::kSoftApGroupsChange.id), 0U);
}

TEST_F(GroupFamilyTest, WaitsEndWithTheService)
{
    RestartWith(R"({"creation": {"ms": 600000}})");
    TestClient client(PipeName());
    auto creation = std::async(std::launch::async, [&] { return Create(client).status; });
    EXPECT_TRUE(Eventually([&] { return IsBeingMade(); }));
    EndService();
    EXPECT_EQ(creation.get(), kStatusInterrupted);
}

TEST_F(GroupFamilyTest, ItsCreationIsNotAnsweredWhenTheEventConnectionIsLost)
{
    RestartWith(R"({"creation": {"ms": 300}})");
    TestClient client(PipeName());
    auto creation = std::async(std::launch::async, [&] {
        return client.Call(protocol::kCreateGroup, protocol::CreateGroupRequest{}).has_value();
    });
    EXPECT_TRUE(Eventually([&] { return IsBeingMade(); }));
    Command({{"command", "disconnect"}});
    EXPECT_FALSE(creation.get()) << "the outcome is not known yet";
    EXPECT_EQ(NextChange(client), "1 because 0") << "no change came before";
}

// ---- Listeners

TEST_F(GroupFamilyTest, IsNotifiedToRegisteredClients)
{
    TestClient listener(PipeName());
    TestClient maker(PipeName());
    TestClient deaf(PipeName());
    Listen(listener);
    Create(maker);
    EXPECT_EQ(NextChange(listener), "1 because 0");
    EXPECT_EQ(NextChange(maker), "1 because 0") << "it is registered";
    EXPECT_EQ(deaf.Waiting(protocol::kSoftApGroupsChange.id), 0U);
    EXPECT_EQ(listener.Call(protocol::kUnRegisterSoftApStateChanged)->status, kStatusDone);
}

TEST_F(GroupFamilyTest, IsNotifiedToReturningClients)
{
    TestClient client(PipeName());
    Listen(client);
    Create(client);
    EXPECT_EQ(NextChange(client), "1 because 0");
    Command({{"command", "disconnect"}});
    client.Next(protocol::kServiceStarted);
    EXPECT_EQ(NextChange(client), "1 because 11") << "the group still exists";
    Command({{"command", "restart"}});
    client.Next(protocol::kServiceStarted);
    EXPECT_EQ(NextChange(client), "0 because 11") << "it ended with the service";
    Create(client);
    EXPECT_EQ(NextChange(client), "1 because 0") << "without a new registration";
}

TEST_F(GroupFamilyTest, StationsAreNotifiedAgainToAClientThatReturns)
{
    TestClient client(PipeName());
    Listen(client);
    Create(client);
    Join("00:00:00:00:00:01");
    Join("00:00:00:00:00:02");
    EXPECT_EQ(NextStation(client), "1 000000000001 10.0.0.2");
    EXPECT_EQ(NextStation(client), "1 000000000002 10.0.0.3");
    Command({{"command", "disconnect"}});
    client.Next(protocol::kServiceStarted);
    EXPECT_EQ(NextStation(client), "1 000000000001 10.0.0.2");
    EXPECT_EQ(NextStation(client), "1 000000000002 10.0.0.3");
}

// ---- Stations

TEST_F(GroupFamilyTest, StationsOfTheWorldJoinAndLeave)
{
    RestartWith(R"({"creation": {"ms": 1}, "removeMs": 1, "ipAddress": "10.0.0.1", "stations": [
        {"address": "00:00:00:00:00:01", "joinMs": 1},
        {"address": "00:00:00:00:00:02", "joinMs": 20, "stayMs": 20, "ipAddress": "10.0.0.77"}]})");
    TestClient client(PipeName());
    Listen(client);
    for (int round = 0; round < 2; ++round) {
        Create(client);
        EXPECT_EQ(NextStation(client), "1 000000000001 10.0.0.2");
        EXPECT_EQ(NextStation(client), "1 000000000002 10.0.0.77");
        EXPECT_EQ(NextStation(client), "0 000000000002 ");
        EXPECT_EQ(client.Call(protocol::kGetGroupInfoConnected)->group.stationCount, 1);
        EXPECT_EQ(Remove(client), kStatusDone);
        EXPECT_EQ(NextStation(client), "0 000000000001 ");
    }
}

TEST_F(GroupFamilyTest, StationsJoinAndLeaveByCommand)
{
    TestClient client(PipeName());
    Listen(client);
    Create(client);
    Join("0A:0B:0C:0D:0E:0F");
    EXPECT_EQ(NextStation(client), "1 0a0b0c0d0e0f 10.0.0.2");
    Join("00:00:00:00:00:01");
    EXPECT_EQ(NextStation(client), "1 000000000001 10.0.0.3");
    Leave("0A:0B:0C:0D:0E:0F");
    EXPECT_EQ(NextStation(client), "0 0a0b0c0d0e0f ");
    Command(
        {{"command", "group.join"}, {"address", "00:00:00:00:00:02"}, {"ipAddress", "10.0.0.200"}});
    EXPECT_EQ(NextStation(client), "1 000000000002 10.0.0.200");
    Join("00:00:00:00:00:03");
    EXPECT_EQ(NextStation(client), "1 000000000003 10.0.0.2") << "free again";
}

TEST_F(GroupFamilyTest, StationsNeedAGroupAndJoinOnce)
{
    const auto complaint = [&](const char* command) { return CommandText(command)["error"]; };
    constexpr auto kJoin = R"({"command": "group.join", "address": "00:00:00:00:00:01"})";
    EXPECT_EQ(complaint(kJoin), "there is none, or the station has joined it already");
    TestClient client(PipeName());
    Create(client);
    Join("00:00:00:00:00:01");
    EXPECT_EQ(complaint(kJoin), "there is none, or the station has joined it already");
    EXPECT_EQ(complaint(R"({"command": "group.leave", "address": "00:00:00:00:00:02"})"),
              "there is no such station");
    EXPECT_NE(complaint(R"({"command": "group.join", "address": "00:00:00:00:00:02",
                            "ipAddress": "10.0.0.256"})"),
              nullptr);
}

TEST_F(GroupFamilyTest, AllStationsLeaveBeforeTheGroupEnds)
{
    TestClient client(PipeName());
    Listen(client);
    Create(client);
    Join("00:00:00:00:00:01");
    Join("00:00:00:00:00:02");
    Remove(client);
    EXPECT_EQ(NextChange(client), "1 because 0");
    EXPECT_EQ(NextChange(client), "0 because 0");
    EXPECT_EQ(client.Waiting(protocol::kSoftApConnectionStateChange.id), 4U);
}

// ---- The adapter

TEST_F(GroupFamilyTest, EndsWithItsStationsWhenWifiIsSwitchedOff)
{
    TestClient client(PipeName());
    Listen(client);
    Create(client);
    Join("00:00:00:00:00:01");
    EXPECT_EQ(client.Call(protocol::kEnableWifi, {0})->value, 0);
    EXPECT_EQ(NextChange(client), "1 because 0");
    EXPECT_EQ(NextChange(client), "0 because 1");
    EXPECT_EQ(NextStation(client), "1 000000000001 10.0.0.2");
    EXPECT_EQ(NextStation(client), "0 000000000001 ");
    EXPECT_EQ(Create(client).status, kStatusRadioOff);
}

TEST_F(GroupFamilyTest, ItsCreationFailsWhenWifiIsSwitchedOff)
{
    EndService();
    StartService(R"({"wifi": {"switchMs": 1}, "group": {"creation": {"ms": 60000}}})");
    TestClient client(PipeName());
    Listen(client);
    auto creation = std::async(std::launch::async, [&] { return Create(client).status; });
    EXPECT_TRUE(Eventually([&] { return IsBeingMade(); }));
    client.Call(protocol::kEnableWifi, {0});
    EXPECT_EQ(creation.get(), kStatusRadioOff);
    EXPECT_EQ(NextChange(client), "0 because 1");
}

TEST_F(GroupFamilyTest, NeedsWifi)
{
    EndService();
    StartService(R"({"wifi": {"on": false}})");
    TestClient client(PipeName());
    Listen(client);
    EXPECT_EQ(client.Call(protocol::kIsWifiActive)->active, 0);
    EXPECT_EQ(Create(client).status, kStatusRadioOff);
}

TEST_F(GroupFamilyTest, ReportsTheAdapter)
{
    TestClient client(PipeName());
    const auto active = client.Call(protocol::kIsWifiActive);
    EXPECT_EQ(active->active, 1);
    EXPECT_EQ(active->status, kStatusDone);
    EXPECT_THAT(client.Call(protocol::kGetBaseMacAddress)->mac,
                ElementsAre(0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC));
    const auto list = client.Call(protocol::kGetChannelListFor5G);
    EXPECT_EQ(list->byteCount, 8U);
    EXPECT_EQ(list->channels[0], 36);
    EXPECT_EQ(list->channels[1], 149);
    EXPECT_EQ(list->channels[2], 0);
    EXPECT_EQ(list->status, kStatusDone);
    EXPECT_EQ(client.Call(protocol::kGetFrequency)->value, 5745) << "the connection's";
    Command({{"command", "wifi.connect"}, {"ssid", "Other"}, {"channel", 6}});
    EXPECT_EQ(client.Call(protocol::kGetFrequency)->value, 2437);
    Command({{"command", "wifi.disconnect"}});
    EXPECT_EQ(client.Call(protocol::kGetFrequency)->value, 0);
}

// ---- The shared link

TEST_F(GroupFamilyTest, IsNotRemovedWhileOtherClientsUseIt)
{
    TestClient client(PipeName());
    EXPECT_EQ(Create(client).status, kStatusDone);
    EXPECT_EQ(client.Call(protocol::kSharedlinkIncrease)->status, kStatusDone);
    {
        TestClient other(PipeName());
        EXPECT_EQ(other.Call(protocol::kSharedlinkIncrease)->status, kStatusDone);
        EXPECT_EQ(other.Call(protocol::kSharedlinkIncrease)->status, kStatusDone);
        EXPECT_EQ(other.Call(protocol::kSharedlinkDecrease)->status, kStatusDone);
        EXPECT_EQ(Remove(client), kStatusNotPermitted);
        EXPECT_EQ(Command({{"command", "status"}})["group"]["sharedLinks"], 2);
    }
    EXPECT_TRUE(Eventually([&] { return Remove(client) == kStatusDone; })) << "its use ended";
}

TEST_F(GroupFamilyTest, TheUsesNeverGoBelowZero)
{
    TestClient client(PipeName());
    EXPECT_EQ(client.Call(protocol::kSharedlinkDecrease)->status, kStatusInvalidArgument);
    client.Call(protocol::kSharedlinkIncrease);
    EXPECT_EQ(client.Call(protocol::kSharedlinkDecrease)->status, kStatusDone);
    EXPECT_EQ(client.Call(protocol::kSharedlinkDecrease)->status, kStatusInvalidArgument);
}

TEST_F(GroupFamilyTest, HasALimitOfUses)
{
    TestClient client(PipeName());
    std::int32_t status = kStatusDone;
    int uses = 0;
    while (status == kStatusDone && uses < 2000) {
        status = client.Call(protocol::kSharedlinkIncrease)->status;
        ++uses;
    }
    EXPECT_EQ(status, protocol::kStatusLimitReached);
    EXPECT_EQ(uses, 1001);
}

}  // namespace
}  // namespace pelacon::service::tests
