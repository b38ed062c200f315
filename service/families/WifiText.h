// Addresses as Wi-Fi records carry them.
#pragma once

#include <protocol/Hex.h>

#include <cstdint>
#include <string>

namespace pelacon::service {

/// Twelve hexadecimal digits.
inline std::string AddressDigits(std::uint64_t address)
{
    return protocol::HexNumber(address, 12, protocol::HexCase::kLower);
}

}  // namespace pelacon::service
