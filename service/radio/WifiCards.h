// The Wi-Fi hardware of a machine: its cards and their network interfaces.
#pragma once

#include <PelaconSDK/Vod2dConfig.h>
#include <protocol/Vod2dConfig.h>
#include <service/base/Interface.h>
#include <service/base/Observers.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::service::radio {

enum class CardState : std::int32_t {
    kAbsent = kWifiCardAbsent,
    kOff = kWifiCardOff,
    kOn = kWifiCardOn,
};

struct WifiInterface {
    std::string name;
    std::string guid;  ///< with its braces
    std::int32_t index = 0;

    bool operator==(const WifiInterface&) const = default;
};

class WifiCards : public Interface {
  public:
    /// Programs see this many cards; there may be more, and none.
    static constexpr std::size_t kMostCards = protocol::kMostCards;

    /// By number. The first card is the adapter that all other interfaces use.
    virtual const std::vector<CardState>& States() const = 0;

    virtual const std::vector<WifiInterface>& Interfaces() const = 0;

    /// Which kinds of interfaces can be used together, as text. Programs see its first 256 bytes.
    virtual const std::string& Coexistence() const = 0;

    /// The observer is called on each change of a card's state. It must live as long as the radios.
    void Observe(std::function<void(std::size_t card)> observer)
    {
        cardObservers_.Add(std::move(observer));
    }

  protected:
    Observers<std::size_t> cardObservers_;
};

}  // namespace pelacon::service::radio
