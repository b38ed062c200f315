// What a scan receives: advertisements, its statuses, its rate, and what passes its filters.
#include <protocol/BleManager.h>
#include <tests/service/ScanFixture.h>

#include <chrono>
#include <map>
#include <set>

namespace pelacon::service::tests {
namespace {

using protocol::kStatusDone;
using protocol::kStatusInvalidArgument;
using protocol::kStatusRadioOff;

TEST_F(ScanFamilyTest, ReceivesAdvertisementsOfPeripherals)
{
    TestClient client(PipeName());
    Scanning(client);
    const auto lamp = NextThat(client, [](const auto& result) { return result.address == kLamp; });
    EXPECT_EQ(lamp.rssi, -50);
    EXPECT_EQ(lamp.eventType, kConnectable);
    EXPECT_EQ(DataOf(lamp), (Bytes{2, 1, 6, 5, 9, 'L', 'a', 'm', 'p'}));
    EXPECT_EQ(SendersOf(client), (std::set{kLamp, kStrap, kBeacon}))
        << "none that does not advertise";
}

TEST_F(ScanFamilyTest, ReceivesScanResponsesAfterTheirAdvertisements)
{
    TestClient client(PipeName());
    Scanning(client);
    const auto isStrap = [](const auto& result) { return result.address == kStrap; };
    auto result = NextThat(
        client, [&](const auto& one) { return isStrap(one) && one.eventType == kScannable; });
    EXPECT_EQ(DataOf(result), (Bytes{2, 1, 6, 5, 0x16, 0x0D, 0x18, 1, 2}));
    result = NextThat(client, isStrap);
    EXPECT_EQ(result.eventType, kResponse);
    EXPECT_EQ(DataOf(result), (Bytes{6, 9, 'S', 't', 'r', 'a', 'p'}));
}

TEST_F(ScanFamilyTest, APeripheralThatIsNotScannableSendsNoScanResponse)
{
    TestClient client(PipeName());
    Scanning(client);
    for (int i = 0; i < 20; ++i) {
        const auto result =
            NextThat(client, [](const auto& one) { return one.address == kBeacon; });
        ASSERT_EQ(result.eventType, kNonConnectable);
        ASSERT_EQ(DataOf(result), (Bytes{6, 0xFF, 0x34, 0x12, 0xAA, 0xBB, 0xCC}));
    }
}

TEST_F(ScanFamilyTest, TheSignalVariesWithinItsBounds)
{
    TestClient client(PipeName());
    Scanning(client);
    std::set<std::int32_t> seen;
    for (int i = 0; i < 100; ++i) {
        seen.insert(NextThat(client, [](const auto& one) { return one.address == kStrap; }).rssi);
    }
    EXPECT_GE(*seen.begin(), -75);
    EXPECT_LE(*seen.rbegin(), -65);
    EXPECT_GT(seen.size(), 3U);
}

// ---- Statuses

TEST_F(ScanFamilyTest, NotifiesWhenAScanStartsAndStops)
{
    TestClient client(PipeName());
    const std::int32_t id = Scanning(client);
    EXPECT_EQ(NextStatus(client), std::pair(id, std::int32_t{kStarted}));
    EXPECT_EQ(Start(client, id, kBalanced), kStatusDone) << "only its policy changes";
    EXPECT_EQ(Stop(client, id), kStatusDone);
    EXPECT_EQ(NextStatus(client), std::pair(id, std::int32_t{kStopped}));
    EXPECT_EQ(Stop(client, id), kStatusDone) << "it is stopped already";
    EXPECT_EQ(client.Waiting(protocol::kScanStatus.id), 0U);
}

TEST_F(ScanFamilyTest, SwitchingTheAdapterOffStopsScansAndNotifies)
{
    TestClient client(PipeName());
    TestClient other(PipeName());
    const std::int32_t scanning = Scanning(client);
    Register(client);
    const std::int32_t others = Scanning(other);
    NextStatus(client);
    NextStatus(other);
    EXPECT_EQ(client.Call(protocol::kBtDisable)->status, kStatusDone);
    EXPECT_EQ(NextStatus(client), std::pair(scanning, std::int32_t{kStoppedAdapterOff}));
    EXPECT_EQ(NextStatus(other), std::pair(others, std::int32_t{kStoppedAdapterOff}));
    EXPECT_EQ(Start(client, scanning), kStatusRadioOff);

    EXPECT_TRUE(Eventually([&] {
        client.Call(protocol::kBtEnable);
        return client.Call(protocol::kIsBtEnabled)->value == 1;
    }));
    const std::size_t before = client.Waiting(protocol::kScanResult.id);
    EXPECT_EQ(client.Call(protocol::kStopBleScan, {scanning})->status, kStatusDone);
    EXPECT_EQ(client.Waiting(protocol::kScanResult.id), before) << "it does not scan by itself";
    EXPECT_EQ(Start(client, scanning), kStatusDone);
    EXPECT_EQ(NextStatus(client), std::pair(scanning, std::int32_t{kStarted}))
        << "no other notification came";
}

TEST_F(ScanFamilyTest, AStoppedListenerReceivesNothing)
{
    TestClient client(PipeName());
    const std::int32_t id = Scanning(client);
    Next(client);
    Stop(client, id);
    // Results that were sent before the status have arrived before it.
    NextStatus(client);
    EXPECT_EQ(NextStatus(client).second, kStopped);
    const std::size_t left = client.Waiting(protocol::kScanResult.id);
    TestClient other(PipeName());
    Scanning(other);
    SendersOf(other);
    EXPECT_EQ(client.Waiting(protocol::kScanResult.id), left);
}

// ---- Policies

TEST_F(ScanFamilyTest, PoliciesChangeTheRate)
{
    // All clients scan at the same time, for the same duration.
    TestClient clients[] = {TestClient(PipeName()), TestClient(PipeName()), TestClient(PipeName())};
    for (std::int32_t policy : {kLowPower, kBalanced, kLowLatency}) {
        Scanning(clients[policy], policy);
    }
    SendersOf(clients[kLowLatency], 4 * 200);  // four advertisements and responses a round
    const double all = 800 + static_cast<double>(clients[kLowLatency].Waiting(0xD8006B));
    const auto balanced = static_cast<double>(clients[kBalanced].Waiting(0xD8006B));
    const auto lowPower = static_cast<double>(clients[kLowPower].Waiting(0xD8006B));
    EXPECT_NEAR(balanced / all, 0.25, 0.05);
    EXPECT_NEAR(lowPower / all, 0.10, 0.03);
}

TEST_F(ScanFamilyTest, TheFastestPolicyOfAClientDecides)
{
    TestClient client(PipeName());
    TestClient reference(PipeName());
    const std::int32_t fast = Scanning(client, kLowLatency);
    Scanning(client, kLowPower);
    Scanning(reference, kLowLatency);
    SendersOf(reference, 200);
    EXPECT_GT(client.Waiting(protocol::kScanResult.id), 150U);

    Stop(client, fast);
    TestClient later(PipeName());
    Scanning(later, kLowLatency);
    const std::size_t before = client.Waiting(protocol::kScanResult.id);
    SendersOf(later, 400);
    const std::size_t since = client.Waiting(protocol::kScanResult.id) - before;
    EXPECT_LT(since, 100U) << "only the slow one remains";
    EXPECT_GT(since, 0U);
}

TEST_F(ScanFamilyTest, UnknownPoliciesAreRefused)
{
    TestClient client(PipeName());
    const std::int32_t id = Register(client);
    for (const std::int32_t policy : {-1, 3, 2147483647}) {
        EXPECT_EQ(Start(client, id, policy), kStatusInvalidArgument);
    }
}

// ---- Filters

TEST_F(ScanFamilyTest, FiltersPassAdvertisementsThatMatchOneOfThem)
{
    using Set = std::set<std::uint64_t>;
    EXPECT_EQ(SendersThrough({}), (Set{kLamp, kStrap, kBeacon}));
    EXPECT_EQ(SendersThrough({{0x09, {'L', 'a'}}}), Set{kLamp});
    EXPECT_EQ(SendersThrough({{0x16, {0x0D, 0x18}}}), Set{kStrap});
    EXPECT_EQ(SendersThrough({{0xFF, {}}}), Set{kBeacon}) << "the structure is there";
    EXPECT_EQ(SendersThrough({{0, {0xBB, 0xCC}}}), Set{kBeacon}) << "anywhere";
    EXPECT_EQ(SendersThrough({{256, {0xC0}}}), (Set{kLamp, kStrap}));
    EXPECT_EQ(SendersThrough({{256, {0xC0, 0, 0, 0, 0, 1}}}), Set{kLamp});
    EXPECT_EQ(SendersThrough({{0x09, {'x'}}, {256, {0xD0}}, {0x09, {'S'}}}),
              (Set{kBeacon, kStrap}));
    EXPECT_EQ(SendersThrough({{0, {}}}), (Set{kLamp, kStrap, kBeacon}));
}

TEST_F(ScanFamilyTest, AFilterIsAppliedToEachMessage)
{
    TestClient client(PipeName());
    const std::int32_t id = Register(client);
    client.Call(protocol::kSetScanFilter, Filters(id, {{0x09, {'S', 't'}}}));
    Start(client, id);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(Next(client).eventType, kResponse) << "the name is in the scan response";
    }
}

TEST_F(ScanFamilyTest, FiltersCanBeRemovedWhileScanning)
{
    TestClient client(PipeName());
    const std::int32_t id = Register(client);
    client.Call(protocol::kSetScanFilter, Filters(id, {{256, {0xD0}}}));
    Start(client, id);
    EXPECT_EQ(SendersOf(client, 20), std::set{kBeacon});
    EXPECT_EQ(client.Call(protocol::kRemoveScanFilter, {id})->status, kStatusDone);
    NextThat(client, [](const auto& result) { return result.address == kLamp; });
}

TEST_F(ScanFamilyTest, ListenersOfOneClientShareTheirFilters)
{
    TestClient client(PipeName());
    const std::int32_t one = Register(client);
    const std::int32_t two = Register(client);
    client.Call(protocol::kSetScanFilter, Filters(one, {{256, {0xD0}}}));
    client.Call(protocol::kSetScanFilter, Filters(two, {{0x09, {'L'}}}));
    Start(client, one);
    EXPECT_EQ(SendersOf(client, 20), std::set{kBeacon}) << "the other does not scan";
    Start(client, two);
    NextThat(client, [](const auto& result) { return result.address == kLamp; });
    EXPECT_EQ(SendersOf(client), (std::set{kLamp, kBeacon}));
}

TEST_F(ScanFamilyTest, InvalidFiltersAreRefused)
{
    TestClient client(PipeName());
    const std::int32_t id = Register(client);
    const auto set = [&](const protocol::SetScanFilterRequest& request) {
        return client.Call(protocol::kSetScanFilter, request)->status;
    };
    auto request = Filters(id, {{9, {1}}});
    request.filterSize = -1;
    EXPECT_EQ(set(request), kStatusInvalidArgument);
    request.filterSize = 6;
    EXPECT_EQ(set(request), kStatusInvalidArgument);
    request = Filters(id, {{9, {1}}});
    request.filters[0].patternLength = 33;
    EXPECT_EQ(set(request), kStatusInvalidArgument);
    request.filters[0].patternLength = 0xFFFFFFFF;
    EXPECT_EQ(set(request), kStatusInvalidArgument);
    EXPECT_EQ(set(Filters(id, {{257, {1}}})), kStatusInvalidArgument);
    EXPECT_EQ(set(Filters(id, {{-1, {1}}})), kStatusInvalidArgument);
    EXPECT_EQ(set(Filters(id, {{256, {1, 2, 3, 4, 5, 6, 7}}})), kStatusInvalidArgument);
    EXPECT_EQ(set(Filters(id, {{9, Bytes(32, 1)}})), kStatusDone);
}

}  // namespace
}  // namespace pelacon::service::tests
