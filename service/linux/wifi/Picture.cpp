#include <protocol/Hex.h>
#include <service/linux/HardwareAddress.h>
#include <service/linux/wifi/Picture.h>

#include <algorithm>
#include <fstream>
#include <utility>

namespace pelacon::service::linux_radios::wifi {

std::uint64_t PermanentAddressOf(const std::string& card)
{
    std::ifstream file("/sys/class/ieee80211/" + card + "/macaddress");
    std::string text;
    std::getline(file, text);
    return ParseAddress(text).value_or(0);
}

std::string GuidOf(std::uint64_t address, const std::string& interface)
{
    constexpr std::uint64_t kStart = 0xCBF29CE484222325;  // FNV-1a
    constexpr std::uint64_t kPrime = 0x100000001B3;
    std::uint64_t hash = kStart;
    for (const char letter : interface) {
        hash = (hash ^ static_cast<unsigned char>(letter)) * kPrime;
    }
    using protocol::HexNumber;
    return "{5E1AC0DE-" + HexNumber(hash, 4) + "-8" + HexNumber(hash >> 16U, 3) + "-8" +
           HexNumber(hash >> 28U, 3) + "-" + HexNumber(address, 12) + "}";
}

PictureMaker::PictureMaker(const KernelMirror& kernel, const Rfkill& rfkill,
                           const NetworkManager& manager, std::string wanted, AddressOf addressOf)
    : kernel_(kernel),
      rfkill_(rfkill),
      manager_(manager),
      wanted_(std::move(wanted)),
      addressOf_(std::move(addressOf))
{}

/// Null if it is not there.
const Card* PictureMaker::FindAdapter()
{
    const auto& cards = kernel_.AllCards();
    if (!wanted_.empty()) {
        for (const auto& [index, interface] : kernel_.AllInterfaces()) {
            if (interface.name == wanted_) {
                const auto card = cards.find(interface.card);
                return card != cards.end() ? &card->second : nullptr;
            }
        }
        return nullptr;
    }
    auto card = adapter_ ? cards.find(*adapter_) : cards.end();
    card = card != cards.end() ? card : cards.begin();
    if (card == cards.end()) {
        return nullptr;
    }
    adapter_ = card->first;
    return &card->second;
}

/// The one that has the wanted name, or else the card's first one for a station; null if there is
/// none.
const CardInterface* PictureMaker::InterfaceOf(const Card& card) const
{
    const CardInterface* station = nullptr;
    for (const auto& [index, interface] : kernel_.AllInterfaces()) {
        if (interface.card != card.number) {
            continue;
        }
        if (interface.name == wanted_) {
            return &interface;
        }
        const bool isStation =
            interface.kind == static_cast<std::uint32_t>(InterfaceKind::kStation);
        station = station == nullptr && isStation ? &interface : station;
    }
    return station;
}

bool PictureMaker::IsOn(const Card& card) const
{
    return rfkill_.BlockOf(card.number) == Rfkill::Block::kNone &&
           (!manager_.IsThere() || manager_.IsOn());
}

std::uint64_t PictureMaker::AddressOfCard(const Card& card)
{
    std::uint64_t& address = addresses_[card.number];
    address = address != 0 ? address : addressOf_(card.name);
    if (address != 0) {
        return address;
    }
    const CardInterface* const interface = InterfaceOf(card);
    return interface != nullptr ? interface->address : 0;
}

std::optional<radio::Wifi::Connection> PictureMaker::ConnectionOf(
    const CardInterface& interface) const
{
    if (interface.kind != static_cast<std::uint32_t>(InterfaceKind::kStation)) {
        return std::nullopt;  // the network is its own
    }
    NetworkManager::Network network{interface.ssid, interface.frequency};
    if (manager_.Manages(interface.name)) {
        network = manager_.NetworkOf(interface.name).value_or(NetworkManager::Network());
        // NetworkManager notices only by its next scan that an access point has moved.
        if (network.frequency != 0 && interface.frequency != 0) {
            network.frequency = interface.frequency;
        }
    }
    const std::int32_t channel = ChannelOf(network.frequency);
    return channel != 0 && !network.ssid.empty()
               ? std::optional(radio::Wifi::Connection{network.ssid, channel})
               : std::nullopt;
}

void PictureMaker::AddInterfaces(Picture& picture)
{
    for (const auto& [index, interface] : kernel_.AllInterfaces()) {
        const auto card = kernel_.AllCards().find(interface.card);
        if (card != kernel_.AllCards().end()) {
            picture.interfaces.push_back({interface.name,
                                          GuidOf(AddressOfCard(card->second), interface.name),
                                          static_cast<std::int32_t>(index)});
        }
    }
}

Picture PictureMaker::Make()
{
    using radio::CardState;
    Picture picture;
    const Card* const adapter = FindAdapter();
    if (adapter != nullptr) {
        picture.isThere = true;
        picture.card = adapter->number;
        picture.isOn = IsOn(*adapter);
        picture.isBlocked =
            rfkill_.BlockOf(adapter->number) == Rfkill::Block::kHard || manager_.IsBlocked();
        picture.address = AddressOfCard(*adapter);
        picture.channels = UsableChannels(*adapter, kernel_.LoadsOf(adapter->number));
        picture.coexistence = TextOf(adapter->combinations);
        if (const CardInterface* const interface = InterfaceOf(*adapter)) {
            picture.interface = interface->name;
            picture.connection = picture.isOn ? ConnectionOf(*interface) : std::nullopt;
        }
        picture.cards.push_back(picture.isOn ? CardState::kOn : CardState::kOff);
    } else if (!wanted_.empty()) {
        picture.cards.push_back(CardState::kAbsent);
    }
    for (const auto& [number, card] : kernel_.AllCards()) {
        if (&card != adapter) {
            picture.cards.push_back(IsOn(card) ? CardState::kOn : CardState::kOff);
        }
    }
    AddInterfaces(picture);
    return picture;
}

}  // namespace pelacon::service::linux_radios::wifi
