// Bytes as they were recorded, written as hexadecimal digits.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace pelacon::service::linux_radios::tests {

/// Blanks are left out.
inline std::vector<std::uint8_t> FromHex(std::string_view text)
{
    std::string digits;
    for (const char character : text) {
        if (character != ' ') {
            digits.push_back(character);
        }
    }
    if (digits.size() % 2 != 0) {
        throw std::invalid_argument("half a byte");
    }
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

}  // namespace pelacon::service::linux_radios::tests
