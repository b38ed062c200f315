// A copy of the objects that another program has on the bus.
#pragma once

#include <service/base/Interface.h>
#include <service/linux/dbus/Bus.h>
#include <service/linux/dbus/NameWatch.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::dbus {

/// Keeps a copy of all objects of a service that has an ObjectManager, and reports its changes. In
/// the loop's thread.
class ObjectMirror {
  public:
    /// Called after each change of the copy. Must not destroy the mirror.
    class Observer : public Interface {
      public:
        /// The service is on the bus, and the copy is complete.
        virtual void Appeared() = 0;

        /// The service is not on the bus, or does not answer. Removed was called before for each
        /// object that the copy had.
        virtual void Vanished() = 0;

        virtual void Added(const std::string& path, const std::string& interface) = 0;

        /// The interface was removed from the copy.
        virtual void Removed(const std::string& path, const std::string& interface,
                             const Properties& last) = 0;

        /// `changed` has what the signal had; a property that became invalid is absent in the copy.
        virtual void Changed(const std::string& path, const std::string& interface,
                             const Properties& changed) = 0;
    };

    using Objects = std::map<std::string, Interfaces>;

    /// How long until a service that did not list its objects is called again.
    static constexpr std::chrono::seconds kNextTry{3};

    /// The manager is at the path `root`. Bus and observer outlive the mirror.
    ObjectMirror(Bus& bus, const std::string& service, std::string root, Observer& observer);

    ObjectMirror(const ObjectMirror&) = delete;
    ObjectMirror& operator=(const ObjectMirror&) = delete;

    /// When the service disappears, this is false before the first object is removed.
    bool IsThere() const noexcept { return isThere_; }
    const Objects& All() const noexcept { return objects_; }

    /// The unique bus name of the service; empty if it is not on the bus.
    const std::string& Owner() const noexcept { return owner_; }

    /// Why a service that is there has not listed its objects; nothing before its first answer.
    const std::optional<Error>& WhyUnknown() const noexcept { return whyUnknown_; }

    /// Null if there is no such object, or it has no such interface.
    const Properties* Find(const std::string& path, const std::string& interface) const;

    /// Reads a property that may change without a signal. The observer is called as for a change,
    /// even if the copy has that value already, but not if there is no such property. `kept` is
    /// released afterwards.
    void Refresh(const std::string& path, const std::string& interface, const std::string& property,
                 std::shared_ptr<void> kept = nullptr);

  private:
    void OwnerIs(const std::string& owner);
    void Ask();
    void Picture(const Reply& reply);
    void Heard(const Signal& signal);
    void Insert(const std::string& path, const Interfaces& interfaces);
    void Remove(const std::string& path, const std::string& interface);
    void Change(const std::string& path, const std::string& interface, const Properties& changed,
                const std::vector<std::string>& invalidated);
    void Clear();

    Bus& bus_;
    std::string root_;
    Observer& observer_;
    std::string owner_;
    bool isThere_ = false;
    std::optional<Error> whyUnknown_;
    Objects objects_;
    Bus::Slot pictureCall_;
    Loop::Timer next_;
    Bus::Slot managed_;
    Bus::Slot changes_;
    std::uint64_t lastRefresh_ = 0;
    std::map<std::uint64_t, Bus::Slot> refreshes_;
    NameWatch name_;
};

}  // namespace pelacon::service::linux_radios::dbus
