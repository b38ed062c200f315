// What an advertisement says, as people read it.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace pelacon::ctl {

/// The parts of an advertisement or scan response that are shown; of each kind the first.
struct AdvertisedData {
    /// A 16-bit identifier with the data that it gives a meaning.
    struct Identified {
        std::uint16_t identifier = 0;
        std::vector<std::uint8_t> data;
    };

    std::optional<std::string> name;  ///< as it was sent: any bytes
    std::vector<std::uint16_t> services;
    std::optional<Identified> serviceData;
    std::optional<Identified> manufacturer;
};

AdvertisedData ReadAdvertisedData(std::span<const std::uint8_t> bytes);

/// "FFFF: 0215", or "" for nothing: the data that are the sender's own. Manufacturer first.
std::string DataText(const AdvertisedData& data);

/// Adds a field for each part that is there.
void AddFields(nlohmann::ordered_json& record, const AdvertisedData& data);

/// "180F"
std::string FormatUuid16(std::uint16_t identifier);

/// Reads "180F", or "0x180f". Throws Failure.
std::uint16_t ParseUuid16(const std::string& text);

}  // namespace pelacon::ctl
