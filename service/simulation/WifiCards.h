// The simulated Wi-Fi hardware.
#pragma once

#include <json/Reader.h>
#include <service/radio/WifiCards.h>
#include <service/simulation/Wifi.h>

#include <string>
#include <utility>
#include <vector>

namespace pelacon::service::simulation {

struct WifiCardsConfig {
    std::vector<radio::CardState> cards{radio::CardState::kOn};
    std::vector<radio::WifiInterface> interfaces{
        {"wlan0", "{5E1AC0DE-0000-4000-8000-000000000001}", 1},
        {"p2p0", "{5E1AC0DE-0000-4000-8000-000000000002}", 2},
    };
    std::string coexistence = "station+group, station+access point";
};

void ReadWifiCards(json::Fields& fields, WifiCardsConfig& config);

/// Reads a card's state, as in world files and commands.
radio::CardState ReadCardState(const json::Reader& reader);

class WifiCards : public radio::WifiCards {
  public:
    /// The first card is the adapter: its state and the Wi-Fi switch follow each other.
    WifiCards(Wifi& wifi, const WifiCardsConfig& config);

    const std::vector<radio::CardState>& States() const override { return config_.cards; }
    const std::vector<radio::WifiInterface>& Interfaces() const override
    {
        return config_.interfaces;
    }
    const std::string& Coexistence() const override { return config_.coexistence; }

    /// For the simulation: a card is inserted, removed, switched on or off. False if there is no
    /// card with this number.
    bool Set(std::size_t card, radio::CardState state);

  private:
    Wifi& wifi_;
    WifiCardsConfig config_;
};

}  // namespace pelacon::service::simulation
