// What the kernel says of Wi-Fi cards and their interfaces (nl80211).
#pragma once

#include <service/linux/netlink/Message.h>
#include <service/radio/Wifi.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::wifi {

/// What an interface does; the kernel's values.
enum class InterfaceKind : std::uint8_t { kStation = 2, kAccessPoint = 3 };

struct CardInterface {
    std::uint32_t index = 0;
    std::uint32_t card = 0;  ///< its number
    std::string name;
    std::uint32_t kind = 0;  ///< an InterfaceKind, or another of the kernel's values
    std::uint64_t address = 0;
    std::string ssid;             ///< of its network; empty if it has none, or that is not known
    std::uint32_t frequency = 0;  ///< in MHz; 0 if it is on none

    bool operator==(const CardInterface&) const = default;
};

/// One frequency of a band, and what is not allowed there.
struct Frequency {
    bool isDisabled = false;
    bool isNoInitiation = false;  ///< nothing may be sent before something was heard
    bool isRadar = false;         ///< radars have to be looked for first
    bool isNo40 = false;
    bool isNo80 = false;
    bool isNo160 = false;

    bool operator==(const Frequency&) const = default;
};

struct CardBand {
    std::int32_t widest = 20;  ///< that the card is capable of, in MHz
    std::map<std::uint32_t, Frequency> frequencies;

    bool operator==(const CardBand&) const = default;
};

/// Kinds of interfaces that can exist beside each other.
struct Combination {
    struct Limit {
        std::uint32_t most = 0;
        std::vector<std::uint16_t> kinds;

        bool operator==(const Limit&) const = default;
    };
    std::vector<Limit> limits;
    std::uint32_t most = 0;      ///< of all together
    std::uint32_t channels = 0;  ///< on which they can be at a time

    bool operator==(const Combination&) const = default;
};

struct Card {
    std::uint32_t number = 0;
    std::string name;  ///< "phy0"
    std::map<std::uint16_t, CardBand> bands;
    std::vector<Combination> combinations;

    bool operator==(const Card&) const = default;
};

/// How busy a frequency was when the card was there last, in percent.
struct Load {
    std::uint32_t frequency = 0;
    std::int32_t percent = 0;
};

/// The number of the card that a message is about.
std::optional<std::uint32_t> CardNumber(const netlink::Attributes& attributes);

/// Adds what a message says of a card; the kernel describes a card in several of them.
void AddTo(Card& card, const netlink::Attributes& attributes);

/// Nothing if it is no interface of the network. A station's network may have no name here:
/// ReadJoinedNetwork has it.
std::optional<CardInterface> ReadInterface(const netlink::Attributes& attributes);

/// The name of a network of the kernel's scan results, if the interface has joined it.
std::optional<std::string> ReadJoinedNetwork(const netlink::Attributes& attributes);

/// Nothing if the driver does not measure it.
std::optional<Load> ReadLoad(const netlink::Attributes& attributes);

/// The channel of a frequency in the bands of radio::BandOf; 0 if it has none there.
std::int32_t ChannelOf(std::uint32_t frequency);

/// The channels on which the card may open a network, by their numbers. `loads` are by frequency.
std::vector<radio::Wifi::Channel> UsableChannels(
    const Card& card, const std::map<std::uint32_t, std::int32_t>& loads);

/// For people: "{station} <= 1, {access point, P2P group} <= 1, together <= 2, channels <= 1".
std::string TextOf(const std::vector<Combination>& combinations);

}  // namespace pelacon::service::linux_radios::wifi
