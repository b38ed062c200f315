#include <service/linux/Capabilities.h>
#include <service/linux/bluetooth/Sockets.h>

#include <sys/socket.h>

#include <cerrno>
#include <system_error>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

constexpr int kHciProtocol = 1;

/// The kernel's sockaddr_hci.
struct HciAddress {
    sa_family_t family;
    std::uint16_t controller;
    std::uint16_t channel;
};
static_assert(sizeof(HciAddress) == 6);

}  // namespace

FileDescriptor OpenSocket(HciChannel channel, std::uint16_t controller)
{
    FileDescriptor descriptor(
        socket(AF_BLUETOOTH, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, kHciProtocol));
    if (!descriptor) {
        throw std::system_error(errno, std::generic_category(), "no Bluetooth socket");
    }
    const HciAddress address{AF_BLUETOOTH, controller, static_cast<std::uint16_t>(channel)};
    if (bind(descriptor.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot bind a Bluetooth socket");
    }
    return descriptor;
}

FileDescriptor OpenManagementSocket()
{
    if (!HasCapability(Capability::kNetAdmin)) {
        throw std::system_error(std::make_error_code(std::errc::operation_not_permitted));
    }
    return OpenSocket(HciChannel::kControl, kNoController);
}

}  // namespace pelacon::service::linux_radios::bluetooth
