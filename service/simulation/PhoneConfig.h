// The description of the paired phone in a world file.
#pragma once

#include <json/Reader.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace pelacon::service::simulation {

/// The phone's Wi-Fi connects on a channel, or disconnects (0).
struct PhoneMove {
    std::chrono::milliseconds after{0};  ///< from the service's start
    std::int32_t channel = 0;
};

struct PhoneConfig {
    std::string model;
    std::vector<std::int32_t> channels;
    std::int32_t connectionChannel = 0;
    std::vector<PhoneMove> moves;
};

void ReadPhone(json::Fields& fields, PhoneConfig& config);

/// The number of an existing channel, or 0 for none.
std::int32_t ReadConnectionChannel(const json::Reader& reader);

}  // namespace pelacon::service::simulation
