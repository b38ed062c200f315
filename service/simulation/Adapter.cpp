#include <service/simulation/Adapter.h>

namespace pelacon::service::simulation {

using radio::AdapterState;

Adapter::Adapter(Scheduler& scheduler, const AdapterConfig& config)
    : scheduler_(scheduler),
      config_(config),
      state_(config.on ? AdapterState::kOn : AdapterState::kOff)
{
    for (const ConnectedDevice& device : config.connected) {
        SetConnected(device.address, device.type, true);
    }
}

void Adapter::SwitchOn()
{
    Switch(AdapterState::kTurningOn, AdapterState::kOn, config_.turnOnDelay);
}

void Adapter::SwitchOff()
{
    Switch(AdapterState::kTurningOff, AdapterState::kOff, config_.turnOffDelay);
}

bool Adapter::IsConnected(std::uint64_t address, radio::BluetoothType type) const
{
    return IsOn() && connected_.contains({type, address});
}

void Adapter::SetConnected(std::uint64_t address, radio::BluetoothType type, bool connected)
{
    if (connected) {
        connected_.emplace(type, address);
    } else {
        connected_.erase({type, address});
    }
}

void Adapter::Switch(AdapterState onTheWay, AdapterState goal, Scheduler::Duration delay)
{
    if (state_ == goal || state_ == onTheWay) {
        return;
    }
    switching_ = scheduler_.After(delay, [this, goal] { Enter(goal); });
    Enter(onTheWay);
}

void Adapter::Enter(AdapterState state)
{
    state_ = state;
    stateObservers_(state);
}

}  // namespace pelacon::service::simulation
