// Advertising data: a sequence of structures, each a length byte, an AD type and its data.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace pelacon::protocol {

/// AD types that are named in this system; there are more.
enum AdType : std::uint8_t {
    kAdFlags = 0x01,
    kAdSomeUuids16 = 0x02,
    kAdUuids16 = 0x03,
    kAdSomeUuids32 = 0x04,
    kAdUuids32 = 0x05,
    kAdSomeUuids128 = 0x06,
    kAdUuids128 = 0x07,
    kAdShortName = 0x08,
    kAdName = 0x09,
    kAdServiceData16 = 0x16,
    kAdManufacturer = 0xFF,
};

/// Adds a structure behind the ones that are there.
inline void AppendAdStructure(std::vector<std::uint8_t>& bytes, std::uint8_t type,
                              std::span<const std::uint8_t> data)
{
    bytes.push_back(static_cast<std::uint8_t>(data.size() + 1));
    bytes.push_back(type);
    bytes.insert(bytes.end(), data.begin(), data.end());
}

/// Calls the visitor with the type and the data of each structure, up to the first that is not
/// whole.
template <typename Visitor>
void VisitAdStructures(std::span<const std::uint8_t> bytes, const Visitor& visitor)
{
    while (bytes.size() >= 2 && bytes[0] >= 1 && bytes[0] < bytes.size()) {
        visitor(bytes[1], bytes.subspan(2, bytes[0] - 1U));
        bytes = bytes.subspan(bytes[0] + 1U);
    }
}

}  // namespace pelacon::protocol
