// What the two roles of GATT have in common on the wire.
#pragma once

#include <cstddef>

namespace pelacon::protocol {

/// A service's or characteristic's UUID travels as text: at most 36 characters and their NUL, the
/// rest of the field zero.
inline constexpr std::size_t kUuidLength = 36;
inline constexpr std::size_t kUuidFieldSize = kUuidLength + 1;

/// Most bytes of a characteristic's value.
inline constexpr std::size_t kGattValueSize = 1024;

}  // namespace pelacon::protocol
