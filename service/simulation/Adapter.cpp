#include <service/simulation/Adapter.h>

#include <utility>

namespace pelacon::service::simulation {

using radio::AdapterState;
using radio::Outcome;

Adapter::Adapter(Scheduler& scheduler, Stack& stack, const AdapterConfig& config)
    : scheduler_(scheduler),
      stack_(stack),
      config_(config),
      state_(config.on ? AdapterState::kOn : AdapterState::kOff),
      underWay_(scheduler)
{
    for (const ConnectedDevice& device : config.connected) {
        SetConnected(device.address, device.type, true);
    }
}

void Adapter::Switch(bool on, radio::OutcomeDone done)
{
    if (IsOrWillBe(on)) {
        done(Outcome::kDone);
        return;
    }
    const StackBehaviour behaviour = stack_.Next(StackOperation::kSwitch);
    underWay_.Run(behaviour.delay, [this, on, outcome = behaviour.outcome, done = std::move(done)] {
        if (outcome == Outcome::kDone && !IsOrWillBe(on)) {
            BeginSwitch(on);
        }
        done(outcome);
    });
}

void Adapter::Rename(std::string name, radio::OutcomeDone done)
{
    const StackBehaviour behaviour = stack_.Next(StackOperation::kRename);
    underWay_.Run(behaviour.delay, [this, name = std::move(name), outcome = behaviour.outcome,
                                    done = std::move(done)] {
        if (outcome == Outcome::kDone) {
            config_.name = name;
        }
        done(outcome);
    });
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

bool Adapter::IsOrWillBe(bool on) const
{
    return on == (state_ == AdapterState::kOn || state_ == AdapterState::kTurningOn);
}

void Adapter::BeginSwitch(bool on)
{
    const AdapterState goal = on ? AdapterState::kOn : AdapterState::kOff;
    switching_ = scheduler_.After(on ? config_.turnOnDelay : config_.turnOffDelay,
                                  [this, goal] { Enter(goal); });
    Enter(on ? AdapterState::kTurningOn : AdapterState::kTurningOff);
}

void Adapter::Enter(AdapterState state)
{
    state_ = state;
    stateObservers_(state);
}

}  // namespace pelacon::service::simulation
