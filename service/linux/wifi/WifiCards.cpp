#include <service/linux/wifi/WifiCards.h>

#include <algorithm>
#include <utility>

namespace pelacon::service::linux_radios::wifi {

using radio::CardState;

namespace {

std::size_t CountPresent(const std::vector<CardState>& cards)
{
    return cards.size() - static_cast<std::size_t>(std::ranges::count(cards, CardState::kAbsent));
}

}  // namespace

WifiCards::WifiCards(const Host& host)
    : host_(host), states_(host.GetPicture().cards), most_(CountPresent(states_))
{}

void WifiCards::PictureChanged()
{
    // Cards that are gone leave their places at the end, so that programs are notified of it.
    std::vector<CardState> now = host_.GetPicture().cards;
    most_ = std::max(most_, CountPresent(now));
    now.resize(std::max(now.size(), most_), CardState::kAbsent);
    const std::vector<CardState> before = std::exchange(states_, now);
    for (std::size_t card = 0; card < now.size(); ++card) {
        if (card >= before.size() || now[card] != before[card]) {
            cardObservers_(card);
        }
    }
}

}  // namespace pelacon::service::linux_radios::wifi
