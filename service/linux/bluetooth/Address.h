// Bluetooth addresses in the forms of the radios, the kernel and BlueZ.
#pragma once

#include <protocol/Codec.h>
#include <service/linux/HardwareAddress.h>

#include <cstdint>
#include <span>

namespace pelacon::service::linux_radios::bluetooth {

enum class AddressType : std::uint8_t { kClassic = 0, kPublic = 1, kRandom = 2 };

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

}  // namespace pelacon::service::linux_radios::bluetooth
