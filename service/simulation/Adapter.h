// The simulated Bluetooth adapter.
#pragma once

#include <service/base/Scheduler.h>
#include <service/radio/Adapter.h>
#include <service/simulation/AdapterConfig.h>

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::service::simulation {

class Adapter : public radio::Adapter {
  public:
    Adapter(Scheduler& scheduler, const AdapterConfig& config);

    radio::AdapterState State() const override { return state_; }
    void SwitchOn() override;
    void SwitchOff() override;
    std::uint64_t Address() const override { return config_.address; }
    std::string Name() const override { return config_.name; }
    void Rename(std::string name) override { config_.name = std::move(name); }
    bool IsConnected(std::uint64_t address, radio::BluetoothType type) const override;

    /// For other simulated radios: a device connected or disconnected.
    void SetConnected(std::uint64_t address, radio::BluetoothType type, bool connected);

  private:
    void Switch(radio::AdapterState onTheWay, radio::AdapterState goal, Scheduler::Duration delay);
    void Enter(radio::AdapterState state);

    Scheduler& scheduler_;
    AdapterConfig config_;
    radio::AdapterState state_;
    std::set<std::pair<radio::BluetoothType, std::uint64_t>> connected_;
    Timer switching_;
};

}  // namespace pelacon::service::simulation
