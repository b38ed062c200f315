// The Bluetooth adapter itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace pelacon::service::radio {

/// The values are those of BtRunningState in the public headers.
enum class AdapterState : std::int32_t { kOff = 0, kTurningOn = 1, kOn = 2, kTurningOff = 3 };

/// The values are those of BluetoothType in the public headers.
enum class BluetoothType : std::int32_t { kClassic = 0, kLe = 1 };

/// One Bluetooth radio. Called under the world's lock, and calls back under it.
class Adapter {
  public:
    static constexpr std::size_t kMaxName = 64;

    using StateObserver = std::function<void(AdapterState)>;

    Adapter() = default;
    virtual ~Adapter() = default;
    Adapter(const Adapter&) = delete;
    Adapter& operator=(const Adapter&) = delete;

    virtual AdapterState State() const = 0;
    bool IsOn() const { return State() == AdapterState::kOn; }

    /// Begins to switch on or off; what becomes of it is told to the observers. Nothing happens
    /// where it is so already, or on the way there.
    virtual void SwitchOn() = 0;
    virtual void SwitchOff() = 0;

    /// In the low six bytes, the first octet the most significant.
    virtual std::uint64_t Address() const = 0;

    virtual std::string Name() const = 0;

    /// At most kMaxName bytes.
    virtual void Rename(std::string name) = 0;

    virtual bool IsConnected(std::uint64_t address, BluetoothType type) const = 0;

    /// Has the observer told of each change of state, after those who came before it. Observers
    /// live as long as the adapter.
    virtual void Observe(StateObserver observer) = 0;
};

}  // namespace pelacon::service::radio
