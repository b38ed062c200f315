// Addresses of radios as text.
#pragma once

#include <protocol/Hex.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace pelacon::service::linux_radios {

inline constexpr std::size_t kAddressOctets = 6;

/// Reads "00:1B:DC:07:32:3F" into the low six bytes of a number, the first octet being the most
/// significant. Nothing if it is not an address.
constexpr std::optional<std::uint64_t> ParseAddress(std::string_view text)
{
    if (text.size() != kAddressOctets * 3 - 1) {
        return std::nullopt;
    }
    std::uint64_t address = 0;
    for (std::size_t octet = 0; octet < kAddressOctets; ++octet) {
        if (octet > 0 && !text.empty()) {
            if (text.front() != ':') {
                return std::nullopt;
            }
            text.remove_prefix(1);
        }
        const auto byte = protocol::TakeHexByte(text);
        if (!byte) {
            return std::nullopt;
        }
        address = address << 8U | *byte;
    }
    return address;
}

}  // namespace pelacon::service::linux_radios
