// The structures in an advertisement, and the fields that BlueZ makes of them.
#pragma once

#include <protocol/Uuid.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

using protocol::Uuid;

/// What an advertisement says, without the order in which it says so.
struct AdvertisingFields {
    using Bytes = std::vector<std::uint8_t>;

    std::optional<std::uint8_t> flags;
    std::vector<Uuid> services;
    std::vector<Uuid> solicitedServices;
    std::map<Uuid, Bytes> serviceData;
    std::map<std::uint16_t, Bytes> manufacturerData;
    std::string name;
    std::optional<std::int8_t> txPower;
    std::optional<std::uint16_t> appearance;
    std::map<std::uint8_t, Bytes> others;  ///< by the structure's type

    bool operator==(const AdvertisingFields&) const = default;
};

/// Adds to the fields what the structures say. What stands behind a structure that is cut off, or
/// behind a zero length, is left out.
void ReadStructures(std::span<const std::uint8_t> data, AdvertisingFields& fields);

/// How many of these bytes are whole structures, of the first `limit` bytes.
std::size_t WholeStructures(std::span<const std::uint8_t> data, std::size_t limit);

/// An advertisement and a scan response.
struct AdvertisingPair {
    std::vector<std::uint8_t> data;
    std::vector<std::uint8_t> scanResponse;
};

/// Writes the fields as structures, always in the same order: as much as fits into the
/// advertisement, then into the scan response, `room` bytes each. What fits into neither is left
/// out, except for a name, which is shortened.
AdvertisingPair WriteStructures(const AdvertisingFields& fields, std::size_t room);

}  // namespace pelacon::service::linux_radios::bluetooth
