// The description of a device's advertising in a world file.
#pragma once

#include <json/Reader.h>
#include <service/radio/Advertisement.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace pelacon::service::simulation {

struct AdvertisingConfig {
    bool on = true;
    std::chrono::milliseconds interval{500};
    radio::AdvertisementKind kind = radio::AdvertisementKind::kConnectable;
    std::vector<std::uint8_t> data;
    std::vector<std::uint8_t> scanResponse;
};

/// The default advertising of a device with this name.
AdvertisingConfig DefaultAdvertising(const std::string& name);

/// Reads what differs from this configuration into it.
void ReadAdvertising(json::Fields& fields, AdvertisingConfig& config);

}  // namespace pelacon::service::simulation
