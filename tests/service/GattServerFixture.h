// Two programs: one serves, the other reads.
#pragma once

#include <tests/service/GattTest.h>
#include <tests/service/StackTest.h>

#include <cstdint>
#include <optional>
#include <utility>

namespace pelacon::service::tests {

enum Flags : std::int32_t { kRead = 0x02, kWriteOnly = 0x08, kNotify = 0x10, kIndicate = 0x20 };

using PeerValue = std::pair<std::uint64_t, std::uint32_t>;

inline constexpr auto kService = "180d";
inline constexpr auto kRate = "2a37";
inline constexpr auto kPlace = "2A38";
inline constexpr auto kControl = "2a39";

/// A program that serves, and another that reads.
class GattServerFamilyTest : public StackTest {
  protected:
    GattServerFamilyTest()
    {
        StartService(R"({"adapter": {"address": "02:00:00:00:00:01"},
                         "gatt": {"connectMs": 1, "mtu": 100}})");
        serving.emplace(PipeName());
        reading.emplace(PipeName());
    }

    /// A started service with three characteristics. Returns its handle.
    static std::int32_t Serve(GattPublisher& server)
    {
        const std::int32_t handle = server.AddService(kService);
        EXPECT_EQ(server.AddCharacteristic(handle, kRate, kNotify | kRead, {0, 60}),
                  protocol::kStatusDone);
        EXPECT_EQ(server.AddCharacteristic(handle, kPlace, kRead | kIndicate, {1}),
                  protocol::kStatusDone);
        EXPECT_EQ(server.AddCharacteristic(handle, kControl, kWriteOnly), protocol::kStatusDone);
        EXPECT_EQ(server.Start(handle), protocol::kStatusDone);
        return handle;
    }

    nlohmann::json Status() { return Command({{"command", "status"}})["gattServers"]; }

    std::optional<TestClient> serving;
    std::optional<TestClient> reading;
};

}  // namespace pelacon::service::tests
