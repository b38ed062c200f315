// Bluetooth addresses in the forms of the radios, the kernel and BlueZ.
#pragma once

#include <protocol/Codec.h>
#include <protocol/Hex.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace pelacon::service::linux_radios::bluetooth {

enum class AddressType : std::uint8_t { kClassic = 0, kPublic = 1, kRandom = 2 };

inline constexpr std::size_t kAddressOctets = 6;

/// From the kernel's order, the last octet first, into the low six bytes of a number.
constexpr std::uint64_t AddressOf(std::span<const std::uint8_t, kAddressOctets> octets)
{
    std::uint64_t address = 0;
    for (std::size_t i = kAddressOctets; i > 0; --i) {
        address = address << 8U | octets[i - 1];
    }
    return address;
}

using protocol::AddressText;  // as BlueZ writes it: "00:1B:DC:07:32:3F"

/// Nothing if it is not an address.
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

}  // namespace pelacon::service::linux_radios::bluetooth
