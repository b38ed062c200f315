// The structures in an advertisement, and the fields of BlueZ.
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

/// The content of an advertisement, without the order of its structures.
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

/// Adds the content of the structures to the fields. What follows a structure that is cut off, or a
/// zero length, is left out.
void ReadStructures(std::span<const std::uint8_t> data, AdvertisingFields& fields);

/// How many of the first `limit` bytes belong to whole structures.
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
