// The Wi-Fi adapter: its switch, its channels, its connection to an access point.
#pragma once

#include <service/base/Interface.h>
#include <service/base/Observers.h>
#include <service/radio/Channels.h>
#include <service/radio/Outcome.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::service::radio {

/// One Wi-Fi adapter.
class Wifi : public Interface {
  public:
    /// A channel that the adapter may use.
    struct Channel {
        std::int32_t number = 0;
        std::int32_t load = 0;        ///< the busy part of the time, in percent
        std::int32_t bandwidth = 20;  ///< the widest possible, in MHz

        bool operator==(const Channel&) const = default;
    };

    /// The access point that the adapter is connected to.
    struct Connection {
        std::string ssid;
        std::int32_t channel = 0;

        bool operator==(const Connection&) const = default;
    };

    virtual bool IsOn() const = 0;

    /// Begins to switch on or off, unless the adapter is in that state or on the way to it. `done`
    /// is called once, in the call or later: when the state is reached, after the observers, or
    /// when it will not be, for instance because the adapter is switched the other way before.
    virtual void Switch(bool on, OutcomeDone done) = 0;

    /// In the low six bytes; the first octet is the most significant.
    virtual std::uint64_t Address() const = 0;

    /// In ascending order of their numbers. There may be none.
    virtual const std::vector<Channel>& Channels() const = 0;

    /// Nothing while the adapter is off or not connected.
    virtual std::optional<Connection> CurrentConnection() const = 0;

    /// The observer is called when the adapter was switched on or off. It must live as long as the
    /// adapter.
    void ObserveSwitch(std::function<void(bool on)> observer)
    {
        switchObservers_.Add(std::move(observer));
    }

  protected:
    Observers<bool> switchObservers_;
};

}  // namespace pelacon::service::radio
