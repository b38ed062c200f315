// Connections to other devices, and what is done with their characteristics.
#pragma once

#include <protocol/Uuid.h>
#include <service/linux/bluetooth/Discovery.h>
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

/// What became of an operation.
enum class GattResult : std::uint8_t {
    kDone,
    kBusy,
    kInvalidValue,
    kNotConnected,
    kNotFound,
    kNotPermitted,
    kUnreachable,  ///< no answer, or one that has no better word
    kNotSupported,
};

/// What an error of BlueZ means for an operation on a characteristic.
GattResult GattResultOf(const dbus::Error& error);

/// Why a link did not come up, or is over.
enum class LinkEnd : std::uint8_t { kNotEstablished, kPeer, kAdapterGone };

/// One connection to a device, from the attempt on; in the loop's thread. Links to the same device
/// share its connection, which ends with the last of them. Callbacks are called later, never in a
/// call, and not any more once the link is destroyed; they may destroy it.
class GattLink : private Stack::Observer {
  public:
    using Bytes = dbus::Bytes;
    using Done = std::function<void(GattResult)>;
    using OnRead = std::function<void(GattResult, const Bytes&)>;
    /// A characteristic, by its service's UUID and its own.
    using Key = std::pair<Uuid, Uuid>;

    struct Callbacks {
        std::function<void()> connected;
        /// Nothing else is called afterwards but what is under way, which ends in kNotConnected
        /// before.
        std::function<void(LinkEnd)> ended;
        std::function<void(const Key&, const Bytes&, bool isIndication)> notified;
    };

    /// How long an attempt may take, and a discovery of services.
    static constexpr std::chrono::seconds kConnectLimit{20};
    static constexpr std::chrono::seconds kDiscoverLimit{30};

    /// What the links of a stack know of each other.
    struct Users {
        std::map<std::uint64_t, int> links;  // how many each device has
        /// Devices that are being disconnected: BlueZ takes two seconds for it, in which it calls
        /// them connected, and takes an attempt to connect for done. Kept for the answer that tells
        /// when.
        std::shared_ptr<std::set<std::uint64_t>> leaving =
            std::make_shared<std::set<std::uint64_t>>();
    };

    GattLink(Stack& stack, Discovery& discovery, Users& users, std::uint64_t address,
             Callbacks callbacks);

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

    /// Values that come through a socket, each once.
    class Packets;
    struct Subscription {
        std::unique_ptr<Packets> packets;  // none: they come as changes of the property
        std::string path;
        bool isIndication = false;
    };
    /// Something under way.
    struct Operation {
        dbus::Bus::Slot call;
        OnRead done;
        std::string reading;  // the path, where it is a read
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
    void BecomeUp();
    void End(LinkEnd why);
    void EndSubscription(const Subscription& subscription);

    std::optional<bluez::Characteristic> Find(const Key& key) const;
    std::uint64_t Begin(OnRead done);
    void Finish(std::uint64_t number, GattResult result, const Bytes& value = {});
    void FinishLater(std::uint64_t number, GattResult result);
    void FinishDiscoveries();
    void AskMtu();
    void Disconnect();
    void CallOn(const bluez::Characteristic& characteristic, const char* method,
                const dbus::Arguments& arguments, std::uint64_t number,
                std::function<void(const dbus::Reply&)> succeeded);
    void Acquire(const Key& key, const bluez::Characteristic& characteristic, std::uint64_t number);
    void StartNotify(const Key& key, const bluez::Characteristic& characteristic,
                     std::uint64_t number);

    Stack& stack_;
    Discovery& discovery_;
    Users& users_;
    std::uint64_t address_;
    Callbacks callbacks_;
    State state_ = State::kSearching;
    std::optional<bluez::Device> device_;
    std::optional<Discovery::Hold> search_;
    dbus::Bus::Slot connecting_;
    Loop::Timer limit_;
    Loop::Timer later_;
    std::uint64_t lastOperation_ = 0;
    std::map<std::uint64_t, Operation> operations_;
    std::vector<std::uint64_t> discoveries_;
    std::int32_t mtu_;
    dbus::Bus::Slot askingMtu_;
    std::map<Key, Subscription> subscriptions_;
    std::map<std::string, int> reading_;  // paths whose value is being read
    std::shared_ptr<void> alive_ = std::make_shared<char>();
};

}  // namespace pelacon::service::linux_radios::bluetooth
