// The Wi-Fi cards, as families see them.
#pragma once

#include <service/linux/wifi/Host.h>
#include <service/radio/WifiCards.h>

#include <cstddef>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::wifi {

class WifiCards : public radio::WifiCards {
  public:
    explicit WifiCards(const Host& host);

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
    std::vector<radio::CardState> states_;
    std::size_t most_;  // cards that have been there at a time
};

}  // namespace pelacon::service::linux_radios::wifi
