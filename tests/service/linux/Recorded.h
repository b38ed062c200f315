// Bytes as they were recorded, written as hexadecimal digits.
#pragma once

#include <protocol/Hex.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace pelacon::service::linux_radios::tests {

/// Blanks between bytes are left out.
inline std::vector<std::uint8_t> FromHex(std::string_view text)
{
    std::vector<std::uint8_t> bytes;
    while (!text.empty()) {
        if (text.front() == ' ') {
            text.remove_prefix(1);
        } else if (const auto byte = protocol::TakeHexByte(text)) {
            bytes.push_back(*byte);
        } else {
            throw std::invalid_argument("no byte in hexadecimal: " + std::string(text));
        }
    }
    return bytes;
}

}  // namespace pelacon::service::linux_radios::tests
