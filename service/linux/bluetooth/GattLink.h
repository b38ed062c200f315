// Connections to other devices, and operations on their characteristics.
#pragma once

#include <protocol/Uuid.h>
#include <service/linux/bluetooth/GattCentral.h>
#include <service/linux/bluetooth/GattStatus.h>
#include <service/linux/bluetooth/Stack.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

using protocol::Uuid;

/// What is known of the device at the other end of a link.
struct GattRemote {
    std::int32_t mtu = kSmallestMtu;
    std::set<Uuid> services;  ///< none before they have been discovered

    bool operator==(const GattRemote&) const = default;
};

/// One connection to a device, from the attempt on; in the loop's thread. Links to the same device
/// share its connection, which ends with the last of them if one of them established it. Callbacks
/// are called later, never in a call, and not after the link is destroyed. They may destroy it,
/// except for `changed`.
class GattLink : private Stack::Observer {
  public:
    using Bytes = dbus::Bytes;
    using Done = std::function<void(GattStatus)>;
    using OnRead = std::function<void(GattStatus, const Bytes&)>;
    /// A characteristic, by its service's UUID and its own.
    using Key = std::pair<Uuid, Uuid>;

    struct Callbacks {
        std::function<void()> connected;
        /// The last call, after the operations under way have ended with kNotConnected. kPeer also
        /// if the reason is not known; kLocal also if the adapter is off or gone, or another
        /// program of this machine ended the connection.
        std::function<void(GattReason)> ended;
        std::function<void(const Key&, const Bytes&, bool isIndication)> notified;
        std::function<void(const GattRemote&)> changed = [](const GattRemote&) {};
    };

    /// How soon BlueZ is asked again for a connection that it has not established.
    static constexpr std::chrono::milliseconds kNextTry{500};

    GattLink(GattCentral& central, std::uint64_t address, Callbacks callbacks);

    /// Ends the subscriptions, and the connection if this was its last link and one of them
    /// established it.
    ~GattLink() override;

    bool IsUp() const noexcept { return state_ == State::kUp; }

    const GattRemote& Remote() const noexcept { return remote_; }

    /// `done` once the device's services are known.
    void Discover(Done done);

    void Read(const Key& key, OnRead done);
    void Write(const Key& key, const Bytes& value, Done done);
    void Subscribe(const Key& key, bool enable, Done done);

  private:
    enum class State : std::uint8_t { kSearching, kConnecting, kUp, kOver };

    /// An operation that is under way.
    struct Operation {
        dbus::Bus::Slot call;
        OnRead done;
        std::shared_ptr<void> reading;
        Loop::Timer limit;
    };

    void AdapterChanged() override;
    void ObjectAdded(const std::string& path, const std::string& interface) override;
    void ObjectRemoved(const std::string& path, const std::string& interface,
                       const dbus::Properties& last) override;
    void ObjectChanged(const std::string& path, const std::string& interface,
                       const dbus::Properties& changed) override;

    void Look();
    void Connect();
    void Answered(const dbus::Reply& reply, bool isClaim);
    void Accepted(bool isConnected);
    GattReason WhyEnded() const;
    void End(GattReason why);

    std::optional<bluez::Characteristic> Find(const Key& key) const;
    std::uint64_t Begin(OnRead done);
    void Finish(std::uint64_t number, GattStatus result, const Bytes& value = {});
    void Fail(std::uint64_t number, const dbus::Error& error);
    void FinishLater(std::uint64_t number, GattStatus result);
    void FinishDiscoveries();
    void Update();
    void AskMtu();
    bool Uncount();
    void Leave();
    void SubscribeAgain();
    std::unique_ptr<GattNotifications::Subscription> SubscribeTo(
        const bluez::Characteristic& characteristic, const Key& key,
        GattNotifications::Established established);

    GattCentral& central_;
    Stack& stack_;
    std::uint64_t address_;
    bool isCounted_ = true;  // among the device's links
    Callbacks callbacks_;
    State state_ = State::kSearching;
    std::optional<bluez::Device> device_;
    std::optional<Discovery::Hold> search_;
    std::vector<dbus::Bus::Slot> attempts_;
    int claims_ = 0;  // how many of them may establish, or have established, the connection
    bool isAccepted_ = false;  // BlueZ has connected
    Loop::Timer limit_;
    Loop::Timer later_;
    std::uint64_t lastOperation_ = 0;
    std::map<std::uint64_t, Operation> operations_;
    std::vector<std::uint64_t> discoveries_;
    GattRemote remote_;
    bool isMtuKnown_ = false;
    dbus::Bus::Slot askingMtu_;
    // Empty while the device does not show the characteristic.
    std::map<Key, std::unique_ptr<GattNotifications::Subscription>> subscriptions_;
    std::set<Key> subscribing_;  // those that are not established yet
    std::shared_ptr<void> alive_ = std::make_shared<char>();
};

}  // namespace pelacon::service::linux_radios::bluetooth
