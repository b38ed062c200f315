// A network interface for an access point.
#pragma once

#include <service/linux/Loop.h>
#include <service/linux/netlink/Socket.h>
#include <service/linux/wifi/KernelMirror.h>

#include <cstdint>
#include <functional>
#include <string>

namespace pelacon::service::linux_radios::wifi {

/// Makes an interface of a card, which is removed with this. If this process is killed, the kernel
/// removes it. In the loop's thread.
class VirtualInterface {
  public:
    struct Plan {
        std::uint32_t card = 0;     ///< its number
        std::string name;           ///< that no other interface has
        std::uint64_t address = 0;  ///< that no other interface has
        std::string ipAddress;      ///< dotted, in a network of 256 addresses
    };

    /// `done` is called once, later, with 0 or an errno; must not destroy this. Throws
    /// std::system_error where there are no sockets.
    VirtualInterface(Loop& loop, const NetlinkAccess& access, Plan plan,
                     std::function<void(int error)> done);
    ~VirtualInterface();

    VirtualInterface(const VirtualInterface&) = delete;
    VirtualInterface& operator=(const VirtualInterface&) = delete;

    /// The kernel's number of it; 0 before it has been made.
    std::uint32_t Index() const noexcept { return index_; }

  private:
    void Make(const netlink::Family& family);
    void SetIpAddress();

    Plan plan_;
    std::function<void(int)> done_;
    std::uint16_t family_ = 0;
    std::uint32_t index_ = 0;
    netlink::Socket wireless_;  // owns the interface
    netlink::Socket addresses_;
};

/// The kernel's number of a network interface; 0 if there is none of this name.
std::uint32_t IndexOfInterface(const std::string& name);

}  // namespace pelacon::service::linux_radios::wifi
