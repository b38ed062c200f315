#include <service/linux/wifi/Nl80211.h>
#include <tests/service/linux/NetlinkBytes.h>

#include <gmock/gmock.h>
#include <linux/nl80211.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using netlink::Attributes;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace wifi;  // NOLINT(google-build-using-namespace)

Octets FrequencyAttributes(std::uint32_t frequency, const std::vector<std::uint16_t>& flags = {})
{
    Octets octets = Attribute(NL80211_FREQUENCY_ATTR_FREQ, frequency);
    for (const std::uint16_t flag : flags) {
        octets = octets + Attribute(flag);
    }
    return octets;
}

Octets Band(std::uint16_t number, const Octets& content)
{
    return Nest(NL80211_ATTR_WIPHY_BANDS, Nest(number, content));
}

/// A card of 2.4 GHz and 5 GHz, described in several messages as the kernel does it.
std::vector<Octets> CardMessages()
{
    const Octets number = Attribute(NL80211_ATTR_WIPHY, std::uint32_t{3});
    return {
        number + Attribute(NL80211_ATTR_WIPHY_NAME, "phy3"),
        number + Band(NL80211_BAND_2GHZ,
                      Attribute(NL80211_BAND_ATTR_HT_CAPA, OctetsOf(std::uint16_t{0x107E}))),
        number + Band(NL80211_BAND_2GHZ,
                      List(NL80211_BAND_ATTR_FREQS,
                           {FrequencyAttributes(2412, {NL80211_FREQUENCY_ATTR_NO_80MHZ,
                                                       NL80211_FREQUENCY_ATTR_NO_160MHZ}),
                            FrequencyAttributes(2437, {NL80211_FREQUENCY_ATTR_NO_HT40_MINUS,
                                                       NL80211_FREQUENCY_ATTR_NO_HT40_PLUS}),
                            FrequencyAttributes(2467, {NL80211_FREQUENCY_ATTR_NO_IR})})),
        number + Band(NL80211_BAND_2GHZ,
                      List(NL80211_BAND_ATTR_FREQS,
                           {FrequencyAttributes(2484, {NL80211_FREQUENCY_ATTR_DISABLED})})),
        number + Band(NL80211_BAND_5GHZ,
                      Attribute(NL80211_BAND_ATTR_HT_CAPA, OctetsOf(std::uint16_t{0x107E})) +
                          Attribute(NL80211_BAND_ATTR_VHT_CAPA, std::uint32_t{0x338979B0})),
        number + Band(NL80211_BAND_5GHZ,
                      List(NL80211_BAND_ATTR_FREQS,
                           {FrequencyAttributes(5180),
                            FrequencyAttributes(5240, {NL80211_FREQUENCY_ATTR_NO_160MHZ}),
                            FrequencyAttributes(5260, {NL80211_FREQUENCY_ATTR_RADAR}),
                            FrequencyAttributes(5825, {NL80211_FREQUENCY_ATTR_NO_80MHZ})})),
        number +
            Band(NL80211_BAND_6GHZ, List(NL80211_BAND_ATTR_FREQS, {FrequencyAttributes(5955)})),
    };
}

Card ReadCard(const std::vector<Octets>& messages)
{
    Card card;
    for (const Octets& message : messages) {
        AddTo(card, Attributes(message));
    }
    return card;
}

std::vector<std::vector<std::int32_t>> Rows(const std::vector<radio::Wifi::Channel>& channels)
{
    std::vector<std::vector<std::int32_t>> rows;
    for (const auto& channel : channels) {
        rows.push_back({channel.number, channel.load, channel.bandwidth});
    }
    return rows;
}

TEST(ACardOfTheKernel, HasTheChannelsThatItMayOpenANetworkOn)
{
    const Card card = ReadCard(CardMessages());
    EXPECT_EQ(card.number, 3U);
    EXPECT_EQ(card.name, "phy3");
    EXPECT_THAT(Rows(UsableChannels(card, {{2437, 35}, {2412, 4}})),
                ElementsAre(ElementsAre(1, 4, 40), ElementsAre(6, 35, 20), ElementsAre(36, 0, 80),
                            ElementsAre(48, 0, 80), ElementsAre(165, 0, 40)))
        << "the 5 GHz part is capable of 80 MHz";
}

TEST(ACardOfTheKernel, IsOnlyAsWideAsWhatItMayUse)
{
    Card card;
    CardBand& band = card.bands[NL80211_BAND_5GHZ];
    band.widest = 160;
    for (const std::uint32_t frequency : {5180U, 5200U, 5220U, 5240U, 5745U, 5765U}) {
        band.frequencies[frequency] = {};
    }
    const auto widths = [&card] {
        std::vector<std::int32_t> all;
        for (const auto& channel : UsableChannels(card, {})) {
            all.push_back(channel.bandwidth);
        }
        return all;
    };
    EXPECT_THAT(widths(), ElementsAre(160, 160, 160, 160, 160, 160));
    band.frequencies[5260].isRadar = true;
    EXPECT_THAT(widths(), ElementsAre(80, 80, 80, 80, 160, 160)) << "it is in the same 160 MHz";
    band.frequencies[5240].isNoInitiation = true;
    EXPECT_THAT(widths(), ElementsAre(40, 40, 20, 160, 160));
}

TEST(ACardOfTheKernel, IsAsWideAsItsCapabilities)
{
    const auto widest = [](std::uint16_t band, const Octets& capabilities) {
        const Card card = ReadCard({Band(band, capabilities)});
        return card.bands.at(band).widest;
    };
    const auto he = [](std::uint8_t first) {
        return List(NL80211_BAND_ATTR_IFTYPE_DATA,
                    {Attribute(NL80211_BAND_IFTYPE_ATTR_HE_CAP_PHY, Octets{first, 0, 0, 0})});
    };
    const auto ht = [](std::uint16_t capabilities) {
        return Attribute(NL80211_BAND_ATTR_HT_CAPA, OctetsOf(capabilities));
    };
    const auto vht = [](std::uint32_t capabilities) {
        return Attribute(NL80211_BAND_ATTR_VHT_CAPA, capabilities);
    };
    EXPECT_EQ(widest(NL80211_BAND_2GHZ, {}), 20);
    EXPECT_EQ(widest(NL80211_BAND_2GHZ, ht(0x107C)), 20);
    EXPECT_EQ(widest(NL80211_BAND_2GHZ, ht(0x107E)), 40);
    EXPECT_EQ(widest(NL80211_BAND_2GHZ, ht(0x107E) + vht(0)), 40) << "no 80 MHz in this band";
    EXPECT_EQ(widest(NL80211_BAND_2GHZ, he(0x02)), 40);
    EXPECT_EQ(widest(NL80211_BAND_5GHZ, ht(0x107E) + vht(0)), 80);
    EXPECT_EQ(widest(NL80211_BAND_5GHZ, vht(0x04)), 160);
    EXPECT_EQ(widest(NL80211_BAND_5GHZ, he(0x04)), 80);
    EXPECT_EQ(widest(NL80211_BAND_5GHZ, he(0x0C)), 160);
}

TEST(ACardOfTheKernel, DescribesWhatItCanDoAtATime)
{
    const auto limit = [](std::uint32_t most, const Octets& kinds) {
        return Attribute(NL80211_IFACE_LIMIT_MAX, most) + Nest(NL80211_IFACE_LIMIT_TYPES, kinds);
    };
    const Card card = ReadCard(
        {List(NL80211_ATTR_INTERFACE_COMBINATIONS,
              {List(NL80211_IFACE_COMB_LIMITS,
                    {limit(1, Attribute(NL80211_IFTYPE_STATION)),
                     limit(2, Attribute(NL80211_IFTYPE_AP) + Attribute(NL80211_IFTYPE_P2P_GO))}) +
                   Attribute(NL80211_IFACE_COMB_MAXNUM, std::uint32_t{3}) +
                   Attribute(NL80211_IFACE_COMB_NUM_CHANNELS, std::uint32_t{1}),
               List(NL80211_IFACE_COMB_LIMITS, {limit(8, Attribute(NL80211_IFTYPE_AP))}) +
                   Attribute(NL80211_IFACE_COMB_MAXNUM, std::uint32_t{8}) +
                   Attribute(NL80211_IFACE_COMB_NUM_CHANNELS, std::uint32_t{2})})});
    EXPECT_EQ(TextOf(card.combinations),
              "{station} <= 1, {access point, P2P group} <= 2, together <= 3, channels <= 1; "
              "{access point} <= 8, together <= 8, channels <= 2");
    EXPECT_EQ(TextOf({}), "");
}

TEST(AnInterfaceOfTheKernel, MayBeOnANetwork)
{
    const Octets idle = Attribute(NL80211_ATTR_IFINDEX, std::uint32_t{5}) +
                        Attribute(NL80211_ATTR_IFNAME, "wlan0") +
                        Attribute(NL80211_ATTR_WIPHY, std::uint32_t{1}) +
                        Attribute(NL80211_ATTR_IFTYPE, std::uint32_t{NL80211_IFTYPE_STATION}) +
                        Attribute(NL80211_ATTR_MAC, Octets{2, 0, 0, 0, 0, 0x10});
    const auto interface = ReadInterface(Attributes(idle));
    ASSERT_TRUE(interface);
    EXPECT_EQ(interface->index, 5U);
    EXPECT_EQ(interface->card, 1U);
    EXPECT_EQ(interface->name, "wlan0");
    EXPECT_EQ(interface->kind, static_cast<std::uint32_t>(InterfaceKind::kStation));
    EXPECT_EQ(interface->address, 0x020000000010U);
    EXPECT_EQ(interface->ssid, "");
    EXPECT_EQ(interface->frequency, 0U);

    const Octets connected = idle + Attribute(NL80211_ATTR_SSID, Octets{'H', 'o', 'm', 'e'}) +
                             Attribute(NL80211_ATTR_WIPHY_FREQ, std::uint32_t{2437});
    EXPECT_EQ(ReadInterface(Attributes(connected))->ssid, "Home");
    EXPECT_EQ(ReadInterface(Attributes(connected))->frequency, 2437U);
}

TEST(AnInterfaceOfTheKernel, IsOneOfTheNetwork)
{
    const Octets device = Attribute(NL80211_ATTR_WIPHY, std::uint32_t{1}) +
                          Attribute(NL80211_ATTR_WDEV, OctetsOf(std::uint64_t{0x100000002}));
    EXPECT_FALSE(ReadInterface(Attributes(device))) << "a P2P device has no number";
}

TEST(ALoad, IsTheBusyPartOfTheTime)
{
    const auto load = [](const Octets& more) {
        const Octets octets =
            Nest(NL80211_ATTR_SURVEY_INFO,
                 Attribute(NL80211_SURVEY_INFO_FREQUENCY, std::uint32_t{2437}) + more);
        const auto read = ReadLoad(Attributes(octets));
        return read ? read->percent : -1;
    };
    const auto time = [](std::uint64_t active) {
        return Attribute(NL80211_SURVEY_INFO_TIME, OctetsOf(active));
    };
    const auto busy = [](std::uint64_t active) {
        return Attribute(NL80211_SURVEY_INFO_TIME_BUSY, OctetsOf(active));
    };
    EXPECT_EQ(load(time(125) + busy(50)), 40);
    EXPECT_EQ(load(time(125) + busy(0)), 0);
    EXPECT_EQ(load(time(125) + busy(126)), 100) << "a driver may count wrongly";
    EXPECT_EQ(load(time(0) + busy(0)), -1);
    EXPECT_EQ(load(time(125)), -1) << "the driver does not say";
    EXPECT_EQ(load({}), -1);
}

TEST(AFrequency, BelongsToAChannelOrNone)
{
    for (const auto& [frequency, channel] :
         std::vector<std::pair<std::uint32_t, std::int32_t>>{{2412, 1},
                                                             {2472, 13},
                                                             {2484, 14},
                                                             {5180, 36},
                                                             {5720, 144},
                                                             {5885, 177},
                                                             {2413, 0},
                                                             {2407, 0},
                                                             {5000, 0},
                                                             {5955, 0},
                                                             {60480, 0},
                                                             {0, 0}}) {
        EXPECT_EQ(ChannelOf(frequency), channel) << frequency;
    }
}

TEST(ACardOfTheKernel, MayBeDescribedByNothing)
{
    const Card card = ReadCard({Octets{}});
    EXPECT_THAT(UsableChannels(card, {}), IsEmpty());
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
