// A GATT service of this machine, which other devices use.
#pragma once

#include <service/linux/bluetooth/AdapterControl.h>
#include <service/linux/bluetooth/GattPeers.h>
#include <service/linux/bluetooth/ServedCharacteristic.h>
#include <service/linux/bluetooth/Stack.h>
#include <service/linux/dbus/ObjectTree.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

/// Shown through BlueZ from now on, as soon as there is an adapter, again after BlueZ was started
/// anew, and until this ends. Characteristics are told by their place in the list. In the loop's
/// thread. Callbacks must not destroy it, and are not called any more once it is destroyed.
class GattService : private Stack::Observer, private GattPeers::Observer {
  public:
    using Bytes = dbus::Bytes;
    using Done = ServedCharacteristic::Done;

    struct Characteristic {
        Uuid uuid;
        std::int32_t flags = 0;  ///< those of service/radio/Gatt.h
    };

    /// What peers do, as far as the flags permit it. The observers of `GattPeers` have heard of a
    /// peer before.
    struct Callbacks {
        /// The value that the peer gets, cut to what an attribute can have. Called once for a value
        /// that is read in parts.
        std::function<Bytes(std::uint64_t peer, std::size_t characteristic)> read;
        std::function<void(std::uint64_t peer, std::size_t characteristic, const Bytes& value)>
            written;
        /// Called once: whether the service is shown. One that is not is tried again.
        std::function<void(radio::Outcome)> shown;
    };

    /// How long until BlueZ is asked again after it has refused.
    static constexpr std::chrono::seconds kNextTry{10};

    GattService(Stack& stack, GattPeers& peers, const Uuid& uuid,
                const std::vector<Characteristic>& characteristics, Callbacks callbacks);
    ~GattService() override;

    /// The connected peers that subscribed. One that takes back its subscription while others keep
    /// theirs stays among them until it disconnects, as BlueZ does not tell.
    std::vector<std::uint64_t> Subscribers(std::size_t characteristic) const;

    /// Sends a value to all that subscribed, cut to what an attribute can have and, by BlueZ, to
    /// each one's MTU. `done` is called later: for a notification once BlueZ has it, for an
    /// indication once all have confirmed it (kNotConnected where all have gone, kUnreachable
    /// where it takes longer than ServedCharacteristic::kConfirmLimit).
    void Notify(std::size_t characteristic, const Bytes& value, Done done);

    /// Sends a value to one peer: kNotPermitted where it did not subscribe, kNotSupported where
    /// others did, too, as BlueZ sends to all.
    void NotifyOne(std::uint64_t peer, std::size_t characteristic, const Bytes& value, Done done);

  private:
    void AdapterChanged() override { Fit(); }
    void ObjectAdded(const std::string& path, const std::string& interface) override;
    void PeerDisconnected(std::uint64_t peer) override;

    void Fit();
    void Register();
    void Withdraw();
    void TellShown(radio::Outcome outcome);

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
