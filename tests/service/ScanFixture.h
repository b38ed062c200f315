// Scans in a world with a few peripherals.
#pragma once

#include <protocol/BleScanner.h>
#include <protocol/ServiceStatus.h>
#include <tests/service/StackTest.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <set>
#include <utility>
#include <vector>

namespace pelacon::service::tests {

enum Policy : std::int32_t { kLowPower = 0, kBalanced = 1, kLowLatency = 2 };
enum Status : std::int32_t {
    kStarted = 0,
    kStopped = 1,
    kStoppedAdapterOff = 2,
    kRestarted = 3,
    kStoppedByRadio = 4
};
enum Kind : std::int32_t { kConnectable = 0, kScannable = 1, kNonConnectable = 2, kResponse = 3 };

inline constexpr std::uint64_t kLamp = 0xC00000000001;
inline constexpr std::uint64_t kStrap = 0xC00000000002;
inline constexpr std::uint64_t kBeacon = 0xD00000000003;

inline constexpr char kWorld[] = R"({
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
        EXPECT_EQ(reply->status, protocol::kStatusDone);
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
        EXPECT_EQ(Start(client, id, policy), protocol::kStatusDone);
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
        EXPECT_EQ(client.Call(protocol::kSetScanFilter, Filters(id, filters))->status,
                  protocol::kStatusDone);
        Start(client, id);
        return SendersOf(client);
    }
};

}  // namespace pelacon::service::tests
