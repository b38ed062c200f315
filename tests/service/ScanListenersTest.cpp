// The lives of scan listeners: ids, a restart, a slow or failing stack.
#include <protocol/BleManager.h>
#include <protocol/ServiceLink.h>
#include <tests/service/ScanFixture.h>

#include <chrono>
#include <map>
#include <set>

namespace pelacon::service::tests {
namespace {

using protocol::kStatusDone;
using protocol::kStatusLimitReached;
using protocol::kStatusRadioOff;
using protocol::kStatusUnknownId;

// ---- Ids

TEST_F(ScanFamilyTest, IdsAreValidForTheirClientOnly)
{
    TestClient client(PipeName());
    TestClient other(PipeName());
    const std::int32_t id = Scanning(client);
    for (const std::int32_t unknown : {id, 0, -1, id + 1000}) {
        EXPECT_EQ(Start(other, unknown), kStatusUnknownId);
        EXPECT_EQ(Stop(other, unknown), kStatusUnknownId);
        EXPECT_EQ(other.Call(protocol::kUnregisterScanListener, {unknown})->status,
                  kStatusUnknownId);
        EXPECT_EQ(other.Call(protocol::kSetScanFilter, Filters(unknown, {}))->status,
                  kStatusUnknownId);
        EXPECT_EQ(other.Call(protocol::kRemoveScanFilter, {unknown})->status, kStatusUnknownId);
    }
    EXPECT_EQ(Stop(client, id), kStatusDone);
    EXPECT_EQ(client.Call(protocol::kUnregisterScanListener, {id})->status, kStatusDone);
    EXPECT_EQ(Start(client, id), kStatusUnknownId) << "it is unregistered";
}

TEST_F(ScanFamilyTest, AClientHasNoMoreListenersThanFit)
{
    TestClient client(PipeName());
    for (int i = 0; i < 64; ++i) {
        Register(client);
    }
    EXPECT_EQ(client.Call(protocol::kRegisterScanListener)->status, kStatusLimitReached);
    TestClient other(PipeName());
    Register(other);
}

TEST_F(ScanFamilyTest, ListenersEndWithTheirClient)
{
    const auto scanning = [&] { return Command({{"command", "status"}})["scanner"]["scanning"]; };
    {
        TestClient client(PipeName());
        Scanning(client);
        EXPECT_EQ(scanning(), 1);
    }
    EXPECT_TRUE(Eventually([&] { return scanning() == 0; }));
}

// ---- After a restart

TEST_F(ScanFamilyTest, AHeldListenerScansAgainAfterARestart)
{
    TestClient client(PipeName());
    const std::int32_t id = Scanning(client);
    EXPECT_EQ(NextStatus(client).second, kStarted);
    Command({{"command", "restart"}});
    client.Next(protocol::kServiceStarted);
    EXPECT_EQ(Start(client, id), kStatusUnknownId);
    protocol::RepairRequest held{};
    held.scannerIds[0] = id;
    EXPECT_EQ(client.Call(protocol::kRepairResource, held)->status, kStatusDone);
    EXPECT_EQ(NextStatus(client), std::pair(id, std::int32_t{kRestarted}));
    const std::size_t before = client.Waiting(protocol::kScanResult.id);
    EXPECT_TRUE(Eventually([&] { return client.Waiting(protocol::kScanResult.id) > before + 10; }));
    EXPECT_EQ(Stop(client, id), kStatusDone);
    EXPECT_EQ(NextStatus(client), std::pair(id, std::int32_t{kStopped}));
}

TEST_F(ScanFamilyTest, ARepairDoesNotChangeKnownIds)
{
    TestClient client(PipeName());
    const std::int32_t id = Register(client);
    protocol::RepairRequest held{};
    held.scannerIds[0] = id;
    held.scannerIds[1] = -7;
    EXPECT_EQ(client.Call(protocol::kRepairResource, held)->status, kStatusDone);
    const auto status = Command({{"command", "status"}})["scanner"];
    EXPECT_EQ(status["listeners"], 1);
    EXPECT_EQ(status["scanning"], 0);
    EXPECT_EQ(client.Waiting(protocol::kScanStatus.id), 0U);
}

TEST_F(ScanFamilyTest, AHeldListenerIsNotifiedThatTheAdapterIsOff)
{
    EndService();
    StartService(R"({"adapter": {"on": false}})");
    TestClient client(PipeName());
    protocol::RepairRequest held{};
    held.scannerIds[0] = 71;
    EXPECT_EQ(client.Call(protocol::kRepairResource, held)->status, kStatusDone);
    EXPECT_EQ(NextStatus(client), std::pair(71, std::int32_t{kStoppedAdapterOff}));
    EXPECT_EQ(Start(client, 71), kStatusRadioOff) << "the id is known";
}

// ---- A slow or failing stack

TEST_F(ScanFamilyTest, TheStartOfALateScanIsNotifiedWhenItScans)
{
    Behave("scan", {{"ms", 50}});
    TestClient client(PipeName());
    const std::int32_t id = Register(client);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Start(client, id), kStatusDone);
    EXPECT_EQ(NextStatus(client), std::pair(id, std::int32_t{kStarted}));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(50));
    Next(client);
}

TEST_F(ScanFamilyTest, AScanThatCannotStartIsNotified)
{
    TestClient client(PipeName());
    const std::int32_t id = Register(client);
    for (const auto& [why, status] : kRefusals) {
        Behave("scan", {{"fails", why}, {"times", 1}});
        EXPECT_EQ(Start(client, id), kStatusDone) << why;
        const bool isOff = status == kStatusRadioOff || why == "no-adapter";
        EXPECT_EQ(NextStatus(client),
                  std::pair(id, std::int32_t{isOff ? kStoppedAdapterOff : kStoppedByRadio}))
            << why;
    }
    EXPECT_EQ(client.Waiting(protocol::kScanResult.id), 0U);
    EXPECT_EQ(Start(client, id), kStatusDone);
    EXPECT_EQ(NextStatus(client), std::pair(id, std::int32_t{kStarted}));
}

TEST_F(ScanFamilyTest, TheRadioMayEndAScan)
{
    TestClient client(PipeName());
    Behave("scan", {{"endsAfterMs", 20}, {"times", 1}});
    const std::int32_t one = Scanning(client);
    EXPECT_EQ(NextStatus(client), std::pair(one, std::int32_t{kStarted}));
    EXPECT_EQ(NextStatus(client), std::pair(one, std::int32_t{kStoppedByRadio}));

    Scanning(client);
    NextStatus(client);
    EXPECT_EQ(Start(client, one), kStatusDone);
    EXPECT_EQ(NextStatus(client), std::pair(one, std::int32_t{kStarted}));
    EXPECT_EQ(End("scan"), 1) << "they share a scan";
    EXPECT_EQ(NextStatus(client).second, kStoppedByRadio);
    EXPECT_EQ(NextStatus(client).second, kStoppedByRadio);
    const std::size_t left = client.Waiting(protocol::kScanResult.id);
    TestClient other(PipeName());
    Scanning(other);
    SendersOf(other);
    EXPECT_EQ(client.Waiting(protocol::kScanResult.id), left) << "it receives nothing any more";
}

TEST_F(ScanFamilyTest, AListenerMayStopBeforeItScans)
{
    Behave("scan", {{"ms", kForever}});
    TestClient client(PipeName());
    const std::int32_t id = Scanning(client);
    EXPECT_EQ(Stop(client, id), kStatusDone);
    EXPECT_EQ(NextStatus(client), std::pair(id, std::int32_t{kStopped}));
    EXPECT_EQ(Start(client, id), kStatusDone);
    client.Call(protocol::kBtDisable);
    EXPECT_EQ(NextStatus(client), std::pair(id, std::int32_t{kStoppedAdapterOff}));
    EXPECT_EQ(End("scan"), 0);
}

TEST_F(ScanFamilyTest, AScanGoesOnUntilTheOneWithTheNewPolicyHasStarted)
{
    TestClient client(PipeName());
    const std::int32_t slow = Scanning(client, kLowPower);
    EXPECT_EQ(NextStatus(client), std::pair(slow, std::int32_t{kStarted}));
    Behave("scan", {{"ms", kForever}, {"times", 1}});
    const std::int32_t fast = Scanning(client, kLowLatency);
    EXPECT_EQ(NextStatus(client), std::pair(fast, std::int32_t{kStarted})) << "it receives";
    for (std::size_t left = client.Waiting(protocol::kScanResult.id) + 5; left > 0; --left) {
        Next(client);
    }
    EXPECT_EQ(Stop(client, fast), kStatusDone);
    EXPECT_EQ(NextStatus(client), std::pair(fast, std::int32_t{kStopped}));
    EXPECT_EQ(End("scan"), 1) << "the one that had not started is given up";
    EXPECT_EQ(NextStatus(client), std::pair(slow, std::int32_t{kStoppedByRadio}));
}

TEST_F(ScanFamilyTest, AScanGoesOnIfItsPolicyCannotBeChanged)
{
    TestClient client(PipeName());
    const std::int32_t id = Scanning(client, kLowPower);
    NextStatus(client);
    Behave("scan", {{"fails", "failed"}, {"times", 1}});
    EXPECT_EQ(Start(client, id, kLowLatency), kStatusDone);
    for (std::size_t left = client.Waiting(protocol::kScanResult.id) + 5; left > 0; --left) {
        Next(client);
    }
    EXPECT_EQ(client.Waiting(protocol::kScanStatus.id), 0U);
    EXPECT_EQ(End("scan"), 1);
    EXPECT_EQ(NextStatus(client), std::pair(id, std::int32_t{kStoppedByRadio}));
}

}  // namespace
}  // namespace pelacon::service::tests
