// The kernel's Bluetooth sockets.
#pragma once

#include <service/linux/FileDescriptor.h>

#include <cstdint>

namespace pelacon::service::linux_radios::bluetooth {

enum class HciChannel : std::uint16_t { kRaw = 0, kControl = 3 };

/// No controller in particular.
inline constexpr std::uint16_t kNoController = 0xFFFF;

/// A non-blocking socket on the channel. Throws std::system_error if the kernel has no Bluetooth,
/// or there is no such controller.
FileDescriptor OpenSocket(HciChannel channel, std::uint16_t controller);

}  // namespace pelacon::service::linux_radios::bluetooth
