// The description of a device in a world file.
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
    std::int32_t rssiVariation = 3;  // plus or minus
    AdvertisingConfig advertising;
    GattPeripheralConfig gatt;
};

/// Reads a list of devices with different addresses.
std::vector<PeripheralConfig> ReadPeripherals(const json::Reader& reader);

}  // namespace pelacon::service::simulation
