// The description of GATT peers in a world file.
#pragma once

#include <json/Reader.h>
#include <service/radio/Gatt.h>

#include <chrono>
#include <optional>
#include <vector>

namespace pelacon::service::simulation {

/// How a device answers. `gatt` at the top of the file describes this machine.
struct GattLinkConfig {
    std::chrono::milliseconds connectDelay{20};
    std::chrono::milliseconds responseDelay{0};  // of each request
    std::int32_t mtu = 247;
};

struct GattCharacteristicConfig {
    radio::Uuid uuid;
    std::int32_t flags = radio::kGattRead;
    radio::GattValue value;
    std::chrono::milliseconds notifyEvery{0};    // zero: only written values are notified
    std::vector<radio::GattValue> notifyValues;  // in turn; none: the current value
};

struct GattServiceConfig {
    radio::Uuid uuid;
    std::vector<GattCharacteristicConfig> characteristics;
};

struct GattDisconnectConfig {
    std::chrono::milliseconds after{0};  // from the connection on
    radio::GattReason reason = radio::GattReason::kPeer;
};

struct GattPeripheralConfig {
    GattLinkConfig link;
    bool refuses = false;
    std::optional<GattDisconnectConfig> disconnect;
    std::vector<GattServiceConfig> services;
};

void ReadGattLink(json::Fields& fields, GattLinkConfig& config);
void ReadGattPeripheral(json::Fields& fields, GattPeripheralConfig& config);

}  // namespace pelacon::service::simulation
