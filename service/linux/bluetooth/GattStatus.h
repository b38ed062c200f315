// The results of operations on characteristics, in both roles.
#pragma once

#include <service/linux/dbus/Bus.h>
#include <service/radio/Gatt.h>

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace pelacon::service::linux_radios::bluetooth {

/// The longest value that an attribute can have.
inline constexpr std::size_t kMostAttributeValue = 512;

/// How long it may take until the end of a connection is known, if a call was not answered because
/// of that.
inline constexpr std::chrono::seconds kUntilEnded{1};

/// The MTU of an LE connection until its devices agree on a larger one.
inline constexpr std::int32_t kSmallestMtu = 23;

using radio::GattReason;
using radio::GattStatus;

/// What an error of BlueZ means for an operation on a characteristic.
GattStatus GattStatusOf(const dbus::Error& error);

}  // namespace pelacon::service::linux_radios::bluetooth
