// Whether the controller reports repeated advertisements.
#pragma once

#include <service/linux/bluetooth/KernelItems.h>
#include <service/linux/bluetooth/ManagementLink.h>
#include <service/linux/bluetooth/Stack.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>

namespace pelacon::service::linux_radios::bluetooth {

/// While BlueZ discovers, the controller may report an advertisement that is repeated unchanged
/// only once in ten seconds. It reports all while there is an advertisement monitor, which a
/// process with CAP_NET_ADMIN can add. BlueZ continues its discovery every ten seconds or so: a
/// discovery that is under way is filtered until then. In the loop's thread.
class DuplicateFilter : private Stack::Observer {
  public:
    enum class State : std::uint8_t {
        kOn,
        kOff,
        kRefused,  ///< it is to be off, but the kernel refuses
    };

    /// How long after the kernel was busy it is tried again.
    static constexpr std::chrono::seconds kNextTry{1};

    DuplicateFilter(Stack& stack, KernelItems& items, ManagementLink::OpenSocket open);
    ~DuplicateFilter() override;

    /// Whether the filter is to be off. After a refusal, that is tried again only when it was not
    /// wanted in between, or the adapter was off.
    void SetOff(bool off);

    State GetState() const noexcept;

  private:
    using Item = KernelItems::Item;

    void AdapterChanged() override;
    void Received(const ManagementEvent& event);

    /// The controller that is to have a monitor, if any.
    std::optional<std::uint16_t> WantedOn() const;
    /// A monitor, of this service or an earlier one, that is to be removed.
    std::optional<Item> Unwanted() const;
    void Fit();
    void Add(std::uint16_t controller);
    void Remove(const Item& monitor);
    void Forget(const Item& monitor);

    Stack& stack_;
    KernelItems& items_;
    bool isToBeOff_ = false;
    bool isRefused_ = false;
    bool isBusy_ = false;  // a command is under way
    std::optional<Item> monitor_;
    std::set<Item> stuck_;  // could not be removed; tried again once the adapter is on
    bool isOn_ = false;     // the adapter
    Loop::Timer next_;
    ManagementLink management_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
