// What the kernel reports of connections to other devices.
#pragma once

#include <service/linux/bluetooth/ManagementLink.h>
#include <service/linux/bluetooth/Stack.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>

namespace pelacon::service::linux_radios::bluetooth {

/// Which side began a connection, and why it ended. The kernel reports this only to processes with
/// CAP_NET_ADMIN. In the loop's thread.
class KernelConnections : private Stack::Observer {
  public:
    /// How long a reason is kept, as BlueZ reports the end of a connection later than the kernel.
    static constexpr std::chrono::seconds kReasonKept{10};

    KernelConnections(Stack& stack, ManagementLink::OpenSocket open);
    ~KernelConnections() override;

    /// The connection to a device; nothing if there is none, or nothing is known.
    std::optional<DeviceConnected> Find(std::uint64_t address) const;

    /// Why the last connection to a device ended. To be called after all that is ready in this turn
    /// of the loop, as the bus may be read before the kernel's socket.
    std::optional<DeviceDisconnected::Reason> WhyEnded(std::uint64_t address) const;

  private:
    struct Record {
        std::optional<DeviceConnected> connection;
        std::optional<DeviceDisconnected::Reason> reason;
        Loop::Timer forget;
    };

    void AdapterChanged() override;
    void Heard(const ManagementEvent& event);

    Stack& stack_;
    ManagementLink management_;
    std::map<std::uint64_t, Record> records_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
