// Wi-Fi Direct groups that this machine owns. For the radio, a soft AP is such a group, too.
#pragma once

#include <service/base/Interface.h>
#include <service/base/Observers.h>
#include <service/radio/WifiCards.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::service::radio {

/// How long to wait for the creation or removal of a group. No radio takes that long.
inline constexpr std::chrono::minutes kGroupPatience{15};

/// The result of creating or removing a group, or why a group is gone.
enum class GroupOutcome : std::uint8_t {
    kDone,
    kWifiOff,       ///< the adapter is switched off
    kBusy,          ///< there is a group, or one is being created
    kNoGroup,       ///< there is no group to remove
    kNotPermitted,  ///< this process may not do it
    kFailed,        ///< the radio could not create it
    kAborted,       ///< it was removed while it was being created
};

struct Group {
    std::string ssid;
    std::string passPhrase;
    std::uint64_t address = 0;  ///< the owner's, in the low six bytes; first octet most significant
    std::string ipAddress;      ///< the owner's, dotted
    std::int32_t channel = 0;
};

/// A device that joined the group. It has joined when its IP address is known, or 5 s after its
/// radio has.
struct Station {
    std::uint64_t address = 0;
    std::string ipAddress;  ///< dotted; empty if it has none
};

/// The part of a Wi-Fi adapter that owns groups, one at a time.
class Groups : public Interface {
  public:
    using Done = std::function<void(GroupOutcome)>;

    virtual bool Exists() const = 0;

    /// Whether a group is being created.
    virtual bool IsCreating() const = 0;

    /// The group, or the one that would be created; its channel is 0 then.
    virtual Group Describe() const = 0;

    virtual const std::vector<Station>& Stations() const = 0;

    /// The network interface that it uses, if it has one.
    virtual std::optional<WifiInterface> NetworkInterface() const = 0;

    /// Begins to create a group on this channel, which the adapter may use. `done` is called once,
    /// in the call or later, after the observers, which are called on failure, too.
    virtual void Create(std::int32_t channel, Done done) = 0;

    /// Begins to remove the group, or aborts its creation; `done` likewise. Before that, the
    /// station observers are called for each station, which leaves.
    virtual void Remove(Done done) = 0;

    /// Names the next groups.
    virtual void Rename(std::string ssid, std::string passPhrase) = 0;

    /// Begins to move the group to another channel, which the adapter may use. `done` is called
    /// once, in the call or later, after the observers; with kNoGroup if there is no group (any
    /// more).
    virtual void Move(std::int32_t channel, Done done) = 0;

    /// The observer is called when a group was created or is gone, and when a creation failed. It
    /// must live as long as the radio, like the next one.
    void ObserveGroup(std::function<void(bool exists, GroupOutcome reason)> observer)
    {
        groupObservers_.Add(std::move(observer));
    }

    /// The observer is called when a station joined or left.
    void ObserveStations(std::function<void(const Station& station, bool joined)> observer)
    {
        stationObservers_.Add(std::move(observer));
    }

  protected:
    Observers<bool, GroupOutcome> groupObservers_;
    Observers<Station, bool> stationObservers_;
};

}  // namespace pelacon::service::radio
