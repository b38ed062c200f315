// The Wi-Fi cards, as families see them.
#pragma once

#include <service/linux/wifi/Host.h>
#include <service/radio/WifiCards.h>

#include <string>
#include <vector>

namespace pelacon::service::linux_radios::wifi {

class WifiCards : public radio::WifiCards {
  public:
    explicit WifiCards(const Host& host) : host_(host), states_(host.GetPicture().cards) {}

    const std::vector<radio::CardState>& States() const override { return states_; }
    const std::vector<radio::WifiInterface>& Interfaces() const override
    {
        return host_.GetPicture().interfaces;
    }
    const std::string& Coexistence() const override { return host_.GetPicture().coexistence; }

    /// The host has another picture.
    void PictureChanged();

  private:
    const Host& host_;
    std::vector<radio::CardState> states_;  // as many as there have ever been
};

}  // namespace pelacon::service::linux_radios::wifi
