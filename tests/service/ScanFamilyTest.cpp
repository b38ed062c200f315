#include <protocol/BleManager.h>
#include <protocol/BleScanner.h>
#include <protocol/ServiceLink.h>
#include <protocol/ServiceStatus.h>
#include <tests/service/StackTest.h>

#include <gmock/gmock.h>

#include <chrono>
#include <map>
#include <set>

namespace pelacon::service::tests {
namespace {

using protocol::kStatusDone;
using protocol::kStatusInvalidArgument;
using protocol::kStatusLimitReached;
using protocol::kStatusRadioOff;
using protocol::kStatusUnknownId;
using ::testing::ElementsAre;

enum Policy : std::int32_t { kLowPower = 0, kBalanced = 1, kLowLatency = 2 };
enum Status : std::int32_t {
    kStarted = 0,
    kStopped = 1,
    kStoppedAdapterOff = 2,
    kRestarted = 3,
    kStoppedByRadio = 4
};
enum Kind : std::int32_t { kConnectable = 0, kScannable = 1, kNonConnectable = 2, kResponse = 3 };

constexpr std::uint64_t kLamp = 0xC00000000001;
constexpr std::uint64_t kStrap = 0xC00000000002;
constexpr std::uint64_t kBeacon = 0xD00000000003;

constexpr char kWorld[] = R"({
    "adapter": {"turnOnMs": 1, "turnOffMs": 1},
    "peripherals": [
        {"address": "C0:00:00:00:00:01", "name": "Lamp", "rssi": -50, "rssiVariation": 0,
         "advertising": {"intervalMs": 2}},
        {"address": "C0:00:00:00:00:02", "rssi": -70, "rssiVariation": 5,
         "advertising": {"intervalMs": 2, "kind": "scannable",
                         "data": [{"flags": 6}, {"service": "180D", "data": "0102"}],
                         "scanResponse": [{"name": "Strap"}]}},
        {"address": "D0:00:00:00:00:03", "advertising": {
            "intervalMs": 2, "kind": "non-connectable",
            "data": [{"manufacturer": "1234", "data": "AABBCC"}], "scanResponse": "0201FF"}},
        {"address": "D0:00:00:00:00:04", "name": "Silent", "advertising": {"on": false}}
    ]})";

class ScanFamilyTest : public StackTest {
  protected:
    ScanFamilyTest() { StartService(kWorld); }

    static std::int32_t Register(TestClient& client)
    {
        const auto reply = client.Call(protocol::kRegisterScanListener);
        EXPECT_EQ(reply->status, kStatusDone);
        EXPECT_GT(reply->value, 0);
        return reply->value;
    }
    static std::int32_t Start(TestClient& client, std::int32_t id,
                              std::int32_t policy = kLowLatency)
    {
        return client.Call(protocol::kStartBleScan, {id, policy})->status;
    }
    static std::int32_t Stop(TestClient& client, std::int32_t id)
    {
        return client.Call(protocol::kStopBleScan, {id})->status;
    }
    static std::int32_t Scanning(TestClient& client, std::int32_t policy = kLowLatency)
    {
        const std::int32_t id = Register(client);
        EXPECT_EQ(Start(client, id, policy), kStatusDone);
        return id;
    }
    static protocol::ScanResult Next(TestClient& client)
    {
        return client.Next(protocol::kScanResult).result;
    }
    static Bytes DataOf(const protocol::ScanResult& result)
    {
        return {result.data, result.data + result.dataLen};
    }
    static std::pair<std::int32_t, std::int32_t> NextStatus(TestClient& client)
    {
        const auto record = client.Next(protocol::kScanStatus);
        return {record.listenerId, record.status};
    }

    /// The first result that meets the condition; fails the test after a limited number of results.
    template <typename Condition>
    static protocol::ScanResult NextThat(TestClient& client, const Condition& condition)
    {
        for (int i = 0; i < 2000; ++i) {
            const protocol::ScanResult result = Next(client);
            if (condition(result)) {
                return result;
            }
        }
        ADD_FAILURE() << "no such result";
        return {};
    }

    static protocol::SetScanFilterRequest Filters(
        std::int32_t id, const std::vector<std::pair<std::int32_t, Bytes>>& filters)
    {
        protocol::SetScanFilterRequest request{};
        request.listenerId = id;
        request.filterSize = static_cast<std::int32_t>(filters.size());
        for (std::size_t i = 0; i < filters.size(); ++i) {
            request.filters[i].type = filters[i].first;
            request.filters[i].patternLength = static_cast<std::uint32_t>(filters[i].second.size());
            std::copy(filters[i].second.begin(), filters[i].second.end(),
                      request.filters[i].patternData);
        }
        return request;
    }

    /// The addresses of the next results.
    static std::set<std::uint64_t> SendersOf(TestClient& client, int results = 60)
    {
        std::set<std::uint64_t> addresses;
        for (int i = 0; i < results; ++i) {
            addresses.insert(Next(client).address);
        }
        return addresses;
    }

    /// The same for a new client with these filters.
    std::set<std::uint64_t> SendersThrough(
        const std::vector<std::pair<std::int32_t, Bytes>>& filters)
    {
        TestClient client(PipeName());
        const std::int32_t id = Register(client);
        EXPECT_EQ(client.Call(protocol::kSetScanFilter, Filters(id, filters))->status, kStatusDone);
        Start(client, id);
        return SendersOf(client);
    }
};

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
