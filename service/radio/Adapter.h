// The Bluetooth adapter.
#pragma once

#include <PelaconSDK/BleManager.h>
#include <service/base/Interface.h>
#include <service/base/Observers.h>
#include <service/radio/Outcome.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace pelacon::service::radio {

enum class AdapterState : std::int32_t {
    kOff = kBtStateOff,
    kTurningOn = kBtStateTurningOn,
    kOn = kBtStateOn,
    kTurningOff = kBtStateTurningOff,
};

enum class BluetoothType : std::int32_t { kClassic = kBluetoothClassic, kLe = kBluetoothLe };

/// One Bluetooth adapter. One that is absent is off, and has the address 0.
class Adapter : public Interface {
  public:
    static constexpr std::size_t kMaxName = sizeof BtInfo::name;

    virtual AdapterState State() const = 0;
    bool IsOn() const { return State() == AdapterState::kOn; }

    /// Begins to switch on or off; observers are called on the changes. Does nothing if the adapter
    /// is in that state, or on the way to it. `done` is called once, in the call or later: when it
    /// is clear whether the adapter will switch, and at the latest when it has.
    virtual void Switch(bool on, OutcomeDone done) = 0;

    /// In the low six bytes; the first octet is the most significant.
    virtual std::uint64_t Address() const = 0;

    virtual std::string Name() const = 0;

    /// Begins to change the name, to at most kMaxName bytes. `done` is called once, in the call or
    /// later: Name returns the new name then, or it cannot be changed.
    virtual void Rename(std::string name, OutcomeDone done) = 0;

    virtual bool IsConnected(std::uint64_t address, BluetoothType type) const = 0;

    /// The observer is called after each change of state. It must live as long as the adapter.
    void Observe(std::function<void(AdapterState)> observer)
    {
        stateObservers_.Add(std::move(observer));
    }

  protected:
    Observers<AdapterState> stateObservers_;
};

}  // namespace pelacon::service::radio
