// What the kernel reports of connections to other devices.
#pragma once

#include <service/linux/bluetooth/Management.h>
#include <service/linux/bluetooth/Stack.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace pelacon::service::linux_radios::bluetooth {

/// Who began a connection, and why it ended: the kernel tells, to those who may administer the
/// network (CAP_NET_ADMIN). Others know nothing of it. In the loop's thread.
class KernelConnections : private Stack::Observer {
  public:
    /// Opens the management socket; throws std::system_error where that cannot be.
    using OpenManagement = std::function<FileDescriptor()>;

    /// How long it is known why a connection ended: BlueZ, which tells that it did, is slower.
    static constexpr std::chrono::seconds kReasonKept{10};

    KernelConnections(Stack& stack, OpenManagement open);
    ~KernelConnections() override;

    /// The connection to a device; nothing where there is none, or nothing is known.
    std::optional<DeviceConnected> Find(std::uint64_t address) const;

    /// Why the last connection to a device ended. Ask after what else is ready in this turn of the
    /// loop, as the bus may be read first.
    std::optional<DeviceDisconnected::Reason> WhyEnded(std::uint64_t address) const;

  private:
    struct Record {
        std::optional<DeviceConnected> connection;
        std::optional<DeviceDisconnected::Reason> reason;
        Loop::Timer forget;
    };

    void AdapterChanged() override;
    void Open();
    void Heard(const ManagementEvent& event);

    Stack& stack_;
    OpenManagement open_;
    std::unique_ptr<Management> management_;
    std::map<std::uint64_t, Record> records_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
