// The description of Wi-Fi Direct groups and of the soft AP in a world file.
#pragma once

#include <json/Reader.h>
#include <service/radio/Groups.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::simulation {

/// The time and outcome of one creation.
struct CreationConfig {
    std::chrono::milliseconds delay{600};
    radio::GroupOutcome outcome = radio::GroupOutcome::kDone;
};

/// A device that joins every group.
struct StationConfig {
    std::uint64_t address = 0;
    std::optional<std::string> ipAddress;           ///< the next free one if not set
    std::chrono::milliseconds joinAfter{0};         ///< after the group's creation
    std::optional<std::chrono::milliseconds> stay;  ///< as long as the group if not set
};

struct GroupConfig {
    std::string ssid = "DIRECT-pe-Pelacon";
    std::string passPhrase = "pelacon-simulated";
    std::uint64_t address = 0x02'00'00'00'00'11;
    std::string ipAddress = "192.168.137.1";
    CreationConfig creation;
    std::vector<CreationConfig> firstCreations;  ///< of the first ones
    std::chrono::milliseconds removeDelay{50};
    std::vector<StationConfig> stations;
};

/// The default soft AP.
GroupConfig UsualSoftAp();

/// Reads what differs from this configuration into it.
void ReadGroup(json::Fields& fields, GroupConfig& config);

/// An IPv4 address, dotted.
std::string ReadIpAddress(const json::Reader& reader);

}  // namespace pelacon::service::simulation
