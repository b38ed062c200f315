// Wi-Fi Direct groups of which this machine is the owner. A soft AP is one, to the radio.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::radio {

/// How long to wait for what becomes of a group; no radio takes as long.
inline constexpr std::chrono::minutes kGroupPatience{15};

/// What became of a group, or why.
enum class GroupOutcome : std::uint8_t {
    kDone,
    kWifiOff,  ///< the adapter is switched off
    kBusy,     ///< there is a group already, or one is being made
    kNoGroup,  ///< there is none to remove
    kFailed,   ///< the radio could not make it
    kAborted,  ///< it was removed before it was made
};

struct Group {
    std::string ssid;
    std::string passPhrase;
    std::uint64_t address = 0;  ///< the owner's, in the low six bytes, first octet most significant
    std::string ipAddress;      ///< the owner's, dotted
    std::int32_t channel = 0;
};

/// A device that joined the group.
struct Station {
    std::uint64_t address = 0;
    std::string ipAddress;  ///< dotted; empty when it has none
};

/// The part of a Wi-Fi adapter that opens groups, one at a time. Called under the world's lock, and
/// calls back under it.
class Groups {
  public:
    using Done = std::function<void(GroupOutcome)>;
    using GroupObserver = std::function<void(bool exists, GroupOutcome reason)>;
    using StationObserver = std::function<void(const Station& station, bool joined)>;

    Groups() = default;
    virtual ~Groups() = default;
    Groups(const Groups&) = delete;
    Groups& operator=(const Groups&) = delete;

    virtual bool Exists() const = 0;

    /// Whether one is being made.
    virtual bool IsCreating() const = 0;

    /// The group, or what one would be; its channel is 0 then.
    virtual Group Describe() const = 0;

    virtual const std::vector<Station>& Stations() const = 0;

    /// Begins to make a group on this channel, which the adapter may use. `done` is called once, in
    /// the call or later; the observers hear of it before, also of a failure.
    virtual void Create(std::int32_t channel, Done done) = 0;

    /// Begins to remove the group, or ends the making of one; `done` likewise. The observers hear
    /// of the stations first, each of which leaves.
    virtual void Remove(Done done) = 0;

    /// What groups are called from the next one on.
    virtual void Rename(std::string ssid, std::string passPhrase) = 0;

    /// Has the group go on on another channel, which the adapter may use. Nothing happens where
    /// there is none.
    virtual void Move(std::int32_t channel) = 0;

    /// Have the observer told of each change, after those who came before it. Observers live as
    /// long as the radio.
    virtual void ObserveGroup(GroupObserver observer) = 0;
    virtual void ObserveStations(StationObserver observer) = 0;
};

}  // namespace pelacon::service::radio
