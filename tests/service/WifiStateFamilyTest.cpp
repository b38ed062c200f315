#include <protocol/Vod2dGroup.h>
#include <protocol/WifiState.h>
#include <tests/service/StackTest.h>

#include <gmock/gmock.h>

#include <future>

namespace pelacon::service::tests {
namespace {

constexpr char kSwitchWorld[] = R"({"wifi": {"switchMs": 1}, "phone": {"connectionChannel": 6}})";

enum State : std::int32_t { kOff = 1, kOn = 2 };

class WifiStateFamilyTest : public StackTest {
  protected:
    WifiStateFamilyTest() { StartService(kSwitchWorld); }

    static std::int32_t StateOf(TestClient& client)
    {
        return client.Call(protocol::kGetWifiState)->value;
    }
    static void ListenToSwitch(TestClient& client)
    {
        EXPECT_EQ(client.Call(protocol::kRegistWifiStateChangeCallback)->value, 1);
    }
    static void ListenToChannel(TestClient& client)
    {
        EXPECT_EQ(client.Call(protocol::kRegistWifiStateChangeCallBack)->value, 1);
    }
};

TEST_F(WifiStateFamilyTest, SwitchesAndNotifiesRegisteredClients)
{
    TestClient listener(PipeName());
    TestClient actor(PipeName());
    ListenToSwitch(listener);
    EXPECT_EQ(StateOf(actor), kOn);
    EXPECT_EQ(actor.Call(protocol::kEnableWifi, {0})->value, 0);
    EXPECT_EQ(listener.Next(protocol::kWifiSwitchState).value, kOff);
    EXPECT_EQ(StateOf(actor), kOff);
    EXPECT_EQ(actor.Call(protocol::kEnableWifi, {1})->value, 0);
    EXPECT_EQ(listener.Next(protocol::kWifiSwitchState).value, kOn);
    EXPECT_EQ(actor.Waiting(protocol::kWifiSwitchState.id), 0U);
}

TEST_F(WifiStateFamilyTest, TheAnswerComesAfterTheSwitch)
{
    EndService();
    StartService(R"({"wifi": {"switchMs": 200}})");
    TestClient client(PipeName());
    TestClient other(PipeName());
    EXPECT_EQ(client.Call(protocol::kEnableWifi, {0})->value, 0);
    EXPECT_EQ(StateOf(client), kOff);
    auto second = std::async(std::launch::async,
                             [&] { return other.Call(protocol::kEnableWifi, {1})->value; });
    EXPECT_EQ(client.Call(protocol::kEnableWifi, {1})->value, 0);
    EXPECT_EQ(StateOf(client), kOn);
    EXPECT_EQ(second.get(), 0);
}

TEST_F(WifiStateFamilyTest, AnOvertakenRequestReturnsTheActualState)
{
    EndService();
    StartService(R"({"wifi": {"switchMs": 60000}})");
    TestClient off(PipeName());
    TestClient on(PipeName());
    auto first =
        std::async(std::launch::async, [&] { return off.Call(protocol::kEnableWifi, {0})->value; });
    EXPECT_TRUE(Eventually([&] {
        return Command({{"command", "status"}})["counters"]["requests"] == 1;
    }));
    Command({{"command", "wifi.card"}, {"card", 0}, {"state", "absent"}});
    EXPECT_EQ(first.get(), 0) << "the adapter is off";
    Command({{"command", "wifi.card"}, {"card", 0}, {"state", "on"}});
    EXPECT_EQ(StateOf(on), kOn);
    first =
        std::async(std::launch::async, [&] { return off.Call(protocol::kEnableWifi, {0})->value; });
    EXPECT_TRUE(Eventually([&] {
        return Command({{"command", "status"}})["counters"]["requests"] == 3;
    }));
    auto second =
        std::async(std::launch::async, [&] { return on.Call(protocol::kEnableWifi, {1})->value; });
    EXPECT_EQ(first.get(), 1);
    Command({{"command", "wifi.card"}, {"card", 0}, {"state", "absent"}});
    EXPECT_EQ(second.get(), 1);
}

TEST_F(WifiStateFamilyTest, WaitsEndWithTheEventConnectionAndTheService)
{
    EndService();
    StartService(R"({"wifi": {"switchMs": 60000}})");
    TestClient client(PipeName());
    const auto switchOff = [&] { return client.Call(protocol::kEnableWifi, {0}); };
    const auto requests = [&] {
        return Command({{"command", "status"}})["counters"]["requests"].get<int>();
    };
    auto first = std::async(std::launch::async, switchOff);
    EXPECT_TRUE(Eventually([&] { return requests() == 1; }));
    Command({{"command", "disconnect"}});
    EXPECT_FALSE(first.get());
    client.Next(protocol::kServiceStarted);  // its event connection is back
    auto second = std::async(std::launch::async, switchOff);
    EXPECT_TRUE(Eventually([&] { return requests() == 2; }));
    EndService();
    const auto answer = second.get();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->value, 1);
}

TEST_F(WifiStateFamilyTest, TheAdapterIsOffWhileItsCardIsAbsent)
{
    TestClient client(PipeName());
    ListenToSwitch(client);
    EXPECT_EQ(client.Call(protocol::kRegisterSoftApStateChanged)->status, 0);
    EXPECT_EQ(client.Call(protocol::kCreateGroup, {})->status, 0);
    EXPECT_EQ(client.Next(protocol::kSoftApGroupsChange).state, 1);
    const auto card = [&](const char* state) {
        Command({{"command", "wifi.card"}, {"card", 0}, {"state", state}});
    };
    card("absent");
    EXPECT_EQ(client.Next(protocol::kWifiSwitchState).value, kOff);
    EXPECT_EQ(client.Next(protocol::kSoftApGroupsChange).state, 0);
    EXPECT_EQ(client.Call(protocol::kEnableWifi, {1})->value, 2);
    EXPECT_EQ(StateOf(client), kOff);
    card("on");
    EXPECT_EQ(client.Next(protocol::kWifiSwitchState).value, kOn);
    card("off");
    EXPECT_EQ(client.Next(protocol::kWifiSwitchState).value, kOff);
    EXPECT_EQ(client.Call(protocol::kEnableWifi, {1})->value, 0);
    EXPECT_EQ(StateOf(client), kOn);
}

TEST_F(WifiStateFamilyTest, AClientThatReturnsIsNotifiedOfTheStateThatItFinds)
{
    TestClient client(PipeName());
    ListenToSwitch(client);
    ListenToChannel(client);
    Command({{"command", "disconnect"}});
    client.Next(protocol::kServiceStarted);
    EXPECT_EQ(client.Next(protocol::kWifiSwitchState).value, kOn);
    EXPECT_EQ(client.Next(protocol::kWifiConnectChannel).value, 6);
    client.Call(protocol::kEnableWifi, {0});
    EXPECT_EQ(client.Next(protocol::kWifiSwitchState).value, kOff) << "without a new registration";
    Command({{"command", "restart"}});
    client.Next(protocol::kServiceStarted);
    EXPECT_EQ(client.Next(protocol::kWifiSwitchState).value, kOn) << "the world's state";
}

TEST_F(WifiStateFamilyTest, SwitchingToThePresentStateNotifiesNoClient)
{
    TestClient client(PipeName());
    ListenToSwitch(client);
    EXPECT_EQ(client.Call(protocol::kEnableWifi, {1})->value, 0);
    EXPECT_EQ(client.Call(protocol::kEnableWifi, {0})->value, 0);
    EXPECT_EQ(client.Next(protocol::kWifiSwitchState).value, kOff) << "no notification came before";
}

TEST_F(WifiStateFamilyTest, WithoutAnAdapterNothingIsSwitched)
{
    EndService();
    StartService(R"({"wifiCards": {"cards": ["absent"]}})");
    TestClient client(PipeName());
    EXPECT_EQ(StateOf(client), kOff);
    EXPECT_EQ(client.Call(protocol::kEnableWifi, {0})->value, 2);
}

TEST_F(WifiStateFamilyTest, NotificationsContinueAfterUnregistering)
{
    // Other objects of the client may still be registered.
    TestClient client(PipeName());
    ListenToSwitch(client);
    EXPECT_EQ(client.Call(protocol::kUnRegistWifiStateChangeCallback)->value, 1);
    client.Call(protocol::kEnableWifi, {0});
    EXPECT_EQ(client.Next(protocol::kWifiSwitchState).value, kOff);
}

TEST_F(WifiStateFamilyTest, RegisteredClientsReceiveThePhonesChannel)
{
    TestClient client(PipeName());
    ListenToChannel(client);
    const auto command = [](int channel) {
        return nlohmann::json{{"command", "phone.channel"}, {"channel", channel}};
    };
    Command(command(149));
    Command(command(149));
    Command(command(0));
    EXPECT_EQ(client.Next(protocol::kWifiConnectChannel).value, 149);
    EXPECT_EQ(client.Next(protocol::kWifiConnectChannel).value, 0) << "each change once";
    EXPECT_EQ(CommandText(command(37).dump())["ok"], false) << "no such channel";
}

TEST_F(WifiStateFamilyTest, ThePhoneOfTheWorldChangesItsChannel)
{
    EndService();
    StartService(R"({"phone": {"moves": [{"afterMs": 300, "channel": 11},
                                         {"afterMs": 301, "channel": 0}]}})");
    TestClient client(PipeName());
    ListenToChannel(client);
    EXPECT_EQ(client.Next(protocol::kWifiConnectChannel).value, 11);
    EXPECT_EQ(client.Next(protocol::kWifiConnectChannel).value, 0);
}

// ---- A slow or failing stack

TEST_F(WifiStateFamilyTest, ARefusedSwitchChangesNothing)
{
    TestClient client(PipeName());
    ListenToSwitch(client);
    for (const auto& [why, status] : kRefusals) {
        Behave("switchWifi", {{"fails", why}});
        EXPECT_EQ(client.Call(protocol::kEnableWifi, {0})->value, why == "no-adapter" ? 2 : 1)
            << why;
        EXPECT_EQ(StateOf(client), kOn);
        EXPECT_EQ(client.Call(protocol::kEnableWifi, {1})->value, 0) << "it is on";
    }
    Behave("switchWifi");
    EXPECT_EQ(client.Call(protocol::kEnableWifi, {0})->value, 0);
    EXPECT_EQ(client.Next(protocol::kWifiSwitchState).value, kOff) << "nothing was notified before";
}

TEST_F(WifiStateFamilyTest, ASlowSwitchIsAnsweredWhenItIsOver)
{
    Behave("switchWifi", {{"ms", 30}});
    TestClient client(PipeName());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(client.Call(protocol::kEnableWifi, {0})->value, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(30));
    EXPECT_EQ(StateOf(client), kOff);
}

TEST_F(WifiStateFamilyTest, ClientsThatLeftReceiveNothing)
{
    const auto listeners = [this] {
        return Command({{"command", "status"}})["wifi"]["switchListeners"].get<int>();
    };
    {
        TestClient client(PipeName());
        ListenToSwitch(client);
        EXPECT_EQ(listeners(), 1);
    }
    EXPECT_TRUE(Eventually([&] { return listeners() == 0; }));
}

}  // namespace
}  // namespace pelacon::service::tests
