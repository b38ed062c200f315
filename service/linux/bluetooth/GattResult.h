// What becomes of operations on characteristics, in both roles.
#pragma once

#include <service/linux/dbus/Bus.h>

#include <cstddef>
#include <cstdint>

namespace pelacon::service::linux_radios::bluetooth {

/// The longest value that an attribute can have.
inline constexpr std::size_t kMostAttributeValue = 512;

/// What every LE connection has, until its devices agree on more.
inline constexpr std::int32_t kSmallestMtu = 23;

/// What became of an operation.
enum class GattResult : std::uint8_t {
    kDone,
    kBusy,
    kInvalidValue,
    kNotConnected,
    kNotFound,
    kNotPermitted,
    kUnreachable,  ///< no answer, or one that has no better word
    kNotSupported,
};

/// What an error of BlueZ means for an operation on a characteristic.
GattResult GattResultOf(const dbus::Error& error);

}  // namespace pelacon::service::linux_radios::bluetooth
