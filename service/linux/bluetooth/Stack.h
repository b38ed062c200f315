// Follows BlueZ and the adapter that is used.
#pragma once

#include <service/base/Interface.h>
#include <service/base/ObserverList.h>
#include <service/linux/Loop.h>
#include <service/linux/bluetooth/Bluez.h>
#include <service/linux/dbus/ServiceLink.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

/// Connects to the system's bus, follows BlueZ on it, and chooses an adapter, each time that one of
/// them appears or disappears. Used, and its observers called, in the loop's thread.
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
    class Observer : public Interface {
      public:
        /// The adapter appeared, disappeared, or has other properties; or the reason why there is
        /// none changed.
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

    /// Uses the adapter with this name ("hci1"); if the name is empty, the first one that there is,
    /// until it is removed. `callLimit`: how long a call waits for its answer.
    Stack(Loop& loop, std::string adapterName,
          std::chrono::microseconds callLimit = dbus::Bus::kUsualLimit);

    /// Observers are added before Start, or miss what happened before; removed before their end.
    void Add(Observer& observer) { observers_.Add(observer); }
    void Remove(Observer& observer) noexcept { observers_.Remove(observer); }

    /// Connects to the bus.
    void Start() { link_.Start(); }

    Loop& GetLoop() const noexcept { return loop_; }
    Presence GetPresence() const noexcept { return presence_; }

    /// A new path for an object of this process on the bus.
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
    void Refresh(const std::string& path, const char* interface, const char* property,
                 std::shared_ptr<void> kept = nullptr)
    {
        link_.Mirror().Refresh(path, interface, property, std::move(kept));
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

    Loop& loop_;
    std::string adapterName_;
    std::chrono::microseconds callLimit_;
    std::uint64_t lastPath_ = 0;
    ObserverList<Observer> observers_;
    Presence presence_ = Presence::kUnknown;
    std::optional<bluez::Adapter> adapter_;
    dbus::ServiceLink link_;
};

/// Text for operators.
const char* TextOf(Stack::Presence presence);

}  // namespace pelacon::service::linux_radios::bluetooth
