// What a device advertises, as the world file describes it.
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

/// What a device with this name advertises where nothing is said of it.
AdvertisingConfig DefaultAdvertising(const std::string& name);

/// Reads what differs from this configuration into it.
void ReadAdvertising(const json::Reader& reader, AdvertisingConfig& config);

}  // namespace pelacon::service::simulation
