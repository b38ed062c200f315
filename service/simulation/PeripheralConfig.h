// A device in the neighbourhood, as the world file describes it.
#pragma once

#include <json/Reader.h>
#include <service/simulation/AdvertisingConfig.h>
#include <service/simulation/GattConfig.h>

#include <cstdint>
#include <string>
#include <vector>

namespace pelacon::service::simulation {

struct PeripheralConfig {
    std::uint64_t address = 0;
    std::string name;
    std::int32_t rssi = -60;
    std::int32_t rssiVariation = 3;  // to either side
    AdvertisingConfig advertising;
    GattPeripheralConfig gatt;
};

/// Reads a list of them. No two have one address.
std::vector<PeripheralConfig> ReadPeripherals(const json::Reader& reader);

}  // namespace pelacon::service::simulation
