// World files, which describe the simulation.
#pragma once

#include <service/core/Faults.h>
#include <service/simulation/AdapterConfig.h>
#include <service/simulation/Errors.h>
#include <service/simulation/GattConfig.h>
#include <service/simulation/GroupConfig.h>
#include <service/simulation/PeripheralConfig.h>
#include <service/simulation/Phone.h>
#include <service/simulation/StackConfig.h>
#include <service/simulation/TargetAdvs.h>
#include <service/simulation/WifiCards.h>
#include <service/simulation/WifiConfig.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pelacon::service::simulation {

/// The contents of a world file; docs/world.md explains each field.
struct WorldFile {
    std::optional<std::uint64_t> seed;
    AdapterConfig adapter;
    StackConfig stack;
    WifiConfig wifi;
    GroupConfig group;
    GroupConfig softAp = UsualSoftAp();
    PhoneConfig phone;
    WifiCardsConfig wifiCards;
    GattLinkConfig gatt;
    std::vector<PeripheralConfig> peripherals;
    std::vector<TargetAdvConfig> targetAdvs;
    std::vector<ErrorConfig> errors;
    std::vector<FaultConfig> faults;
};

/// Reads a world file's text. Throws json::Error, which names file, line and field.
WorldFile ReadWorldFile(std::string_view text, const std::string& name);

/// Reads a world file. Throws json::Error, also if the file cannot be read.
WorldFile LoadWorldFile(const std::string& path);

/// The text of the built-in world, data/default-world.json.
std::string_view DefaultWorldText();

}  // namespace pelacon::service::simulation
