// The description of the Bluetooth adapter in a world file.
#pragma once

#include <json/Reader.h>
#include <service/radio/Adapter.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace pelacon::service::simulation {

struct ConnectedDevice {
    std::uint64_t address = 0;
    radio::BluetoothType type = radio::BluetoothType::kLe;
};

struct AdapterConfig {
    std::uint64_t address = 0x02'00'00'00'00'01;
    std::string name = "Pelacon";
    bool on = true;
    std::chrono::milliseconds turnOnDelay{50};
    std::chrono::milliseconds turnOffDelay{50};
    std::vector<ConnectedDevice> connected;
};

void ReadAdapter(json::Fields& fields, AdapterConfig& config);

}  // namespace pelacon::service::simulation
