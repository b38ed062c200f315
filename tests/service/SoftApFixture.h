// The fixture of tests of the soft AP.
#pragma once

#include <protocol/ServiceStatus.h>
#include <protocol/SoftAp.h>
#include <tests/service/StackTest.h>

#include <string>

namespace pelacon::service::tests {

inline constexpr char kSoftApWorld[] = R"({
    "wifi": {"switchMs": 1,
             "channels": [{"channel": 149, "load": 30}, {"channel": 6, "load": 10},
                          {"channel": 1, "load": 5}, {"channel": 36, "load": 20}],
             "connected": {"ssid": "Home", "channel": 149}},
    "wifiCards": {"interfaces": [
        {"name": "wlan0", "guid": "{5E1AC0DE-0000-4000-8000-000000000001}"},
        {"name": "ap0", "guid": "{5E1AC0DE-0000-4000-8000-00000000000A}"}]},
    "softAp": {"ssid": "Desk AP", "passPhrase": "eight letters", "address": "AA:BB:CC:DD:EE:0F",
               "ipAddress": "10.0.0.1", "creation": {"ms": 1}, "removeMs": 1},
    "phone": {"model": "Phone 9", "channels": [36, 149, 6, 157], "connectionChannel": 6}})";

inline constexpr std::uint8_t kAny = 0;
inline constexpr std::uint8_t k24G = 1;
inline constexpr std::uint8_t k5G = 2;
inline constexpr std::int32_t kAlreadyExists = 0x10000001;

/// A service whose soft AP is created at once, with a phone.
class SoftApFixture : public StackTest {
  protected:
    SoftApFixture() { StartService(kSoftApWorld); }

    void RestartWith(const std::string& world)
    {
        EndService();
        StartService(world);
    }

    static protocol::SoftApInfoMessage Create(TestClient& client, std::uint8_t band = kAny,
                                              std::int32_t purpose = 0)
    {
        protocol::SoftApInfoMessage request{};
        request.requestByte = band;
        request.requestInt = purpose;
        const auto reply = client.Call(protocol::kSystemCreateSoftAP, request);
        EXPECT_TRUE(reply);
        return reply.value_or(protocol::SoftApInfoMessage{});
    }
    static std::int32_t Destroy(TestClient& client, std::int32_t purpose = 0)
    {
        const auto reply = client.Call(protocol::kSystemDestroySoftAP, {purpose});
        return reply.value_or(protocol::Int32Record{-99}).value;
    }
    static std::int32_t LastError(TestClient& client)
    {
        return client.Call(protocol::kGetSoftApError)->value;
    }
    static int Channel(TestClient& client)
    {
        return client.Call(protocol::kGetSoftAPChannel)->value;
    }
    static bool Exists(TestClient& client)
    {
        return client.Call(protocol::kCheckMySoftAPExist)->value != 0;
    }
    static void Listen(TestClient& client)
    {
        EXPECT_EQ(client.Call(protocol::kRegisterSoftApNotification)->status,
                  protocol::kStatusDone);
        EXPECT_TRUE(client.Call(protocol::kRegistSoftApConnectStatus));
    }
    static std::string NextAdvertisement(TestClient& client)
    {
        const auto state = client.Next(protocol::kSoftApAdvertisement);
        return std::to_string(state.status) + ' ' + std::to_string(state.channel) + ' ' +
               std::string(TextIn(state.ssid));
    }
    int Requests() { return Command({{"command", "status"}})["counters"]["requests"].get<int>(); }
    void Join(const char* address) { Command({{"command", "softap.join"}, {"address", address}}); }
    void Leave(const char* address)
    {
        Command({{"command", "softap.leave"}, {"address", address}});
    }
};

}  // namespace pelacon::service::tests
