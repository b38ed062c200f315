// One characteristic of a GATT service of this machine.
#pragma once

#include <protocol/Uuid.h>
#include <service/linux/bluetooth/GattPeers.h>
#include <service/linux/bluetooth/GattStatus.h>
#include <service/linux/bluetooth/Stack.h>
#include <service/linux/dbus/ObjectTree.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

using protocol::Uuid;

/// Answers the calls that BlueZ makes for peers, keeps the list of subscribers, and sends values.
/// In the loop's thread.
class ServedCharacteristic {
  public:
    using Bytes = dbus::Bytes;
    using Done = std::function<void(GattStatus)>;

    /// Operations of peers that the flags permit; see GattService::Callbacks.
    struct Callbacks {
        std::function<std::optional<Bytes>(std::uint64_t peer)> read;
        std::function<void(std::uint64_t peer, const Bytes& value)> written;
        std::function<void(const std::vector<std::uint64_t>& peers)> subscribed;
    };

    /// How many values are sent to BlueZ before it must answer a Ping.
    static constexpr std::size_t kMostAtOnce = 16;
    /// How many values may wait meanwhile, or wait to be confirmed.
    static constexpr std::size_t kMostWaiting = 1024;

    /// The flags are those of service/radio/Gatt.h. Stack and peers outlive it.
    ServedCharacteristic(Stack& stack, GattPeers& peers, const Uuid& uuid, std::int32_t flags,
                         Callbacks callbacks);

    ServedCharacteristic(const ServedCharacteristic&) = delete;
    ServedCharacteristic& operator=(const ServedCharacteristic&) = delete;

    /// Adds its object to a tree, below that of its service. The tree stays until Detach.
    void Attach(dbus::ObjectTree& tree, const std::string& service, const std::string& path);

    /// Removes all subscribers, and ends the indications that wait to be confirmed.
    void Detach();

    /// Calls `subscribed` if the subscribers have changed; to be called when peers connect or
    /// leave.
    void UpdateSubscribers();
    void PeerDisconnected(std::uint64_t peer);

    /// These are as in GattService.
    std::vector<std::uint64_t> Subscribers() const;
    void Notify(const Bytes& value, Done done);
    void NotifyOne(std::uint64_t peer, const Bytes& value, Done done);

  private:
    struct Waiting {
        Bytes value;
        Done done;
    };
    /// A value that is not confirmed yet. BlueZ does not name the peer that has confirmed it, so
    /// only the number of missing confirmations is known.
    struct Indication {
        std::set<std::uint64_t> peers;
        std::size_t missing = 0;
        Done done;
        Loop::Timer limit;
    };
    using Indications = std::list<Indication>;

    /// What BlueZ gives with each call for a peer.
    struct Request {
        std::uint64_t peer = 0;
        std::size_t offset = 0;
    };
    using Answer = void (ServedCharacteristic::*)(const dbus::Incoming&, dbus::Invocation&);

    bool Has(std::int32_t flags) const noexcept { return (flags_ & flags) != 0; }
    dbus::ObjectTree::Handler Handle(Answer answer);
    Request Note(const dbus::Incoming& call, std::size_t options);

    void Read(const dbus::Incoming& call, dbus::Invocation& invocation);
    void Write(const dbus::Incoming& call, dbus::Invocation& invocation);
    void Subscribe(const dbus::Incoming& call, dbus::Invocation& invocation);
    void Start(const dbus::Incoming& call, dbus::Invocation& invocation);
    void Stop(const dbus::Incoming& call, dbus::Invocation& invocation);
    void Confirm(const dbus::Incoming& call, dbus::Invocation& invocation);

    void SendWaiting();
    void Send(Waiting next);
    void Received(GattStatus result);
    void FinishSent(GattStatus result);
    void CallLater(Done done, GattStatus result);
    void Finish(Indications::iterator indication, GattStatus result);

    Stack& stack_;
    GattPeers& peers_;
    Uuid uuid_;
    std::int32_t flags_;
    Callbacks callbacks_;
    dbus::ObjectTree* tree_ = nullptr;
    std::string path_;
    std::set<std::uint64_t> subscribers_;
    std::vector<std::uint64_t> lastSubscribers_;  // as `subscribed` was last called with
    bool isStarted_ = false;  // there are subscribers, of which BlueZ may have named none
    std::deque<Waiting> waiting_;
    std::vector<Done> sent_;  // notifications that BlueZ may not have received
    dbus::Bus::Slot asking_;  // whether BlueZ has received them
    Loop::Timer unanswered_;
    Indications indications_;
    std::map<std::uint64_t, Bytes> readParts_;     // the value that each peer reads part by part
    std::map<std::uint64_t, Bytes> writtenParts_;  // what each peer wrote so far
    std::uint64_t lastCall_ = 0;
    std::map<std::uint64_t, Loop::Timer> calls_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
