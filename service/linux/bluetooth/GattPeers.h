// The devices that use this machine as a GATT server.
#pragma once

#include <service/linux/bluetooth/GattCentral.h>
#include <service/linux/bluetooth/GattStatus.h>
#include <service/linux/bluetooth/Stack.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

/// Those that connected by LE to this machine, rather than it to them; and those that work with a
/// service of ours, whoever connected. Where the kernel does not tell who did, it is the device
/// unless a link of ours has it. In the loop's thread.
class GattPeers : private Stack::Observer {
  public:
    /// Hears of peers. Must not destroy what tells of them; may destroy observers.
    class Observer {
      public:
        Observer() = default;
        virtual ~Observer() = default;
        Observer(const Observer&) = delete;
        Observer& operator=(const Observer&) = delete;

        virtual void PeerConnected(std::uint64_t /*peer*/) {}
        virtual void PeerDisconnected(std::uint64_t /*peer*/) {}
        /// BlueZ tells the MTU with what a peer does first.
        virtual void PeerMtuChanged(std::uint64_t /*peer*/, std::int32_t /*mtu*/) {}
    };

    explicit GattPeers(GattCentral& central);
    ~GattPeers() override;

    void Add(Observer& observer) { observers_.push_back(&observer); }
    void Remove(Observer& observer) noexcept { std::erase(observers_, &observer); }

    bool IsConnected(std::uint64_t peer) const { return peers_.contains(peer); }

    /// Notes that a device, given by BlueZ's path, works with a service of ours. Returns its
    /// address; nothing where the device is not known.
    std::optional<std::uint64_t> Note(const std::string& device, std::int32_t mtu);

  private:
    struct Peer {
        std::int32_t mtu = kSmallestMtu;
        bool isSeen = false;  // connected: a peer may work with a service before BlueZ says that
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

    template <typename Tell>
    void ForEachObserver(const Tell& tell)
    {
        for (Observer* const observer : std::vector(observers_)) {
            if (std::find(observers_.begin(), observers_.end(), observer) != observers_.end()) {
                tell(*observer);
            }
        }
    }

    const GattCentral& central_;
    Stack& stack_;
    std::vector<Observer*> observers_;
    std::map<std::uint64_t, Peer> peers_;
    Loop::Timer later_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
