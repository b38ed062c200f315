// Has the controller send advertisements, several by turns.
#pragma once

#include <service/linux/bluetooth/AdapterControl.h>
#include <service/linux/bluetooth/Management.h>
#include <service/linux/bluetooth/Stack.h>
#include <service/linux/dbus/ObjectTree.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

/// What is to be sent.
struct OutgoingAdvertisement {
    bool isConnectable = true;
    std::chrono::milliseconds shortestInterval{100};
    std::chrono::milliseconds longestInterval{100};
    std::int8_t txPower = 0;
    std::vector<std::uint8_t> data;
    std::vector<std::uint8_t> scanResponse;
};

/// Advertises through the management socket where this process may (CAP_NET_ADMIN): each byte is as
/// it was given. Else through BlueZ, which puts the advertisement together again from its fields.
/// In the loop's thread.
class Advertisements : private Stack::Observer {
  public:
    enum class Way : std::uint8_t { kNone, kRaw, kRebuilt };

    using OnOutcome = std::function<void(radio::Outcome)>;
    /// Opens the management socket; throws std::system_error where that cannot be.
    using OpenManagement = std::function<FileDescriptor()>;

    explicit Advertisements(Stack& stack, OpenManagement open);
    ~Advertisements() override;

    /// Begins to advertise under this number, which is not in use. `started` is called once, later;
    /// `ended` once after success, if it ends by itself.
    void Add(std::uint64_t number, OutgoingAdvertisement advertisement, OnOutcome started,
             OnOutcome ended);

    /// Ends it; nothing is called for it any more.
    void Remove(std::uint64_t number);

    Way GetWay() const noexcept { return way_; }

  private:
    struct Entry {
        OutgoingAdvertisement wanted;
        OnOutcome started;  // empty once it was called
        OnOutcome ended;
        bool isOnAir = false;
        std::uint8_t instance = 0;  // raw: which one; 0 for none yet
        std::string path;           // rebuilt: our object
        std::unique_ptr<dbus::ObjectTree> object;
        dbus::Bus::Slot call;
        Loop::Timer later;
    };

    void AdapterChanged() override;
    void OpenSocket();
    void Heard(const ManagementEvent& event);

    void Begin(std::uint64_t number);
    void BeginRaw(std::uint64_t number, const AdvertisingFeatures& features);
    void SendData(std::uint64_t number);
    void BeginRebuilt(std::uint64_t number);
    void Started(std::uint64_t number);
    void Failed(std::uint64_t number, radio::Outcome why);
    void GiveBack(Entry& entry);

    std::uint16_t Controller() const;

    Stack& stack_;
    OpenManagement open_;
    Way way_ = Way::kNone;
    std::unique_ptr<Management> management_;
    std::map<std::uint64_t, Entry> entries_;
    std::set<std::uint8_t> inUse_;  // instances of ours, also those being removed
};

}  // namespace pelacon::service::linux_radios::bluetooth
