#include <service/linux/wifi/WifiCards.h>

#include <algorithm>
#include <utility>

namespace pelacon::service::linux_radios::wifi {

void WifiCards::PictureChanged()
{
    using radio::CardState;
    // Cards that are gone leave their places at the end, so that programs are notified of it.
    std::vector<CardState> now = host_.GetPicture().cards;
    now.resize(std::max(now.size(), states_.size()), CardState::kAbsent);
    const std::vector<CardState> before = std::exchange(states_, now);
    for (std::size_t card = 0; card < now.size(); ++card) {
        if (card >= before.size() || now[card] != before[card]) {
            cardObservers_(card);
        }
    }
}

}  // namespace pelacon::service::linux_radios::wifi
