// Bluetooth addresses, as the radios of this tree, the kernel and BlueZ have them.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
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

/// As BlueZ writes it: "00:1B:DC:07:32:3F".
inline std::string AddressText(std::uint64_t address)
{
    std::array<char, 18> text{};
    const auto octet = [address](unsigned place) {
        return static_cast<unsigned>(address >> (8U * place) & 0xFFU);
    };
    std::snprintf(text.data(), text.size(), "%02X:%02X:%02X:%02X:%02X:%02X", octet(5), octet(4),
                  octet(3), octet(2), octet(1), octet(0));
    return text.data();
}

/// Nothing where it is no address.
constexpr std::optional<std::uint64_t> ParseAddress(std::string_view text)
{
    if (text.size() != kAddressOctets * 3 - 1) {
        return std::nullopt;
    }
    std::uint64_t address = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (i % 3 == 2) {
            if (character != ':') {
                return std::nullopt;
            }
            continue;
        }
        int digit = -1;
        if (character >= '0' && character <= '9') {
            digit = character - '0';
        } else if (character >= 'A' && character <= 'F') {
            digit = character - 'A' + 10;
        } else if (character >= 'a' && character <= 'f') {
            digit = character - 'a' + 10;
        }
        if (digit < 0) {
            return std::nullopt;
        }
        address = address << 4U | static_cast<std::uint64_t>(digit);
    }
    return address;
}

}  // namespace pelacon::service::linux_radios::bluetooth
