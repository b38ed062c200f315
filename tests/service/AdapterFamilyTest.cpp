#include <protocol/BleManager.h>
#include <protocol/ServiceStatus.h>
#include <tests/service/StackTest.h>

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <string>

namespace pelacon::service::tests {
namespace {

using protocol::kStatusDone;
using protocol::kStatusInvalidArgument;

enum State : std::int32_t { kOff = 0, kTurningOn = 1, kOn = 2, kTurningOff = 3 };

constexpr char kWorld[] = R"({"adapter": {
    "address": "12:34:56:78:9A:BC", "name": "Desk", "turnOnMs": 1, "turnOffMs": 1,
    "connected": [{"address": "AA:00:00:00:00:01", "type": "classic"},
                  {"address": "AA:00:00:00:00:02"}]}})";

class AdapterFamilyTest : public StackTest {
  protected:
    AdapterFamilyTest() { StartService(kWorld); }

    static std::int32_t StateOf(TestClient& client)
    {
        return client.Call(protocol::kGetBtRunningState)->value;
    }
    static std::int32_t NextState(TestClient& client)
    {
        return client.Next(protocol::kBtStateChanged).value;
    }
};

TEST_F(AdapterFamilyTest, ReturnsAddressAndName)
{
    TestClient client(PipeName());
    const auto info = client.Call(protocol::kGetBtMacAndName);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->mac, 0x123456789ABCU);
    EXPECT_EQ(TextIn(info->name), "Desk");
    EXPECT_EQ(info->status, kStatusDone);
    const auto name = client.Call(protocol::kGetBtName);
    ASSERT_TRUE(name);
    EXPECT_EQ(TextIn(name->name), "Desk");
    EXPECT_EQ(name->status, kStatusDone);
}

TEST_F(AdapterFamilyTest, SwitchesOffAndOnThroughTheIntermediateStates)
{
    TestClient client(PipeName());
    EXPECT_EQ(client.Call(protocol::kRegisterBtStateChange)->status, kStatusDone);
    EXPECT_EQ(client.Call(protocol::kIsBtEnabled)->value, 1);

    EXPECT_EQ(client.Call(protocol::kBtDisable)->status, kStatusDone);
    EXPECT_EQ(NextState(client), kTurningOff);
    EXPECT_EQ(NextState(client), kOff);
    EXPECT_EQ(StateOf(client), kOff);
    EXPECT_EQ(client.Call(protocol::kIsBtEnabled)->value, 0);

    EXPECT_EQ(client.Call(protocol::kBtEnable)->status, kStatusDone);
    EXPECT_EQ(NextState(client), kTurningOn);
    EXPECT_EQ(NextState(client), kOn);
    EXPECT_EQ(StateOf(client), kOn);
}

TEST_F(AdapterFamilyTest, SwitchingOnWhatIsOnChangesNothing)
{
    TestClient client(PipeName());
    client.Call(protocol::kRegisterBtStateChange);
    EXPECT_EQ(client.Call(protocol::kBtEnable)->status, kStatusDone);
    EXPECT_EQ(StateOf(client), kOn);
    client.Call(protocol::kBtDisable);
    EXPECT_EQ(NextState(client), kTurningOff) << "no notification came before";
}

TEST_F(AdapterFamilyTest, RegisteredClientsReceiveTheChangesOfOthers)
{
    TestClient listener(PipeName());
    TestClient deaf(PipeName());
    TestClient actor(PipeName());
    listener.Call(protocol::kRegisterBtStateChange);
    actor.Call(protocol::kRegisterBtStateChange);
    deaf.Call(protocol::kIsBtEnabled);
    actor.Call(protocol::kBtDisable);
    EXPECT_EQ(NextState(listener), kTurningOff);
    EXPECT_EQ(NextState(listener), kOff);
    EXPECT_EQ(NextState(actor), kTurningOff);
    EXPECT_EQ(NextState(actor), kOff);
    EXPECT_EQ(deaf.Waiting(protocol::kBtStateChanged.id), 0U);
}

TEST_F(AdapterFamilyTest, ANameIsKeptAndSeenByAll)
{
    TestClient one(PipeName());
    TestClient other(PipeName());
    EXPECT_EQ(one.Call(protocol::kSetBtName, "Sofa")->status, kStatusDone);
    EXPECT_EQ(TextIn(other.Call(protocol::kGetBtName)->name), "Sofa");
    EXPECT_EQ(TextIn(other.Call(protocol::kGetBtMacAndName)->name), "Sofa");
}

TEST_F(AdapterFamilyTest, ANameMayFillItsFieldButNotMore)
{
    TestClient client(PipeName());
    const std::string longest(64, 'x');
    EXPECT_EQ(client.Call(protocol::kSetBtName, longest)->status, kStatusDone);
    EXPECT_EQ(TextIn(client.Call(protocol::kGetBtName)->name), longest);
    EXPECT_EQ(client.Call(protocol::kSetBtName, longest + "y")->status, kStatusInvalidArgument);
    EXPECT_EQ(client.Call(protocol::kSetBtName, "")->status, kStatusInvalidArgument);
    EXPECT_EQ(TextIn(client.Call(protocol::kGetBtName)->name), longest);
}

TEST_F(AdapterFamilyTest, ANameNeedsNoNul)
{
    TestClient client(PipeName());
    const Bytes text{'C', 'a', 'r'};
    EXPECT_EQ(client.CallRaw(protocol::kSetBtName.id, text), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(TextIn(client.Call(protocol::kGetBtName)->name), "Car");
}

TEST_F(AdapterFamilyTest, ReportsWhichDevicesAreConnected)
{
    TestClient client(PipeName());
    const auto connected = [&](std::int32_t type, std::uint64_t address) {
        return client.Call(protocol::kIsDeviceConnected, {type, {}, address})->value;
    };
    EXPECT_EQ(connected(0, 0xAA0000000001), 1);
    EXPECT_EQ(connected(1, 0xAA0000000001), 0);
    EXPECT_EQ(connected(1, 0xAA0000000002), 1);
    EXPECT_EQ(connected(0, 0xAA0000000002), 0);
    EXPECT_EQ(connected(7, 0xAA0000000001), 0);
    EXPECT_EQ(connected(1, 0), 0);
    client.Call(protocol::kBtDisable);
    EXPECT_EQ(connected(0, 0xAA0000000001), 0) << "nothing is connected while it is off";
}

TEST_F(AdapterFamilyTest, ItsStateOutlivesItsClients)
{
    {
        TestClient client(PipeName());
        client.Call(protocol::kSetBtName, "Kept");
        client.Call(protocol::kBtDisable);
    }
    TestClient client(PipeName());
    EXPECT_EQ(TextIn(client.Call(protocol::kGetBtName)->name), "Kept");
    EXPECT_TRUE(Eventually([&] { return StateOf(client) == kOff; }));
}

TEST_F(AdapterFamilyTest, AClientThatLeftIsForgotten)
{
    const auto listeners = [&] { return Command({{"command", "status"}})["adapter"]["listeners"]; };
    {
        TestClient client(PipeName());
        client.Call(protocol::kRegisterBtStateChange);
        EXPECT_EQ(listeners(), 1);
    }
    EXPECT_TRUE(Eventually([&] { return listeners() == 0; }));
}

TEST_F(AdapterFamilyTest, TheLastRequestDuringASwitchDecides)
{
    EndService();
    StartService(R"({"adapter": {"turnOnMs": 1, "turnOffMs": 60000}})");
    TestClient client(PipeName());
    client.Call(protocol::kRegisterBtStateChange);
    client.Call(protocol::kBtDisable);
    client.Call(protocol::kBtEnable);
    EXPECT_EQ(NextState(client), kTurningOff);
    EXPECT_EQ(NextState(client), kTurningOn);
    EXPECT_EQ(NextState(client), kOn);
}

// ---- A slow or failing stack

TEST_F(AdapterFamilyTest, ARefusedSwitchChangesNothing)
{
    TestClient client(PipeName());
    client.Call(protocol::kRegisterBtStateChange);
    for (const auto& [why, status] : kRefusals) {
        Behave("switch", {{"fails", why}});
        EXPECT_EQ(client.Call(protocol::kBtDisable)->status, status) << why;
        EXPECT_EQ(StateOf(client), kOn);
        EXPECT_EQ(client.Call(protocol::kBtEnable)->status, kStatusDone) << "it is on";
    }
    Behave("switch");
    EXPECT_EQ(client.Call(protocol::kBtDisable)->status, kStatusDone);
    EXPECT_EQ(NextState(client), kTurningOff) << "nothing was notified before";
}

TEST_F(AdapterFamilyTest, ASwitchIsAnsweredWhenTheStackHasAcceptedIt)
{
    Behave("switch", {{"ms", 30}});
    TestClient client(PipeName());
    client.Call(protocol::kRegisterBtStateChange);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(client.Call(protocol::kBtDisable)->status, kStatusDone);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(30));
    EXPECT_EQ(NextState(client), kTurningOff);
    EXPECT_EQ(NextState(client), kOff);
}

TEST_F(AdapterFamilyTest, ANewNameIsThereWhenTheRequestIsAnswered)
{
    Behave("rename", {{"ms", 30}});
    TestClient client(PipeName());
    EXPECT_EQ(client.Call(protocol::kSetBtName, "Sofa")->status, kStatusDone);
    EXPECT_EQ(TextIn(client.Call(protocol::kGetBtName)->name), "Sofa");
}

TEST_F(AdapterFamilyTest, OthersAreServedDuringARename)
{
    Behave("rename", {{"ms", kForever}, {"times", 1}});
    TestClient slow(PipeName());
    const auto requests = [&] {
        return Command({{"command", "status"}})["counters"]["requests"].get<int>();
    };
    const int before = requests();
    auto renaming =
        std::async(std::launch::async, [&] { return slow.Call(protocol::kSetBtName, "Sofa"); });
    EXPECT_TRUE(Eventually([&] { return requests() == before + 1; }));
    TestClient other(PipeName());
    EXPECT_EQ(other.Call(protocol::kSetBtName, "Other")->status, kStatusDone);
    EXPECT_EQ(TextIn(other.Call(protocol::kGetBtName)->name), "Other");
    Command({{"command", "restart"}});
    renaming.wait();  // ended by the restart
    EXPECT_EQ(TextIn(other.Call(protocol::kGetBtName)->name), "Desk");
}

TEST_F(AdapterFamilyTest, ARefusedRenameChangesNothing)
{
    TestClient client(PipeName());
    for (const auto& [why, status] : kRefusals) {
        Behave("rename", {{"fails", why}, {"ms", 1}, {"times", 1}});
        EXPECT_EQ(client.Call(protocol::kSetBtName, "Sofa")->status, status) << why;
        EXPECT_EQ(TextIn(client.Call(protocol::kGetBtName)->name), "Desk");
    }
    EXPECT_EQ(client.Call(protocol::kSetBtName, "Sofa")->status, kStatusDone);
}

}  // namespace
}  // namespace pelacon::service::tests
