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

/// A socket for management commands. Throws std::system_error as above, and without CAP_NET_ADMIN:
/// the kernel would open the socket and refuse the commands.
FileDescriptor OpenManagementSocket();

}  // namespace pelacon::service::linux_radios::bluetooth
