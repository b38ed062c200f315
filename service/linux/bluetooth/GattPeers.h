// The devices that use this machine as a GATT server.
#pragma once

#include <service/base/Interface.h>
#include <service/base/ObserverList.h>
#include <service/linux/bluetooth/GattCentral.h>
#include <service/linux/bluetooth/GattStatus.h>
#include <service/linux/bluetooth/Stack.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

/// A peer is a device that has connected to this machine by LE, or that uses a service of this
/// process, whichever side has connected. If the kernel does not report the side, a device without
/// a GattLink is taken for a peer. In the loop's thread.
class GattPeers : private Stack::Observer {
  public:
    /// Must not destroy the GattPeers; may destroy observers.
    class Observer : public Interface {
      public:
        virtual void PeerConnected(std::uint64_t /*peer*/) {}
        virtual void PeerDisconnected(std::uint64_t /*peer*/) {}
        /// BlueZ gives the MTU with the first operation of a peer.
        virtual void PeerMtuChanged(std::uint64_t /*peer*/, std::int32_t /*mtu*/) {}
    };

    /// How long a peer may take to confirm an indication, by GATT's rules.
    std::chrono::milliseconds confirmLimit = std::chrono::seconds(30);

    explicit GattPeers(GattCentral& central);
    ~GattPeers() override;

    void Add(Observer& observer) { observers_.Add(observer); }
    void Remove(Observer& observer) noexcept { observers_.Remove(observer); }

    bool IsConnected(std::uint64_t peer) const { return peers_.contains(peer); }
    std::vector<std::uint64_t> All() const;

    /// Notes that a device, given by BlueZ's path, uses a service of this process.
    /// Returns its address; nothing if the device is not known.
    std::optional<std::uint64_t> Note(const std::string& device, std::int32_t mtu);

  private:
    struct Peer {
        std::int32_t mtu = kSmallestMtu;
        bool isSeen = false;  // connected: a peer may use a service before BlueZ signals that
    };

    void AdapterChanged() override { LookLater(); }
    void ObjectAdded(const std::string& path, const std::string& interface) override;
    void ObjectRemoved(const std::string& path, const std::string& interface,
                       const dbus::Properties& last) override;
    void ObjectChanged(const std::string& path, const std::string& interface,
                       const dbus::Properties& changed) override;

    void LookLater();
    void Look();
    bool HasComeByItself(const bluez::Device& device) const;
    void Connected(std::uint64_t peer);

    const GattCentral& central_;
    Stack& stack_;
    ObserverList<Observer> observers_;
    std::map<std::uint64_t, Peer> peers_;
    Loop::Timer later_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
