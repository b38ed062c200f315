// What this machine's links to other devices share.
#pragma once

#include <service/linux/bluetooth/Discovery.h>
#include <service/linux/bluetooth/GattNotifications.h>
#include <service/linux/bluetooth/KernelConnections.h>
#include <service/linux/bluetooth/Stack.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>

namespace pelacon::service::linux_radios::bluetooth {

/// In the loop's thread; outlives the links.
struct GattCentral {
    GattCentral(Stack& theStack, Discovery& theDiscovery, const KernelConnections& theConnections)
        : stack(theStack),
          discovery(theDiscovery),
          connections(theConnections),
          notifications(theStack)
    {}

    Stack& stack;
    Discovery& discovery;
    const KernelConnections& connections;
    GattNotifications notifications;

    /// How long an attempt to connect may take, and a discovery of services.
    std::chrono::milliseconds connectLimit = std::chrono::seconds(20);
    std::chrono::milliseconds discoverLimit = std::chrono::seconds(30);

    /// What the links to one device share.
    struct Shared {
        int links = 0;
        /// One of them has established the connection, or has left while it tried: the connection
        /// ends with the last of them. One that the device, or another program, established stays.
        bool isOurs = false;
    };
    std::map<std::uint64_t, Shared> shared;

    /// Devices that are being disconnected; an entry has expired when BlueZ has answered, and then
    /// said whether the device is connected. The answer takes two seconds, during which BlueZ shows
    /// the device as connected, and answers an attempt to connect at once; and it comes before the
    /// signal that the device is not connected any more.
    std::map<std::uint64_t, std::weak_ptr<void>> leaving;

    bool IsLeaving(std::uint64_t address) const
    {
        const auto found = leaving.find(address);
        return found != leaving.end() && !found->second.expired();
    }
};

}  // namespace pelacon::service::linux_radios::bluetooth
