// UUIDs and values on their way into requests, and out of the C records.
#pragma once

#include <karvell_secure_c/securec.h>
#include <protocol/Gatt.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace pelacon {

/// Puts a UUID with its NUL into its field, which is zero; false when it does not fit.
inline bool PutUuid(char (&field)[protocol::kUuidFieldSize], const std::string& uuid)
{
    return memcpy_s(field, sizeof field, uuid.c_str(), uuid.size() + 1) == 0;
}

/// Puts a value into its area, which is zero, and its length beside it; false when it does not fit.
inline bool PutValue(std::uint8_t (&area)[protocol::kGattValueSize], std::uint32_t& length,
                     const std::vector<std::uint8_t>& value)
{
    length = static_cast<std::uint32_t>(value.size());
    return memcpy_s(area, sizeof area, value.data(), value.size()) == 0;
}

/// The first `length` bytes of an area that holds `capacity`, which is at least the greatest length
/// of a value. A length beyond that gives a value that is refused for it; what lies behind the
/// capacity is never read.
inline std::vector<std::uint8_t> ValueFrom(const std::uint8_t* area, std::size_t capacity,
                                           std::uint32_t length)
{
    const std::size_t size = std::min<std::size_t>(length, protocol::kGattValueSize + 1);
    std::vector<std::uint8_t> value(area, area + std::min(size, capacity));
    value.resize(size);
    return value;
}

}  // namespace pelacon
