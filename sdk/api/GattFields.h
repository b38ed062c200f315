// UUIDs and values on their way into requests, and out of the C records.
#pragma once

#include <karvell_secure_c/securec.h>
#include <protocol/Gatt.h>

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

/// The bytes of a value; more than a value can have are not read, and as many zeros are refused
/// like them.
inline std::vector<std::uint8_t> ValueFrom(const std::uint8_t* bytes, std::uint32_t length)
{
    return length <= protocol::kGattValueSize
               ? std::vector<std::uint8_t>(bytes, bytes + length)
               : std::vector<std::uint8_t>(protocol::kGattValueSize + 1);
}

}  // namespace pelacon
