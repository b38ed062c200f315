// The simulated Bluetooth adapter.
#pragma once

#include <service/base/Scheduler.h>
#include <service/radio/Adapter.h>
#include <service/simulation/AdapterConfig.h>
#include <service/simulation/Deferred.h>
#include <service/simulation/Stack.h>

#include <cstdint>
#include <set>
#include <string>
#include <utility>

namespace pelacon::service::simulation {

class Adapter : public radio::Adapter {
  public:
    Adapter(Scheduler& scheduler, Stack& stack, const AdapterConfig& config);

    radio::AdapterState State() const override { return state_; }
    void Switch(bool on, radio::OutcomeDone done) override;
    std::uint64_t Address() const override { return config_.address; }
    std::string Name() const override { return config_.name; }
    void Rename(std::string name, radio::OutcomeDone done) override;
    bool IsConnected(std::uint64_t address, radio::BluetoothType type) const override;

    /// For other simulated radios: a device connected or disconnected.
    void SetConnected(std::uint64_t address, radio::BluetoothType type, bool connected);

  private:
    bool IsOrWillBe(bool on) const;
    void BeginSwitch(bool on);
    void Enter(radio::AdapterState state);

    Scheduler& scheduler_;
    Stack& stack_;
    AdapterConfig config_;
    radio::AdapterState state_;
    std::set<std::pair<radio::BluetoothType, std::uint64_t>> connected_;
    Timer switching_;
    Deferred underWay_;  // what the stack has not answered yet
};

}  // namespace pelacon::service::simulation
