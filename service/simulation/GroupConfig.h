// Wi-Fi Direct groups, and the soft AP, as the world file describes them.
#pragma once

#include <json/Reader.h>
#include <service/radio/Groups.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::simulation {

/// How one creation goes.
struct CreationConfig {
    std::chrono::milliseconds delay{600};
    radio::GroupOutcome outcome = radio::GroupOutcome::kDone;
};

/// A device that joins every group.
struct StationConfig {
    std::uint64_t address = 0;
    std::optional<std::string> ipAddress;           ///< without: the next free one
    std::chrono::milliseconds joinAfter{0};         ///< from the group's creation on
    std::optional<std::chrono::milliseconds> stay;  ///< without: as long as the group
};

struct GroupConfig {
    std::string ssid = "DIRECT-pe-Pelacon";
    std::string passPhrase = "pelacon-simulated";
    std::uint64_t address = 0x02'00'00'00'00'11;
    std::string ipAddress = "192.168.137.1";
    CreationConfig creation;
    std::vector<CreationConfig> firstCreations;  ///< how the first ones go
    std::chrono::milliseconds removeDelay{50};
    std::vector<StationConfig> stations;
};

/// A soft AP in a world that describes none.
GroupConfig UsualSoftAp();

/// Reads what differs from this configuration into it.
void ReadGroup(const json::Reader& reader, GroupConfig& config);

/// An IPv4 address, dotted.
std::string ReadIpAddress(const json::Reader& reader);

}  // namespace pelacon::service::simulation
