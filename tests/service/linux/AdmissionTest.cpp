#include <service/linux/wifi/AccessPointFiles.h>
#include <service/linux/wifi/Admission.h>

#include <gtest/gtest.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using wifi::Admission;
using wifi::AdmissionOf;

constexpr std::uint16_t kStationKind = 2;
constexpr std::uint16_t kAccessPointKind = 3;

/// A card of one channel, for a station and two access points.
wifi::Card OneChannel()
{
    wifi::Card card;
    card.combinations = {{{{1, {kStationKind}}, {2, {kAccessPointKind}}}, 3, 1}};
    return card;
}

wifi::CardInterface On(std::uint32_t index, std::uint16_t kind, std::uint32_t frequency,
                       std::uint32_t card = 0)
{
    wifi::CardInterface interface;
    interface.index = index;
    interface.card = card;
    interface.kind = kind;
    interface.frequency = frequency;
    return interface;
}

TEST(AnAccessPoint, IsAdmittedOnTheChannelOfTheCardsOtherInterfaces)
{
    const wifi::Card card = OneChannel();
    EXPECT_EQ(AdmissionOf(card, {}, 2437), Admission::kYes);
    EXPECT_EQ(AdmissionOf(card, {{4, On(4, kStationKind, 0)}}, 2437), Admission::kYes)
        << "it is on no network";
    EXPECT_EQ(AdmissionOf(card, {{4, On(4, kStationKind, 5180, 1)}}, 2437), Admission::kYes)
        << "it is another card's";
    const wifi::KernelMirror::Interfaces connected{{4, On(4, kStationKind, 2437)}};
    EXPECT_EQ(AdmissionOf(card, connected, 2437), Admission::kYes);
    EXPECT_EQ(AdmissionOf(card, connected, 5180), Admission::kOnOtherChannels);
    wifi::Card better = card;
    better.combinations.front().channels = 2;
    EXPECT_EQ(AdmissionOf(better, connected, 5180), Admission::kYes);
}

TEST(AnAccessPoint, IsNotAdmittedWhereTheCardHasNoRoomForIt)
{
    const wifi::KernelMirror::Interfaces connected{{4, On(4, kStationKind, 2437)}};
    EXPECT_EQ(AdmissionOf({}, connected, 2437), Admission::kNo) << "it has no combinations";
    wifi::Card card = OneChannel();
    card.combinations.front().most = 1;
    EXPECT_EQ(AdmissionOf(card, connected, 2437), Admission::kNo);
    const wifi::KernelMirror::Interfaces two{{5, On(5, kAccessPointKind, 2437)},
                                             {6, On(6, kAccessPointKind, 2437)}};
    EXPECT_EQ(AdmissionOf(OneChannel(), two, 2437), Admission::kNo);
}

TEST(TheConfigurationOfAnAccessPoint, HasItsNameInDigits)
{
    const std::string text = wifi::ConfigurationOf("a\"b", "password99", 2437, "/run/control");
    EXPECT_NE(text.find("ctrl_interface=/run/control\n"), std::string::npos);
    EXPECT_NE(text.find("ap_scan=2\n"), std::string::npos);
    EXPECT_NE(text.find(" ssid=612262\n"), std::string::npos) << text;
    EXPECT_NE(text.find(" psk=\"password99\"\n"), std::string::npos);
    EXPECT_NE(text.find(" frequency=2437\n"), std::string::npos);
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
