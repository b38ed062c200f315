// NetworkManager, as it comes and goes: its Wi-Fi switch, and what its devices are connected to.
#pragma once

#include <service/linux/Loop.h>
#include <service/linux/dbus/NameWatch.h>
#include <service/linux/dbus/ServiceLink.h>
#include <service/radio/Outcome.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace pelacon::service::linux_radios::wifi {

/// In the loop's thread.
class NetworkManager : private dbus::ObjectMirror::Observer {
  public:
    using Done = std::function<void(radio::Outcome)>;

    struct Network {
        std::string ssid;
        std::uint32_t frequency = 0;  ///< in MHz
    };

    /// `changed` is called on each change; must not destroy this.
    NetworkManager(Loop& loop, std::function<void()> changed);

    NetworkManager(const NetworkManager&) = delete;
    NetworkManager& operator=(const NetworkManager&) = delete;

    /// How long a NetworkManager may take to list its objects, before it counts as absent until it
    /// has listed them.
    static constexpr std::chrono::milliseconds kPatience{1500};

    /// Begins to look.
    void Start();

    /// False until it is known whether it is there, or else wpa_supplicant; or the time is up.
    bool IsKnown() const noexcept { return isKnown_; }

    bool HasBus() const noexcept { return link_.IsConnected(); }
    bool IsThere() const { return HasBus() && link_.Mirror().IsThere(); }
    std::string Version() const;

    /// Whether wpa_supplicant is on the bus. Not looked for while NetworkManager is there.
    bool HasSupplicant() const noexcept { return hasSupplicant_; }

    /// Whether Wi-Fi is switched on, and no switch of the machine keeps it off. False if
    /// NetworkManager is not there.
    bool IsOn() const;
    bool IsBlocked() const;

    /// Whether it looks after this interface.
    bool Manages(const std::string& interface) const;

    /// What an interface that it looks after is connected to.
    std::optional<Network> NetworkOf(const std::string& interface) const;

    /// Switches Wi-Fi for the whole machine, if NetworkManager is there. `done` is called once,
    /// later, when it has accepted or refused; not if there is another call before.
    void Switch(bool on, Done done);

  private:
    const dbus::Properties* Main() const;
    const std::string* DeviceOf(const std::string& interface) const;
    void Look();

    void Appeared() override;
    void Vanished() override;
    void Added(const std::string& path, const std::string& interface) override;
    void Removed(const std::string& path, const std::string& interface,
                 const dbus::Properties& last) override;
    void Changed(const std::string& path, const std::string& interface,
                 const dbus::Properties& changed) override;

    std::function<void()> changed_;
    Loop& loop_;
    bool isKnown_ = false;
    bool hasSupplicant_ = false;
    dbus::ServiceLink link_;
    std::optional<dbus::NameWatch> supplicant_;
    dbus::Bus::Slot switching_;
    Loop::Timer patience_;
};

/// What an error of NetworkManager means for the switch.
radio::Outcome OutcomeOf(const dbus::Error& error);

}  // namespace pelacon::service::linux_radios::wifi
