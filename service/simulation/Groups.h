// Simulated groups.
#pragma once

#include <service/base/Scheduler.h>
#include <service/radio/Groups.h>
#include <service/simulation/GroupConfig.h>
#include <service/simulation/Stack.h>
#include <service/simulation/Wifi.h>
#include <service/simulation/WifiCards.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::service::simulation {

/// They use the last interface of the machine.
class Groups : public radio::Groups {
  public:
    Groups(Scheduler& scheduler, Stack& stack, Wifi& wifi, const GroupConfig& config,
           const WifiCardsConfig& cards);

    bool Exists() const override { return channel_ != 0; }
    bool IsCreating() const override { return creating_.IsPending(); }
    radio::Group Describe() const override;
    const std::vector<radio::Station>& Stations() const override { return stations_; }
    std::optional<radio::WifiInterface> NetworkInterface() const override { return interface_; }
    void Create(std::int32_t channel, Done done) override;
    void Remove(Done done) override;
    void Rename(std::string ssid, std::string passPhrase) override;
    void Move(std::int32_t channel, Done done) override;

    /// For the simulation: a station joins, with the next free IP address if it has none. False if
    /// there is no group, or the station has joined already.
    bool Join(std::uint64_t station, std::optional<std::string> ipAddress);

    /// A station leaves; false if it has not joined.
    bool Leave(std::uint64_t station);

  private:
    struct Name {
        std::string ssid;
        std::string passPhrase;
    };

    struct Moving {
        Timer timer;
        Done done;
    };

    CreationConfig NextCreation();
    void TakeNewName();
    void EndCreation(radio::GroupOutcome outcome, std::int32_t channel);
    void EndMove(std::list<Moving>::iterator move, std::int32_t channel,
                 radio::GroupOutcome outcome);
    void EndGroup(radio::GroupOutcome reason);
    void AwaitStations();
    void OnWifiSwitched(bool on);
    std::string FreeIpAddress() const;

    Scheduler& scheduler_;
    Stack& stack_;
    Wifi& wifi_;
    GroupConfig config_;
    std::optional<radio::WifiInterface> interface_;
    std::optional<Name> newName_;  // for the next group
    std::size_t creations_ = 0;
    std::int32_t channel_ = 0;  // 0: there is no group
    std::vector<radio::Station> stations_;
    Done created_;
    std::vector<Done> removed_;
    std::list<Moving> moves_;
    std::vector<Timer> comings_;  // and leaves of stations
    Timer creating_;
    Timer removing_;
};

}  // namespace pelacon::service::simulation
