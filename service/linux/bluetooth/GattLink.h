// Connections to other devices, and what is done with their characteristics.
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

/// One connection to a device, from the attempt on; in the loop's thread. Links to the same device
/// share its connection, which ends with the last of them. Callbacks are called later, never in a
/// call, and not any more once the link is destroyed; they may destroy it.
class GattLink : private Stack::Observer {
  public:
    using Bytes = dbus::Bytes;
    using Done = std::function<void(GattStatus)>;
    using OnRead = std::function<void(GattStatus, const Bytes&)>;
    /// A characteristic, by its service's UUID and its own.
    using Key = std::pair<Uuid, Uuid>;

    struct Callbacks {
        std::function<void()> connected;
        /// The last call. What is under way has ended with kNotConnected before. kPeer also if the
        /// reason is not known; kLocal also if the adapter is gone, or another program of this
        /// machine ended the connection.
        std::function<void(GattReason)> ended;
        std::function<void(const Key&, const Bytes&, bool isIndication)> notified;
    };

    /// How long until a device is tried again that somebody else is connecting.
    static constexpr std::chrono::milliseconds kNextTry{200};

    GattLink(GattCentral& central, std::uint64_t address, Callbacks callbacks);

    /// Ends the subscriptions, and the connection if this was its last link.
    ~GattLink() override;

    bool IsUp() const noexcept { return state_ == State::kUp; }

    /// 23 as long as it is not known.
    std::int32_t Mtu() const;

    /// `done` once the device's services are known.
    void Discover(Done done);
    bool HasService(const Uuid& service) const;

    void Read(const Key& key, OnRead done);
    void Write(const Key& key, const Bytes& value, Done done);
    void Subscribe(const Key& key, bool enable, Done done);

  private:
    enum class State : std::uint8_t { kSearching, kConnecting, kUp, kOver };

    /// Something under way.
    struct Operation {
        dbus::Bus::Slot call;
        OnRead done;
        std::unique_ptr<GattNotifications::Reading> reading;
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
    void Accepted(bool isConnected);
    GattReason WhyEnded() const;
    void End(GattReason why);

    std::optional<bluez::Characteristic> Find(const Key& key) const;
    std::uint64_t Begin(OnRead done);
    void Finish(std::uint64_t number, GattStatus result, const Bytes& value = {});
    void FinishLater(std::uint64_t number, GattStatus result);
    void FinishDiscoveries();
    void AskMtu();
    void Disconnect();
    void CallOn(const bluez::Characteristic& characteristic, const char* method,
                const dbus::Arguments& arguments, std::uint64_t number,
                std::function<void(const dbus::Reply&)> succeeded);
    GattCentral& central_;
    Stack& stack_;
    std::uint64_t address_;
    Callbacks callbacks_;
    State state_ = State::kSearching;
    std::optional<bluez::Device> device_;
    std::optional<Discovery::Hold> search_;
    dbus::Bus::Slot connecting_;
    bool isAccepted_ = false;  // BlueZ has connected
    Loop::Timer limit_;
    Loop::Timer later_;
    std::uint64_t lastOperation_ = 0;
    std::map<std::uint64_t, Operation> operations_;
    std::vector<std::uint64_t> discoveries_;
    std::int32_t mtu_;
    dbus::Bus::Slot askingMtu_;
    std::map<Key, std::unique_ptr<GattNotifications::Subscription>> subscriptions_;
    std::set<Key> subscribing_;  // those that are not sure yet
    std::shared_ptr<void> alive_ = std::make_shared<char>();
};

}  // namespace pelacon::service::linux_radios::bluetooth
