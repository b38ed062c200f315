// A GATT service of this machine, which other devices use.
#pragma once

#include <service/linux/bluetooth/AdapterControl.h>
#include <service/linux/bluetooth/GattPeers.h>
#include <service/linux/bluetooth/ServedCharacteristic.h>
#include <service/linux/bluetooth/Stack.h>
#include <service/linux/dbus/ObjectTree.h>
#include <service/radio/GattServer.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

/// Is shown through BlueZ while it exists, as soon as there is an adapter, and again after each
/// restart of BlueZ. Characteristics are identified by their place in the list. In
/// the loop's thread. Callbacks must not destroy it, and are not called after it is destroyed.
class GattService : private Stack::Observer, private GattPeers::Observer {
  public:
    using Bytes = dbus::Bytes;
    using Done = ServedCharacteristic::Done;

    using Characteristic = radio::GattCharacteristic;

    /// Operations of peers that the flags permit. GattPeers' observers are called about a peer
    /// before.
    struct Callbacks {
        /// Returns the value that the peer gets, cut to the size of an attribute, or nothing, which
        /// refuses the read. Called once for a value that is read in parts.
        std::function<std::optional<Bytes>(std::uint64_t peer, std::size_t characteristic)> read;
        std::function<void(std::uint64_t peer, std::size_t characteristic, const Bytes& value)>
            written;
        /// Called once: whether the service is shown. If not, it is tried again.
        std::function<void(radio::Outcome)> shown;
        /// The result of Subscribers has changed.
        std::function<void(std::size_t characteristic, const std::vector<std::uint64_t>& peers)>
            subscribed = [](std::size_t, const std::vector<std::uint64_t>&) {};
    };

    /// How long until the next attempt after BlueZ has refused.
    static constexpr std::chrono::seconds kNextTry{10};

    GattService(Stack& stack, GattPeers& peers, const Uuid& uuid,
                const std::vector<Characteristic>& characteristics, Callbacks callbacks);
    ~GattService() override;

    /// The connected peers that subscribed. One that ends its subscription while others keep theirs
    /// stays among them until it disconnects, as BlueZ does not report that.
    std::vector<std::uint64_t> Subscribers(std::size_t characteristic) const;

    /// Sends a value to all that subscribed, cut to what an attribute can have and, by BlueZ, to
    /// each one's MTU. `done` is called later: for a notification once BlueZ has it, for an
    /// indication once all have confirmed it (kNotConnected if all have gone, kUnreachable if it
    /// takes longer than GattPeers::confirmLimit).
    void Notify(std::size_t characteristic, const Bytes& value, Done done);

    /// Sends a value to one peer: kNotPermitted if it did not subscribe, kNotSupported if others
    /// did, too, as BlueZ sends to all.
    void NotifyOne(std::uint64_t peer, std::size_t characteristic, const Bytes& value, Done done);

  private:
    void AdapterChanged() override { Fit(); }
    void ObjectAdded(const std::string& path, const std::string& interface) override;
    void PeerConnected(std::uint64_t peer) override;
    void PeerDisconnected(std::uint64_t peer) override;

    void Fit();
    void Register();
    void Withdraw();
    void Finish(radio::Outcome outcome);

    Stack& stack_;
    GattPeers& peers_;
    Uuid uuid_;
    Callbacks callbacks_;
    std::vector<std::unique_ptr<ServedCharacteristic>> characteristics_;
    std::string adapter_;  // where it is registered, or about to be
    std::unique_ptr<dbus::ObjectTree> tree_;
    dbus::Bus::Slot registering_;
    Loop::Timer later_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
