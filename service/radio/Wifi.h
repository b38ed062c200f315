// The Wi-Fi adapter as such: its switch, its channels, its connection to an access point.
#pragma once

#include <service/radio/Channels.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::radio {

/// One Wi-Fi adapter. Called under the world's lock, and calls back under it.
class Wifi {
  public:
    /// A channel that the adapter may use here.
    struct Channel {
        std::int32_t number = 0;
        std::int32_t load = 0;        ///< how busy it is, in percent
        std::int32_t bandwidth = 20;  ///< the widest in MHz that is possible around it
    };

    /// The access point that the adapter is connected to.
    struct Connection {
        std::string ssid;
        std::int32_t channel = 0;

        bool operator==(const Connection&) const = default;
    };

    /// Whether the switch got where it was asked to go.
    using SwitchDone = std::function<void(bool reached)>;
    using SwitchObserver = std::function<void(bool on)>;
    using ConnectionObserver = std::function<void(const std::optional<Connection>& connection)>;

    Wifi() = default;
    virtual ~Wifi() = default;
    Wifi(const Wifi&) = delete;
    Wifi& operator=(const Wifi&) = delete;

    virtual bool IsOn() const = 0;

    /// Begins to switch on or off, unless it is so already or on the way there. `done` is called
    /// once, in the call or later: when the switch is there, after the observers, or when it goes
    /// the other way before.
    virtual void Switch(bool on, SwitchDone done) = 0;

    /// In the low six bytes, the first octet the most significant.
    virtual std::uint64_t Address() const = 0;

    /// In ascending order of their numbers.
    virtual const std::vector<Channel>& Channels() const = 0;

    /// Nothing while it is switched off or not connected.
    virtual std::optional<Connection> CurrentConnection() const = 0;

    /// Have the observer told of each change, after those who came before it. Observers live as
    /// long as the adapter.
    virtual void ObserveSwitch(SwitchObserver observer) = 0;
    virtual void ObserveConnection(ConnectionObserver observer) = 0;
};

}  // namespace pelacon::service::radio
