// The contents of advertisements, and their text forms.
#pragma once

#include <protocol/Uuid.h>

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace pelacon::ctl {

/// The parts of an advertisement or scan response that are shown; the first of each kind.
struct AdvertisedData {
    /// Data, and the 16-bit identifier of the company or service that defines their meaning.
    struct Identified {
        std::uint16_t identifier = 0;
        std::vector<std::uint8_t> data;
    };

    std::optional<std::string> name;       ///< as sent: any bytes
    std::vector<protocol::Uuid> services;  ///< of all lists
    std::optional<Identified> serviceData;
    std::optional<Identified> manufacturer;
};

AdvertisedData ReadAdvertisedData(std::span<const std::uint8_t> bytes);

/// Whether the service is in a list, or its data are there.
bool HasService(const AdvertisedData& data, const protocol::Uuid& service);

/// "services 180F,1809  FFFF: 0215  180F: 64": the services, the manufacturer's data, the
/// service's;
/// "" where there are none.
std::string DataText(const AdvertisedData& data);

/// Adds a field for each part present.
void AddFields(nlohmann::ordered_json& record, const AdvertisedData& data);

/// "180F"
std::string FormatUuid16(std::uint16_t identifier);

/// Reads "180F", or "0x180f". Throws Failure.
std::uint16_t ParseUuid16(const std::string& text);

/// A UUID as advertising data carry it: in its shortest form, the low byte first.
std::vector<std::uint8_t> AdvertisedBytes(const protocol::Uuid& uuid);

/// Adds an identifier as advertising data carry it: the low byte first.
void AppendUuid16(std::vector<std::uint8_t>& bytes, std::uint16_t identifier);

}  // namespace pelacon::ctl
