#include <service/linux/wifi/Nl80211.h>

#include <linux/nl80211.h>

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

namespace pelacon::service::linux_radios::wifi {

using netlink::Attributes;

namespace {

/// The first octet is the most significant.
std::uint64_t ReadAddress(std::span<const std::uint8_t> octets)
{
    std::uint64_t address = 0;
    for (const std::uint8_t octet : octets.first(std::min<std::size_t>(octets.size(), 6))) {
        address = address << 8U | octet;
    }
    return address;
}

Frequency ReadFrequency(const Attributes& attributes)
{
    Frequency frequency;
    frequency.isDisabled = attributes.Has(NL80211_FREQUENCY_ATTR_DISABLED);
    frequency.isNoInitiation = attributes.Has(NL80211_FREQUENCY_ATTR_NO_IR);
    frequency.isRadar = attributes.Has(NL80211_FREQUENCY_ATTR_RADAR);
    frequency.isNo40 = attributes.Has(NL80211_FREQUENCY_ATTR_NO_HT40_MINUS) &&
                       attributes.Has(NL80211_FREQUENCY_ATTR_NO_HT40_PLUS);
    frequency.isNo80 = attributes.Has(NL80211_FREQUENCY_ATTR_NO_80MHZ);
    frequency.isNo160 = attributes.Has(NL80211_FREQUENCY_ATTR_NO_160MHZ);
    return frequency;
}

/// The widest channel of the capabilities of IEEE 802.11n, ac and ax that a message has.
std::int32_t WidestIn(std::uint16_t band, const Attributes& attributes)
{
    constexpr std::uint16_t kHt40 = 0x0002;
    constexpr std::uint32_t kVht160 = 0x000C;
    constexpr std::uint8_t kHe40In24GHz = 0x02;
    constexpr std::uint8_t kHe80In5GHz = 0x04;
    constexpr std::uint8_t kHe160In5GHz = 0x08;

    std::int32_t widest = 20;
    const auto allow = [&widest](bool isAble, std::int32_t width) {
        widest = isAble ? std::max(widest, width) : widest;
    };
    const auto ht = attributes.Get<std::uint16_t>(NL80211_BAND_ATTR_HT_CAPA).value_or(0);
    allow((ht & kHt40) != 0, 40);
    const bool is24GHz = band == NL80211_BAND_2GHZ;
    const auto vht = attributes.Get<std::uint32_t>(NL80211_BAND_ATTR_VHT_CAPA);
    if (vht && !is24GHz) {
        allow(true, 80);
        allow((*vht & kVht160) != 0, 160);
    }
    for (const auto& kind : attributes.Nested(NL80211_BAND_ATTR_IFTYPE_DATA).All()) {
        const auto he = Attributes(kind.content)
                            .Get<std::uint8_t>(NL80211_BAND_IFTYPE_ATTR_HE_CAP_PHY)
                            .value_or(0);
        allow(is24GHz && (he & kHe40In24GHz) != 0, 40);
        allow(!is24GHz && (he & kHe80In5GHz) != 0, 80);
        allow(!is24GHz && (he & kHe160In5GHz) != 0, 160);
    }
    return widest;
}

Combination ReadCombination(const Attributes& attributes)
{
    Combination combination;
    combination.most = attributes.Get<std::uint32_t>(NL80211_IFACE_COMB_MAXNUM).value_or(0);
    combination.channels =
        attributes.Get<std::uint32_t>(NL80211_IFACE_COMB_NUM_CHANNELS).value_or(0);
    for (const auto& one : attributes.Nested(NL80211_IFACE_COMB_LIMITS).All()) {
        const Attributes limit(one.content);
        Combination::Limit& read = combination.limits.emplace_back();
        read.most = limit.Get<std::uint32_t>(NL80211_IFACE_LIMIT_MAX).value_or(0);
        for (const auto& kind : limit.Nested(NL80211_IFACE_LIMIT_TYPES).All()) {
            read.kinds.push_back(kind.type);
        }
    }
    return combination;
}

std::string_view NameOf(std::uint16_t kind)
{
    constexpr std::array<std::string_view, 13> kNames{
        "unspecified", "ad hoc",      "station",    "access point", "access point VLAN",
        "WDS",         "monitor",     "mesh point", "P2P client",   "P2P group",
        "P2P device",  "outside BSS", "NAN"};
    return kind < kNames.size() ? kNames.at(kind) : "other";
}

}  // namespace

std::optional<std::uint32_t> CardNumber(const Attributes& attributes)
{
    return attributes.Get<std::uint32_t>(NL80211_ATTR_WIPHY);
}

void AddTo(Card& card, const Attributes& attributes)
{
    card.number = CardNumber(attributes).value_or(card.number);
    card.name = attributes.Text(NL80211_ATTR_WIPHY_NAME).value_or(card.name);
    for (const auto& nested : attributes.Nested(NL80211_ATTR_WIPHY_BANDS).All()) {
        const Attributes read(nested.content);
        CardBand& band = card.bands[nested.type];
        band.widest = std::max(band.widest, WidestIn(nested.type, read));
        for (const auto& one : read.Nested(NL80211_BAND_ATTR_FREQS).All()) {
            const Attributes frequency(one.content);
            if (const auto number = frequency.Get<std::uint32_t>(NL80211_FREQUENCY_ATTR_FREQ)) {
                band.frequencies[*number] = ReadFrequency(frequency);
            }
        }
    }
    for (const auto& one : attributes.Nested(NL80211_ATTR_INTERFACE_COMBINATIONS).All()) {
        card.combinations.push_back(ReadCombination(Attributes(one.content)));
    }
}

std::optional<CardInterface> ReadInterface(const Attributes& attributes)
{
    const auto index = attributes.Get<std::uint32_t>(NL80211_ATTR_IFINDEX);
    const auto card = CardNumber(attributes);
    if (!index || !card) {
        return std::nullopt;  // such as a P2P device
    }
    CardInterface interface;
    interface.index = *index;
    interface.card = *card;
    interface.name = attributes.Text(NL80211_ATTR_IFNAME).value_or("");
    interface.kind = attributes.Get<std::uint32_t>(NL80211_ATTR_IFTYPE).value_or(0);
    interface.address = ReadAddress(attributes.Bytes(NL80211_ATTR_MAC));
    const auto ssid = attributes.Bytes(NL80211_ATTR_SSID);
    interface.ssid.assign(ssid.begin(), ssid.end());
    interface.frequency = attributes.Get<std::uint32_t>(NL80211_ATTR_WIPHY_FREQ).value_or(0);
    return interface;
}

std::optional<std::string> ReadJoinedNetwork(const Attributes& attributes)
{
    const Attributes network = attributes.Nested(NL80211_ATTR_BSS);
    if (network.Get<std::uint32_t>(NL80211_BSS_STATUS) != NL80211_BSS_STATUS_ASSOCIATED) {
        return std::nullopt;
    }
    // Elements of IEEE 802.11: a number, a length, and the contents. That of the name is 0.
    auto rest = network.Bytes(NL80211_BSS_INFORMATION_ELEMENTS);
    while (rest.size() >= 2 && rest.size() - 2 >= rest[1]) {
        const auto content = rest.subspan(2, rest[1]);
        if (rest[0] == 0) {
            return std::string(content.begin(), content.end());
        }
        rest = rest.subspan(2 + content.size());
    }
    return std::nullopt;
}

std::optional<Load> ReadLoad(const Attributes& attributes)
{
    constexpr std::uint64_t kPercent = 100;
    const Attributes survey = attributes.Nested(NL80211_ATTR_SURVEY_INFO);
    const auto frequency = survey.Get<std::uint32_t>(NL80211_SURVEY_INFO_FREQUENCY);
    const auto active = survey.Get<std::uint64_t>(NL80211_SURVEY_INFO_TIME);
    const auto busy = survey.Get<std::uint64_t>(NL80211_SURVEY_INFO_TIME_BUSY);
    if (!frequency || !active || *active == 0 || !busy) {
        return std::nullopt;
    }
    const std::uint64_t percent = std::min(*busy, *active) * kPercent / *active;
    return Load{*frequency, static_cast<std::int32_t>(percent)};
}

std::int32_t ChannelOf(std::uint32_t frequency)
{
    constexpr std::uint32_t kLast24GHz = 2484;
    constexpr std::uint32_t kStart24GHz = 2407;
    constexpr std::uint32_t kStart5GHz = 5000;
    constexpr std::uint32_t kStep = 5;
    std::uint32_t channel = 0;
    if (frequency == kLast24GHz) {
        channel = 14;
    } else if (frequency > kStart5GHz) {
        channel = (frequency - kStart5GHz) / kStep;
    } else if (frequency > kStart24GHz) {
        channel = (frequency - kStart24GHz) / kStep;
    }
    const auto number = static_cast<std::int32_t>(channel);
    return radio::FrequencyOf(number) == static_cast<std::int32_t>(frequency) ? number : 0;
}

namespace {

/// No network may be opened there.
bool IsBarred(const Frequency& frequency)
{
    return frequency.isDisabled || frequency.isNoInitiation || frequency.isRadar;
}

/// Whether a part of the block of this width in the 5 GHz band, in MHz, is barred.
bool IsBlockBarred(std::uint32_t frequency, std::uint32_t width, const CardBand& band)
{
    // Blocks of a width follow each other from channel 36 on, and anew from channel 149 on.
    constexpr std::uint32_t kFirst = 5180;
    constexpr std::uint32_t kFirstAnew = 5745;
    const std::uint32_t first = frequency < kFirstAnew ? kFirst : kFirstAnew;
    if (frequency < first) {
        return false;
    }
    const std::uint32_t begin = first + (frequency - first) / width * width;
    return std::any_of(band.frequencies.lower_bound(begin),
                       band.frequencies.lower_bound(begin + width),
                       [](const auto& part) { return IsBarred(part.second); });
}

/// The widest channel that the card can have there, in MHz.
std::int32_t WidestAround(std::uint32_t frequency, const Frequency& allowed, const CardBand& band)
{
    const std::int32_t permitted = allowed.isNo40    ? 20
                                   : allowed.isNo80  ? 40
                                   : allowed.isNo160 ? 80
                                                     : 160;
    std::int32_t widest = std::min(permitted, band.widest);
    while (widest > 20 && IsBlockBarred(frequency, static_cast<std::uint32_t>(widest), band)) {
        widest /= 2;
    }
    return widest;
}

}  // namespace

std::vector<radio::Wifi::Channel> UsableChannels(const Card& card,
                                                 const std::map<std::uint32_t, std::int32_t>& loads)
{
    std::vector<radio::Wifi::Channel> channels;
    for (const auto& [number, band] : card.bands) {
        for (const auto& [frequency, allowed] : band.frequencies) {
            const std::int32_t channel = ChannelOf(frequency);
            if (channel == 0 || IsBarred(allowed)) {
                continue;
            }
            const auto load = loads.find(frequency);
            channels.push_back({channel, load != loads.end() ? load->second : 0,
                                WidestAround(frequency, allowed, band)});
        }
    }
    std::ranges::sort(channels, {}, &radio::Wifi::Channel::number);
    return channels;
}

std::string TextOf(const std::vector<Combination>& combinations)
{
    std::string text;
    for (const Combination& combination : combinations) {
        text += text.empty() ? "" : "; ";
        for (const Combination::Limit& limit : combination.limits) {
            const char* separator = "{";
            for (const std::uint16_t kind : limit.kinds) {
                text += separator;
                text += NameOf(kind);
                separator = ", ";
            }
            text += "} <= " + std::to_string(limit.most) + ", ";
        }
        text += "together <= " + std::to_string(combination.most) +
                ", channels <= " + std::to_string(combination.channels);
    }
    return text;
}

}  // namespace pelacon::service::linux_radios::wifi
