// Advertisements that the controller sends, in turns if there are several.
#pragma once

#include <service/linux/bluetooth/AdapterControl.h>
#include <service/linux/bluetooth/KernelItems.h>
#include <service/linux/bluetooth/ManagementLink.h>
#include <service/linux/bluetooth/Stack.h>
#include <service/linux/dbus/ObjectTree.h>
#include <service/radio/Advertiser.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace pelacon::service::linux_radios::bluetooth {

/// Advertises through the management socket if this process may use it (CAP_NET_ADMIN), byte for
/// byte. Otherwise through BlueZ, which assembles the advertisement from its fields. Neither lets
/// the channels be chosen. In the loop's thread.
class Advertisements : private Stack::Observer {
  public:
    enum class Way : std::uint8_t { kNone, kRaw, kRebuilt };

    using OnOutcome = std::function<void(radio::Outcome)>;
    /// `wayChanged` is called when the way changes otherwise than with the adapter.
    Advertisements(
        Stack& stack, KernelItems& items, ManagementLink::OpenSocket open,
        std::function<void()> wayChanged = [] {});
    ~Advertisements() override;

    /// Begins to advertise. `started` is called once, later; `ended` once after success, if it ends
    /// by itself. Returns a number for Remove, never the same again.
    std::uint64_t Add(radio::Advertising wanted, OnOutcome started, OnOutcome ended);

    /// Ends the advertisement, and calls nothing for it any more. Does nothing if it has ended.
    void Remove(std::uint64_t number);

    Way GetWay() const noexcept { return way_; }

  private:
    struct Entry {
        radio::Advertising wanted;
        OnOutcome started;  // empty once it was called
        OnOutcome ended;
        bool isOnAir = false;
        std::optional<KernelItems::Item> instance;  // raw
        std::string path;                           // rebuilt: its object on the bus
        std::unique_ptr<dbus::ObjectTree> object;
        dbus::Bus::Slot call;
        Loop::Timer later;
    };

    void AdapterChanged() override;
    bool OpenManagement();
    void GoThroughBluez(std::uint64_t number);
    void RemoveLeftovers();
    void Received(const ManagementEvent& event);

    void Begin(std::uint64_t number);
    void BeginRaw(std::uint64_t number, const AdvertisingFeatures& features);
    void SendData(std::uint64_t number);
    void BeginRebuilt(std::uint64_t number);
    void Started(std::uint64_t number);
    void Failed(std::uint64_t number, radio::Outcome why);
    void FailAll(radio::Outcome why);
    void Withdraw(Entry& entry);
    void RemoveInstance(const KernelItems::Item& instance);

    std::uint16_t Controller() const;

    Stack& stack_;
    KernelItems& items_;
    std::function<void()> wayChanged_;
    Way way_ = Way::kNone;
    bool isOn_ = false;    // the adapter
    std::string adapter_;  // its path
    ManagementLink management_;
    std::uint64_t lastNumber_ = 0;
    std::map<std::uint64_t, Entry> entries_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
