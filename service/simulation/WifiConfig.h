// The description of the Wi-Fi adapter in a world file.
#pragma once

#include <json/Reader.h>
#include <service/radio/Wifi.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace pelacon::service::simulation {

/// The default channels.
std::vector<radio::Wifi::Channel> UsualChannels();

struct WifiConfig {
    std::uint64_t address = 0x02'00'00'00'00'10;
    bool on = true;
    std::chrono::milliseconds switchDelay{100};
    std::vector<radio::Wifi::Channel> channels = UsualChannels();
    std::optional<radio::Wifi::Connection> connected;
};

void ReadWifi(json::Fields& fields, WifiConfig& config);

/// Reads the fields "ssid" and "channel" of an access point.
void ReadConnection(json::Fields& fields, radio::Wifi::Connection& connection);

/// Reads the number of an existing channel.
std::int32_t ReadChannelNumber(const json::Reader& reader);

}  // namespace pelacon::service::simulation
