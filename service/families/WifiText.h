// Addresses as Wi-Fi records carry them.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace pelacon::service {

/// The bytes of an address whose first octet is the most significant of the low six bytes.
inline void PutAddress(std::uint8_t (&field)[6], std::uint64_t address)
{
    for (std::size_t octet = 0; octet < 6; ++octet) {
        field[octet] = static_cast<std::uint8_t>(address >> (8 * (5 - octet)));
    }
}

/// Twelve hexadecimal digits.
inline std::string AddressDigits(std::uint64_t address)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text(12, '0');
    for (std::size_t digit = 0; digit < text.size(); ++digit) {
        text[digit] = kDigits[(address >> (4 * (11 - digit))) & 0xFU];
    }
    return text;
}

}  // namespace pelacon::service
