#include <protocol/Hex.h>
#include <service/simulation/WifiCards.h>

#include <algorithm>

namespace pelacon::service::simulation {

using radio::CardState;
using radio::WifiInterface;

namespace {

constexpr std::size_t kLongestName = 31;
constexpr std::size_t kGuidLength = 38;
constexpr std::size_t kLongestCoexistence = 256;

/// Whether the text is "{01234567-89AB-CDEF-0123-456789ABCDEF}" with any hexadecimal digits.
bool IsGuid(const std::string& text)
{
    constexpr std::string_view kForm = "{00000000-0000-0000-0000-000000000000}";
    return std::ranges::equal(text, kForm, [&](char is, char form) {
        return form == '0' ? protocol::HexValue(is) >= 0 : is == form;
    });
}

void ReadInterface(json::Fields& fields, WifiInterface& result)
{
    result.name = fields.Required("name").Text(1, kLongestName);
    const json::Reader guid = fields.Required("guid");
    result.guid = guid.Text(kGuidLength, kGuidLength);
    if (!IsGuid(result.guid)) {
        guid.Fail("must be a GUID such as \"{5E1AC0DE-0000-4000-8000-000000000001}\"");
    }
}

}  // namespace

CardState ReadCardState(const json::Reader& reader)
{
    return reader.Choice<CardState>(
        {{"absent", CardState::kAbsent}, {"off", CardState::kOff}, {"on", CardState::kOn}});
}

void ReadWifiCards(json::Fields& fields, WifiCardsConfig& config)
{
    if (const auto cards = fields.Optional("cards")) {
        config.cards = cards->List(&ReadCardState);
        if (config.cards.empty() || config.cards.size() > radio::WifiCards::kMostCards) {
            cards->Fail("must name one to five cards");
        }
    }
    if (const auto interfaces = fields.Optional("interfaces")) {
        config.interfaces = interfaces->List(&ReadInterface);
        for (std::size_t i = 0; i < config.interfaces.size(); ++i) {
            config.interfaces[i].index = static_cast<std::int32_t>(i) + 1;
        }
    }
    fields.Read("coexistence", config.coexistence, 0, kLongestCoexistence);
}

WifiCards::WifiCards(Wifi& wifi, const WifiCardsConfig& config) : wifi_(wifi), config_(config)
{
    const auto follow = [this](bool on) {
        if (config_.cards.front() != CardState::kAbsent) {
            Set(0, on ? CardState::kOn : CardState::kOff);
        }
    };
    if (config_.cards.front() == CardState::kAbsent) {
        wifi_.SwitchNow(false);
    }
    follow(wifi_.IsOn());
    wifi_.ObserveSwitch(follow);
}

bool WifiCards::Set(std::size_t card, CardState state)
{
    if (card >= config_.cards.size()) {
        return false;
    }
    if (std::exchange(config_.cards[card], state) == state) {
        return true;
    }
    cardObservers_(card);
    if (card == 0) {
        wifi_.SwitchNow(state == CardState::kOn);
    }
    return true;
}

}  // namespace pelacon::service::simulation
