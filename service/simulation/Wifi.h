// The simulated Wi-Fi adapter.
#pragma once

#include <service/base/Scheduler.h>
#include <service/radio/Wifi.h>
#include <service/simulation/Stack.h>
#include <service/simulation/WifiConfig.h>

#include <utility>
#include <vector>

namespace pelacon::service::simulation {

class Wifi : public radio::Wifi {
  public:
    Wifi(Scheduler& scheduler, Stack& stack, const WifiConfig& config)
        : scheduler_(scheduler), stack_(stack), config_(config), on_(config.on), goal_(config.on)
    {}

    bool IsOn() const override { return on_; }
    void Switch(bool on, radio::OutcomeDone done) override;
    std::uint64_t Address() const override { return config_.address; }
    const std::vector<Channel>& Channels() const override { return config_.channels; }
    std::optional<Connection> CurrentConnection() const override
    {
        return on_ ? config_.connected : std::nullopt;
    }

    /// For the simulation: switches at once, as when the card is inserted or removed.
    void SwitchNow(bool on);

    /// For the simulation: connects to this access point, or disconnects.
    void Connect(std::optional<Connection> connection)
    {
        config_.connected = std::move(connection);
    }

  private:
    void Enter(bool on);
    void Refuse(radio::Outcome why);
    void EndSwitching(radio::Outcome outcome);

    Scheduler& scheduler_;
    Stack& stack_;
    WifiConfig config_;
    bool on_;
    bool goal_;
    Timer switching_;
    std::vector<radio::OutcomeDone> done_;  // of calls that wait for the goal
};

}  // namespace pelacon::service::simulation
