// Radios that do not answer: how long the service waits for them.
#include <protocol/BleAdvertiser.h>
#include <protocol/BleManager.h>
#include <protocol/ServiceStatus.h>
#include <tests/service/GattTest.h>
#include <tests/service/OtherRadios.h>
#include <tests/service/StackTest.h>

#include <chrono>
#include <future>
#include <memory>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;
using protocol::kStatusPeerUnreachable;

class SilentRadiosTest : public StackTest {};

TEST_F(SilentRadiosTest, TheServiceStartsWithoutKnowingTheMachine)
{
    class UnknownRadios : public OtherRadios {
      public:
        using OtherRadios::OtherRadios;
        bool IsKnown() const override { return false; }
    };
    const auto begin = std::chrono::steady_clock::now();
    StartService([](Scheduler& scheduler, const std::string& /*stateFile*/) {
        return std::make_unique<UnknownRadios>(scheduler);
    });
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 3s);
    TestClient client(PipeName());
    EXPECT_EQ(client.Call(protocol::kIsBtEnabled)->value, 1);
}

/// Each request is answered before its client gives up.
TEST_F(SilentRadiosTest, RequestsAreAnsweredWithinTheirTime)
{
    StartService();
    for (const char* operation : {"switch", "rename", "advertise", "showService"}) {
        Behave(operation, {{"ms", kForever}});
    }
    TestClient client(PipeName());
    protocol::StartAdvertiseRequest request{};
    request.advertiserId = client.Call(protocol::kRegisterAdvertiser)->value;
    GattPublisher server(client);
    const std::int32_t handle = server.AddService("180d");
    // Without an answer, dereferencing the reply would throw.
    const auto statusOf = [](const auto& call) {
        return std::async(std::launch::async, [call] { return call().value().status; });
    };
    auto switching =
        statusOf([&] { return client.Call(protocol::kBtDisable, protocol::kBtDisable.timeout); });
    auto renaming = statusOf(
        [&] { return client.Call(protocol::kSetBtName, "Sofa", protocol::kSetBtName.timeout); });
    auto advertising = statusOf([&] {
        return client.Call(protocol::kStartAdvertise, request, protocol::kStartAdvertise.timeout);
    });
    auto showing = statusOf([&] {
        return client.Call(protocol::kGattServerStartService, {server.Id(), handle},
                           protocol::kGattServerStartService.timeout);
    });
    EXPECT_EQ(advertising.get(), kStatusPeerUnreachable);
    EXPECT_EQ(switching.get(), kStatusPeerUnreachable);
    EXPECT_EQ(renaming.get(), kStatusPeerUnreachable);
    EXPECT_EQ(showing.get(), kStatusPeerUnreachable);
    const auto status = Command({{"command", "status"}});
    EXPECT_EQ(status["advertiser"]["advertising"], 0) << "the start was given up";
    EXPECT_EQ(status["gattServers"]["started"], 0);
}

}  // namespace
}  // namespace pelacon::service::tests
