// BlueZ and the adapter that is used, as they come and go.
#pragma once

#include <service/linux/Loop.h>
#include <service/linux/bluetooth/Bluez.h>
#include <service/linux/dbus/ServiceLink.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

/// Connects to the system's bus, follows BlueZ on it, and chooses an adapter; again each time that
/// one of them comes or goes. In the loop's thread, as are its observers.
class Stack : private dbus::ObjectMirror::Observer {
  public:
    enum class Presence : std::uint8_t {
        kUnknown,
        kNoBus,
        kNoBluez,
        kForbidden,  ///< the bus does not let this process use BlueZ
        kSilent,     ///< BlueZ does not list its objects
        kNoAdapter,
        kThere
    };

    /// Called on changes, in the order of registration. Must not destroy the stack; may destroy
    /// observers.
    class Observer {
      public:
        Observer() = default;
        virtual ~Observer() = default;
        Observer(const Observer&) = delete;
        Observer& operator=(const Observer&) = delete;

        /// The adapter came, went, or has other properties; or the reason why there is none
        /// changed.
        virtual void AdapterChanged() = 0;

        /// Of objects of any kind and any adapter.
        virtual void ObjectAdded(const std::string& /*path*/, const std::string& /*interface*/) {}
        virtual void ObjectRemoved(const std::string& /*path*/, const std::string& /*interface*/,
                                   const dbus::Properties& /*last*/)
        {}
        virtual void ObjectChanged(const std::string& /*path*/, const std::string& /*interface*/,
                                   const dbus::Properties& /*changed*/)
        {}
    };

    /// The adapter by its name ("hci1"), or the first one, as long as it is there, if the name is
    /// empty. `callLimit` is how long a call waits for its answer.
    Stack(Loop& loop, std::string adapterName,
          std::chrono::microseconds callLimit = dbus::Bus::kUsualLimit);

    /// Observers are added before Start, or miss what happened before; removed before their end.
    void Add(Observer& observer) { observers_.push_back(&observer); }
    void Remove(Observer& observer) noexcept { std::erase(observers_, &observer); }

    /// Begins to look.
    void Start() { link_.Start(); }

    Loop& GetLoop() const noexcept { return loop_; }
    Presence GetPresence() const noexcept { return presence_; }

    /// A new path for an object of ours on the bus.
    std::string NewPath(const char* kind)
    {
        return std::string("/pelacon/") + kind + std::to_string(++lastPath_);
    }

    /// Nothing if there is none.
    const std::optional<bluez::Adapter>& Adapter() const noexcept { return adapter_; }

    /// These exist while there is an adapter.
    dbus::Bus& Bus() const { return link_.GetBus(); }
    const dbus::ObjectMirror& Mirror() const { return link_.Mirror(); }

    /// As ObjectMirror::Refresh.
    void Refresh(const std::string& path, const char* interface, const char* property)
    {
        link_.Mirror().Refresh(path, interface, property);
    }

    /// Calls a method of the adapter, or of one of its objects; as Bus::Call. The limit is the
    /// stack's if none is given.
    [[nodiscard]] dbus::Bus::Slot Call(
        const std::string& path, const char* interface, const char* method,
        const dbus::Arguments& arguments, dbus::Bus::OnReply done,
        std::optional<std::chrono::microseconds> limit = std::nullopt);

  private:
    void Look();
    Presence WhyNoObjects() const;
    std::optional<bluez::Adapter> WantedAdapter() const;

    void Appeared() override { Look(); }
    void Vanished() override { Look(); }
    void Added(const std::string& path, const std::string& interface) override;
    void Removed(const std::string& path, const std::string& interface,
                 const dbus::Properties& last) override;
    void Changed(const std::string& path, const std::string& interface,
                 const dbus::Properties& changed) override;

    template <typename Tell>
    void ForEachObserver(const Tell& tell)
    {
        for (Observer* const observer : std::vector(observers_)) {
            if (std::find(observers_.begin(), observers_.end(), observer) != observers_.end()) {
                tell(*observer);
            }
        }
    }

    Loop& loop_;
    std::string adapterName_;
    std::chrono::microseconds callLimit_;
    std::uint64_t lastPath_ = 0;
    std::vector<Observer*> observers_;
    Presence presence_ = Presence::kUnknown;
    std::optional<bluez::Adapter> adapter_;
    dbus::ServiceLink link_;
};

/// For people.
const char* TextOf(Stack::Presence presence);

}  // namespace pelacon::service::linux_radios::bluetooth
