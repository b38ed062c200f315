#include <protocol/ServiceStatus.h>
#include <protocol/SoftAp.h>
#include <protocol/WifiState.h>
#include <tests/service/SoftApFixture.h>

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <set>
#include <string>

namespace pelacon::service::tests {
namespace {

using protocol::kStatusBusy;
using protocol::kStatusDone;
using protocol::kStatusNotFound;
using protocol::kStatusNotSupported;
using protocol::kStatusRadioOff;
using protocol::SoftApInfoMessage;
using ::testing::ElementsAre;
using ::testing::StartsWith;

using SoftApFamilyTest = SoftApFixture;

// ---- Creation and end

TEST_F(SoftApFamilyTest, IsCreatedAndDescribed)
{
    TestClient client(PipeName());
    EXPECT_FALSE(Exists(client));
    EXPECT_EQ(client.Call(protocol::kGetLegacyAPIP), "");
    const SoftApInfoMessage info = Create(client, k5G, 1);
    EXPECT_EQ(info.errorCode, kStatusDone);
    EXPECT_EQ(TextIn(info.ssid), "Desk AP");
    EXPECT_EQ(TextIn(info.password), "eight letters");
    EXPECT_THAT(info.mac, ElementsAre(0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0x0F));
    EXPECT_EQ(TextIn(info.ipAddress), "10.0.0.1");
    EXPECT_EQ(info.apByte1, 149);
    EXPECT_EQ(info.apByte2, 2);
    EXPECT_TRUE(Exists(client));
    EXPECT_EQ(Channel(client), 149);
    EXPECT_EQ(client.Call(protocol::kGetSSID), "Desk AP");
    EXPECT_EQ(client.Call(protocol::kGetLegacyAPIP), "10.0.0.1");
    EXPECT_EQ(LastError(client), kStatusDone);
    EXPECT_EQ(Destroy(client, 1), kStatusDone);
    EXPECT_FALSE(Exists(client));
    EXPECT_EQ(Channel(client), 0);
}

TEST_F(SoftApFamilyTest, OnlyOneExistsAtATime)
{
    TestClient one(PipeName());
    TestClient other(PipeName());
    EXPECT_EQ(Create(one, k5G).errorCode, kStatusDone);
    const SoftApInfoMessage second = Create(other, k24G);
    EXPECT_EQ(second.errorCode, kAlreadyExists);
    EXPECT_EQ(second.apByte1, 149) << "the existing one";
    EXPECT_EQ(LastError(other), kAlreadyExists);
    EXPECT_EQ(Destroy(other), kStatusDone);
    EXPECT_EQ(Destroy(one), kStatusNotFound);
    EXPECT_EQ(LastError(one), kStatusNotFound);
}

TEST_F(SoftApFamilyTest, IsDestroyedForThePurposeItWasCreatedFor)
{
    TestClient client(PipeName());
    Create(client, kAny, 1);
    EXPECT_EQ(Destroy(client, 2), kStatusBusy);
    EXPECT_EQ(LastError(client), kStatusBusy);
    EXPECT_TRUE(Exists(client));
    EXPECT_EQ(Destroy(client, 1), kStatusDone);
    Create(client, kAny, 2);
    EXPECT_EQ(Destroy(client, 0), kStatusDone) << "for any purpose";
    Create(client, kAny, 0);
    EXPECT_EQ(Destroy(client, 2), kStatusDone) << "was created for any purpose";
}

TEST_F(SoftApFamilyTest, ExistsOnlyWhileWifiIsOn)
{
    TestClient client(PipeName());
    Listen(client);
    client.Call(protocol::kRegistWifiStateChangeCallback);
    Create(client, k5G);
    EXPECT_EQ(NextAdvertisement(client), "1 149 Desk AP");
    client.Call(protocol::kEnableWifi, {0});
    EXPECT_EQ(NextAdvertisement(client), "0 0 ");
    EXPECT_EQ(client.Next(protocol::kWifiSwitchState).value, 1);
    EXPECT_FALSE(Exists(client));
    EXPECT_EQ(Create(client).errorCode, kStatusRadioOff);
    EXPECT_EQ(LastError(client), kStatusRadioOff);
}

TEST_F(SoftApFamilyTest, AFailedCreationIsReported)
{
    RestartWith(R"({"softAp": {"creation": {"ms": 1, "fails": true}}})");
    TestClient client(PipeName());
    EXPECT_EQ(Create(client).errorCode, kStatusNotSupported);
    EXPECT_EQ(LastError(client), kStatusNotSupported);
    EXPECT_FALSE(Exists(client));
}

TEST_F(SoftApFamilyTest, ALongCreationCanBeCancelled)
{
    RestartWith(R"({"softAp": {"creation": {"ms": 60000}}})");
    TestClient client(PipeName());
    auto creation = std::async(std::launch::async, [&] { return Create(client); });
    EXPECT_TRUE(Eventually([&] {
        return Command({{"command", "status"}})["softAp"]["beingMade"] == true;
    }));
    TestClient other(PipeName());
    EXPECT_EQ(Create(other).errorCode, kAlreadyExists);
    EXPECT_EQ(Destroy(other), kStatusDone) << "before it existed";
    EXPECT_EQ(creation.get().errorCode, protocol::kStatusInterrupted);
}

TEST_F(SoftApFamilyTest, RequestsOfAClientThatLosesItsEventConnectionAreNotAnswered)
{
    RestartWith(R"({"softAp": {"creation": {"ms": 300}, "removeMs": 300}})");
    const auto softAp = [this] { return Command({{"command", "status"}})["softAp"]; };
    TestClient client(PipeName());
    auto creation = std::async(std::launch::async, [&] {
        return client.Call(protocol::kSystemCreateSoftAP, SoftApInfoMessage{}).has_value();
    });
    EXPECT_TRUE(Eventually([&] { return softAp()["beingMade"] == true; }));
    Command({{"command", "disconnect"}});
    EXPECT_FALSE(creation.get()) << "the outcome is not known yet";
    EXPECT_TRUE(Eventually([&] { return softAp()["exists"] == true; }));
    const int before = Requests();
    auto restart = std::async(std::launch::async, [&] {
        return client.Call(protocol::kRestartWiFiDirectVirtualAdapter, {0}).has_value();
    });
    EXPECT_TRUE(Eventually([&] { return Requests() > before; }));
    Command({{"command", "disconnect"}});
    EXPECT_FALSE(restart.get());
}

TEST_F(SoftApFamilyTest, KeepsItsPurposeWhenItsCreatorLeaves)
{
    RestartWith(R"({"softAp": {"creation": {"ms": 300}}})");
    const auto softAp = [this] { return Command({{"command", "status"}})["softAp"]; };
    TestClient other(PipeName());
    EXPECT_EQ(Destroy(other), kStatusNotFound);
    {
        TestClient creator(PipeName());
        SoftApInfoMessage request{};
        request.requestInt = 2;
        EXPECT_FALSE(
            creator.Call(protocol::kSystemCreateSoftAP, request, std::chrono::milliseconds(20)));
    }
    EXPECT_TRUE(Eventually([&] { return softAp()["exists"] == true; }));
    EXPECT_EQ(LastError(other), kStatusDone);
    EXPECT_EQ(Destroy(other, 1), kStatusBusy);
    EXPECT_EQ(Destroy(other, 2), kStatusDone);
}

// ---- Its name

TEST_F(SoftApFamilyTest, IsRenamed)
{
    TestClient client(PipeName());
    EXPECT_TRUE(client.Call(protocol::kChangeSSIDAndPasswd));
    const auto ssid = client.Call(protocol::kGetSSID);
    ASSERT_TRUE(ssid);
    EXPECT_THAT(*ssid, StartsWith("Pelacon-"));
    const SoftApInfoMessage info = Create(client);
    EXPECT_EQ(TextIn(info.ssid), *ssid);
    EXPECT_EQ(TextIn(info.password).size(), 12U);
}

TEST_F(SoftApFamilyTest, KeepsItsNameUntilItIsCreatedAgain)
{
    TestClient client(PipeName());
    Create(client);
    client.Call(protocol::kChangeSSIDAndPasswd);
    EXPECT_EQ(client.Call(protocol::kGetSSID), "Desk AP");
    Destroy(client);
    EXPECT_THAT(*client.Call(protocol::kGetSSID), StartsWith("Pelacon-"));
    EXPECT_THAT(std::string(TextIn(Create(client).ssid)), StartsWith("Pelacon-"));
}

TEST_F(SoftApFamilyTest, RandomNamesDiffer)
{
    TestClient client(PipeName());
    std::set<std::string> names;
    for (int round = 0; round < 5; ++round) {
        client.Call(protocol::kChangeSSIDAndPasswd);
        names.insert(client.Call(protocol::kGetSSID).value_or(""));
    }
    EXPECT_EQ(names.size(), 5U);
}

// ---- Its adapter

TEST_F(SoftApFamilyTest, RunsOnTheLastInterface)
{
    TestClient client(PipeName());
    EXPECT_EQ(client.Call(protocol::kGetAdapterIndex)->value, 2);
    EXPECT_EQ(client.Call(protocol::kGetAdapterGuid), "{5E1AC0DE-0000-4000-8000-00000000000A}");
}

TEST_F(SoftApFamilyTest, EndsWhenItsAdapterIsRestarted)
{
    TestClient client(PipeName());
    Listen(client);
    Create(client, k24G);
    EXPECT_EQ(NextAdvertisement(client), "1 6 Desk AP");
    EXPECT_EQ(client.Call(protocol::kRestartWiFiDirectVirtualAdapter, {0})->value, 1);
    EXPECT_EQ(NextAdvertisement(client), "0 0 ");
    EXPECT_EQ(client.Call(protocol::kRestartWiFiDirectVirtualAdapter, {1})->value, 1);
    EXPECT_EQ(client.Call(protocol::kGetRestartCount)->value, 2);
    EXPECT_EQ(client.Call(protocol::kGetWakeUpRestartCount)->value, 1);
    client.Call(protocol::kResetWakeUpCount);
    EXPECT_EQ(client.Call(protocol::kGetRestartCount)->value, 2);
    EXPECT_EQ(client.Call(protocol::kGetWakeUpRestartCount)->value, 0);
}

TEST_F(SoftApFamilyTest, TheAdapterDoesNotRestartWhileWifiIsOff)
{
    TestClient client(PipeName());
    client.Call(protocol::kRegistWifiStateChangeCallback);
    client.Call(protocol::kEnableWifi, {0});
    client.Next(protocol::kWifiSwitchState);
    EXPECT_EQ(client.Call(protocol::kRestartWiFiDirectVirtualAdapter, {1})->value, 0);
    EXPECT_EQ(client.Call(protocol::kGetRestartCount)->value, 0);
}

// ---- What is stored for programs

TEST_F(SoftApFamilyTest, KeepsTheModelName)
{
    TestClient client(PipeName());
    auto model = client.Call(protocol::kGetPairDeviceModelName);
    EXPECT_EQ(TextIn(model->name), "Phone 9");
    EXPECT_EQ(model->result, 1);
    EXPECT_EQ(client.Call(protocol::kSetPairDeviceModelName, std::string(300, 'x'))->value, 1);
    model = client.Call(protocol::kGetPairDeviceModelName);
    EXPECT_EQ(TextIn(model->name), std::string(255, 'x')) << "with room for the NUL";
    client.Call(protocol::kSetPairDeviceModelName, "");
    EXPECT_EQ(client.Call(protocol::kGetPairDeviceModelName)->result, 0);
}

TEST_F(SoftApFamilyTest, KeepsTheHotspotFlag)
{
    TestClient client(PipeName());
    EXPECT_EQ(client.Call(protocol::kGetRestartMobileHotpotFlag)->value, 0);
    client.Call(protocol::kSetRestartMobileHotpotFlag, {1});
    EXPECT_EQ(client.Call(protocol::kGetRestartMobileHotpotFlag)->value, 1);
    client.Call(protocol::kSetRestartMobileHotpotFlag, {0});
    EXPECT_EQ(client.Call(protocol::kGetRestartMobileHotpotFlag)->value, 0);
}

TEST_F(SoftApFamilyTest, TakesProductTypesWithinLimits)
{
    TestClient client(PipeName());
    const auto set = [&](const std::string& text) {
        return client.Call(protocol::kSetListProductType, Bytes(text.begin(), text.end()))->value;
    };
    EXPECT_EQ(set("phone,tablet,"), 1);
    EXPECT_EQ(set(""), 1);
    EXPECT_EQ(set(std::string(65, 'x') + ","), 0);
    EXPECT_EQ(set(std::string(65, ',')), 0) << "too many";
}

TEST_F(SoftApFamilyTest, ReportsTheMachinesConnection)
{
    TestClient client(PipeName());
    auto connected = client.Call(protocol::kIsAPConnected);
    EXPECT_EQ(connected->connected, 1);
    EXPECT_EQ(connected->value, 149);
    EXPECT_EQ(TextIn(connected->text), "Home");
    Command({{"command", "wifi.disconnect"}});
    connected = client.Call(protocol::kIsAPConnected);
    EXPECT_EQ(connected->connected, 0);
    EXPECT_EQ(connected->value, 0);
    EXPECT_EQ(TextIn(connected->text), "");
}

// ---- Who is notified

TEST_F(SoftApFamilyTest, NotifiesOfDevicesAndOfTheFirstAndTheLast)
{
    TestClient client(PipeName());
    TestClient deaf(PipeName());
    Listen(client);
    Create(client);
    Join("02:00:00:00:00:01");
    Join("02:00:00:00:00:02");
    Leave("02:00:00:00:00:01");
    Leave("02:00:00:00:00:02");
    for (const std::int32_t status : {1, 1, 0, 0}) {
        EXPECT_EQ(client.Next(protocol::kSoftApDeviceConnection).value, status);
    }
    EXPECT_EQ(client.Next(protocol::kSoftApConnectStatus).value, 1);
    EXPECT_EQ(client.Next(protocol::kSoftApConnectStatus).value, 0);
    EXPECT_EQ(client.Waiting(protocol::kSoftApConnectStatus.id), 0U);
    EXPECT_EQ(deaf.Waiting(protocol::kSoftApDeviceConnection.id), 0U);
}

TEST_F(SoftApFamilyTest, AClientThatReturnsIsNotifiedOfTheStateThatItFinds)
{
    TestClient client(PipeName());
    Listen(client);
    Create(client, k5G);
    EXPECT_EQ(NextAdvertisement(client), "1 149 Desk AP");
    Join("02:00:00:00:00:01");
    Join("02:00:00:00:00:02");
    EXPECT_EQ(client.Next(protocol::kSoftApConnectStatus).value, 1);
    for (int device = 0; device < 2; ++device) {
        EXPECT_EQ(client.Next(protocol::kSoftApDeviceConnection).value, 1);
    }
    Command({{"command", "disconnect"}});
    client.Next(protocol::kServiceStarted);
    EXPECT_EQ(NextAdvertisement(client), "1 149 Desk AP");
    for (int device = 0; device < 2; ++device) {
        EXPECT_EQ(client.Next(protocol::kSoftApDeviceConnection).value, 1);
    }
    EXPECT_EQ(client.Next(protocol::kSoftApConnectStatus).value, 1);
    Command({{"command", "restart"}});
    client.Next(protocol::kServiceStarted);
    EXPECT_EQ(NextAdvertisement(client), "0 0 ");
    EXPECT_EQ(client.Next(protocol::kSoftApDeviceConnection).value, 0);
    EXPECT_EQ(client.Next(protocol::kSoftApConnectStatus).value, 0);
    Create(client, k5G);
    EXPECT_EQ(NextAdvertisement(client), "1 149 Desk AP") << "without a new registration";
}

TEST_F(SoftApFamilyTest, ConnectionsAreNotifiedToUnregisteredClients)
{
    TestClient client(PipeName());
    Create(client);
    Join("02:00:00:00:00:01");
    EXPECT_EQ(client.Next(protocol::kSoftApConnectStatus).value, 1);
}

TEST_F(SoftApFamilyTest, DevicesOfTheWorldConnectAndDisconnect)
{
    RestartWith(R"({"softAp": {"creation": {"ms": 1}, "stations": [
        {"address": "02:00:00:00:00:01", "joinMs": 1, "stayMs": 1}]}})");
    TestClient client(PipeName());
    Listen(client);
    Create(client);
    EXPECT_EQ(client.Next(protocol::kSoftApConnectStatus).value, 1);
    EXPECT_EQ(client.Next(protocol::kSoftApConnectStatus).value, 0);
}

TEST_F(SoftApFamilyTest, DestroyingItDisconnectsItsDevices)
{
    TestClient client(PipeName());
    Listen(client);
    Create(client);
    Join("02:00:00:00:00:01");
    EXPECT_EQ(client.Next(protocol::kSoftApConnectStatus).value, 1);
    Destroy(client);
    EXPECT_EQ(client.Next(protocol::kSoftApConnectStatus).value, 0);
}

TEST_F(SoftApFamilyTest, NotificationsContinueAfterUnregistering)
{
    // Other objects of the client may still be registered.
    TestClient client(PipeName());
    Listen(client);
    EXPECT_EQ(client.Call(protocol::kUnRegisterSoftApNotification)->status, kStatusDone);
    Create(client, k5G);
    EXPECT_EQ(NextAdvertisement(client), "1 149 Desk AP");
}

// ---- The status command

TEST_F(SoftApFamilyTest, IsPartOfTheStatus)
{
    TestClient client(PipeName());
    Listen(client);
    Create(client, k5G);
    const nlohmann::json status = Command({{"command", "status"}});
    EXPECT_EQ(status["softAp"]["exists"], true);
    EXPECT_EQ(status["softAp"]["channel"], 149);
    EXPECT_EQ(status["softAp"]["listeners"], 1);
    EXPECT_EQ(status["phone"]["model"], "Phone 9");
}

}  // namespace
}  // namespace pelacon::service::tests
