// The Wi-Fi adapter as the world file describes it.
#pragma once

#include <json/Reader.h>
#include <service/radio/Wifi.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace pelacon::service::simulation {

/// The channels of a world that names none.
std::vector<radio::Wifi::Channel> UsualChannels();

struct WifiConfig {
    std::uint64_t address = 0x02'00'00'00'00'10;
    bool on = true;
    std::chrono::milliseconds switchDelay{100};
    std::vector<radio::Wifi::Channel> channels = UsualChannels();
    std::optional<radio::Wifi::Connection> connected;
};

WifiConfig ReadWifi(const json::Reader& reader);

/// The fields "ssid" and "channel" of an access point.
radio::Wifi::Connection ReadConnection(json::Fields& fields);

/// The number of a channel that exists.
std::int32_t ReadChannelNumber(const json::Reader& reader);

}  // namespace pelacon::service::simulation
