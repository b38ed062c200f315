#include <tests/service/linux/WifiHostTest.h>

#include <gmock/gmock.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using radio::CardState;
using radio::Outcome;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class RealWifi : public WifiHostTest {
  protected:
    /// A card with the interface wlan0.
    void PlugIn()
    {
        kernel.SetCard(0);
        kernel.SetInterface(4, "wlan0");
    }
    /// The network, or "none".
    std::string Network()
    {
        return Locked([this] {
            const auto connection = radios->GetWifi().CurrentConnection();
            return connection ? connection->ssid + " on " + std::to_string(connection->channel)
                              : "none";
        });
    }
    bool EventuallyOn(const std::string& network)
    {
        return test::Eventually([&] { return Network() == network; });
    }
    /// Waits until NetworkManager has been asked to switch.
    void AwaitSwitch()
    {
        ASSERT_TRUE(test::Eventually([this] { return !manager->Do({{"do", "calls"}}).empty(); }));
    }
    std::vector<CardState> States()
    {
        return Locked([this] { return radios->GetWifiCards().States(); });
    }
    nlohmann::json Status()
    {
        return Locked([this] { return StatusInLock(); });
    }
    nlohmann::json StatusInLock() const
    {
        return nlohmann::json::parse(pelacon::json::Write(host->Describe()));
    }
};

TEST_F(RealWifi, IsOffWithoutACard)
{
    Start();
    Locked([this] {
        EXPECT_FALSE(radios->GetWifi().IsOn());
        EXPECT_EQ(radios->GetWifi().Address(), 0U);
        EXPECT_THAT(radios->GetWifi().Channels(), IsEmpty());
        EXPECT_THAT(radios->GetWifiCards().States(), IsEmpty());
        EXPECT_THAT(radios->GetWifiCards().Interfaces(), IsEmpty());
    });
    Switch(true);
    EXPECT_THAT(Outcomes(1), ElementsAre(Outcome::kNoAdapter));
    EXPECT_EQ(Status()["state"], "no such card");
}

TEST_F(RealWifi, IsDescribedAtOnce)
{
    StartManager();
    PlugIn();
    kernel.Measure({{2437, 200, 50}});
    Start();
    Locked([this] {
        const radio::Wifi& wifi = radios->GetWifi();
        EXPECT_TRUE(wifi.IsOn());
        EXPECT_EQ(wifi.Address(), 0x020000000010U);
        EXPECT_THAT(wifi.Channels(),
                    ElementsAre(radio::Wifi::Channel{1, 0, 20}, radio::Wifi::Channel{6, 25, 20},
                                radio::Wifi::Channel{36, 0, 20}));
        const radio::WifiCards& described = radios->GetWifiCards();
        EXPECT_THAT(described.States(), ElementsAre(CardState::kOn));
        ASSERT_EQ(described.Interfaces().size(), 1U);
        EXPECT_EQ(described.Interfaces()[0].name, "wlan0");
        EXPECT_EQ(described.Interfaces()[0].index, 4);
        EXPECT_EQ(described.Interfaces()[0].guid, wifi::GuidOf(0x020000000010, "wlan0"));
        EXPECT_EQ(described.Coexistence(),
                  "{station} <= 1, {access point} <= 2, together <= 3, channels <= 1");
    });
}

TEST_F(RealWifi, IsOnTheNetworkThatNetworkManagerIsConnectedTo)
{
    StartManager();
    PlugIn();
    manager->Do({{"do", "device"}, {"interface", "wlan0"}});
    Start();
    EXPECT_EQ(Network(), "none");
    manager->Do({{"do", "connect"}, {"interface", "wlan0"}, {"ssid", "Home"}, {"frequency", 5180}});
    EXPECT_TRUE(EventuallyOn("Home on 36"));
    kernel.SetInterface(4, "wlan0", 0, "Home", 2437);
    EXPECT_TRUE(EventuallyOn("Home on 6")) << "NetworkManager does not know it yet";
    manager->Do({{"do", "disconnect"}, {"interface", "wlan0"}});
    EXPECT_TRUE(EventuallyOn("none"));
}

TEST_F(RealWifi, IsOnTheKernelsNetworkIfNetworkManagerDoesNotManageIt)
{
    StartManager();
    PlugIn();
    manager->Do({{"do", "device"}, {"interface", "wlan0"}, {"managed", false}});
    Start();
    kernel.SetInterface(4, "wlan0", 0, "Cafe", 2412);
    EXPECT_TRUE(EventuallyOn("Cafe on 1"));
}

TEST_F(RealWifi, IsOnTheKernelsNetworkWithoutNetworkManager)
{
    PlugIn();
    Start();
    kernel.SetInterface(4, "wlan0", 0, "Home", 2437);
    EXPECT_TRUE(EventuallyOn("Home on 6"));
    kernel.Block(0, true, false);
    EXPECT_TRUE(EventuallyOn("none")) << "it is off";
}

TEST_F(RealWifi, IsOnNoNetworkAsAnAccessPoint)
{
    StartManager();
    PlugIn();
    manager->Do({{"do", "device"}, {"interface", "wlan0"}});
    kernel.SetInterface(4, "wlan0", 0, "Hotspot", 2412, NL80211_IFTYPE_AP);
    manager->Do(
        {{"do", "connect"}, {"interface", "wlan0"}, {"ssid", "Hotspot"}, {"frequency", 2412}});
    Start("wlan0");
    EXPECT_EQ(Network(), "none");
}

TEST_F(RealWifi, IsSwitchedByNetworkManager)
{
    StartManager();
    PlugIn();
    Start();
    Switch(true);
    EXPECT_THAT(Outcomes(1), ElementsAre(Outcome::kDone)) << "it is on";
    Switch(false);
    EXPECT_THAT(Outcomes(2), ElementsAre(Outcome::kDone, Outcome::kDone));
    EXPECT_FALSE(IsOn());
    EXPECT_THAT(States(), ElementsAre(CardState::kOff));
    Switch(true);
    EXPECT_EQ(Outcomes(3).back(), Outcome::kDone);
    EXPECT_TRUE(IsOn());
    Locked([this] {
        EXPECT_THAT(switches, ElementsAre(false, true));
        EXPECT_THAT(cards, ElementsAre(0U, 0U));
    });
    EXPECT_EQ(manager->Do({{"do", "calls"}}),
              (nlohmann::json{"SetWirelessEnabled", "SetWirelessEnabled"}));
}

TEST_F(RealWifi, IsNotSwitchedWithoutPermission)
{
    StartManager();
    PlugIn();
    Start();
    manager->Do({{"do", "fail"},
                 {"method", "SetWirelessEnabled"},
                 {"error", "org.freedesktop.NetworkManager.PermissionDenied"}});
    Switch(false);
    EXPECT_THAT(Outcomes(1), ElementsAre(Outcome::kNotPermitted));
    EXPECT_TRUE(IsOn());
    manager->Do({{"do", "fail"}, {"method", "SetWirelessEnabled"}, {"error", "some.Error"}});
    Switch(false);
    EXPECT_EQ(Outcomes(2).back(), Outcome::kFailed);
}

TEST_F(RealWifi, ReportsASwitchWhenItShows)
{
    StartManager();
    PlugIn();
    Start();
    manager->Do({{"do", "fail"}, {"method", "SetWirelessEnabled"}, {"idle", true}});
    Switch(false);
    AwaitSwitch();
    Locked([this] { EXPECT_THAT(outcomes, IsEmpty()) << "it was accepted only"; });
    manager->Do({{"do", "change"}, {"WirelessEnabled", false}});
    EXPECT_THAT(Outcomes(1), ElementsAre(Outcome::kDone));
}

TEST_F(RealWifi, SwitchesTheOtherWayMeanwhile)
{
    StartManager();
    PlugIn();
    Start();
    manager->Do({{"do", "fail"}, {"method", "SetWirelessEnabled"}, {"delay", 500}, {"times", 2}});
    Switch(false);
    AwaitSwitch();
    SwitchOffAndOn();
    EXPECT_THAT(Outcomes(3), ElementsAre(Outcome::kFailed, Outcome::kFailed, Outcome::kDone));
    EXPECT_TRUE(IsOn());
    EXPECT_EQ(manager->Do({{"do", "calls"}}), nlohmann::json::array({"SetWirelessEnabled"}))
        << "it was sent after the first one, which still had its effect";
}

TEST_F(RealWifi, SwitchesTheOtherWayMeanwhileWithoutNetworkManager)
{
    PlugIn();
    Start();
    SwitchOffAndOn();
    EXPECT_EQ(Outcomes(2).front(), Outcome::kFailed);
    EXPECT_EQ(Outcomes(2).back(), Outcome::kDone);
    EXPECT_TRUE(Eventually([this] { return switches.size() % 2 == 0; }));
    EXPECT_TRUE(IsOn());
}

TEST_F(RealWifi, IsThereBesideANetworkManagerThatDoesNotAnswer)
{
    StartManager();
    PlugIn();
    manager->Do({{"do", "fail"}, {"method", "GetManagedObjects"}, {"never", true}});
    Start();
    EXPECT_TRUE(IsOn());
}

TEST_F(RealWifi, IsOffWhileASwitchOfTheMachineBlocksIt)
{
    StartManager();
    PlugIn();
    Start();
    kernel.Block(0, false, true);
    ASSERT_TRUE(Eventually([this] { return !radios->GetWifi().IsOn(); }));
    Switch(true);
    EXPECT_THAT(Outcomes(1), ElementsAre(Outcome::kBlocked));
    kernel.Block(0, false, false);
    ASSERT_TRUE(Eventually([this] { return radios->GetWifi().IsOn(); }));
    manager->Do({{"do", "change"}, {"WirelessHardwareEnabled", false}});
    ASSERT_TRUE(Eventually([this] { return !radios->GetWifi().IsOn(); }));
    Switch(true);
    EXPECT_EQ(Outcomes(2).back(), Outcome::kBlocked);
}

TEST_F(RealWifi, IsSwitchedByRfkillWithoutNetworkManager)
{
    PlugIn();
    Start();
    Switch(false);
    EXPECT_THAT(Outcomes(1), ElementsAre(Outcome::kDone));
    EXPECT_FALSE(IsOn());
    Switch(true);
    EXPECT_THAT(Outcomes(2), ElementsAre(Outcome::kDone, Outcome::kDone));
    EXPECT_TRUE(IsOn());
    EXPECT_EQ(Status()["switch"], "by rfkill");
}

TEST_F(RealWifi, IsSwitchedByRfkillThatCameWithTheCard)
{
    kernel.UnloadDriver();
    Start();
    kernel.LoadDriver();
    PlugIn();
    ASSERT_TRUE(Eventually([this] { return radios->GetWifi().IsOn(); }));
    Switch(false);
    EXPECT_THAT(Outcomes(1), ElementsAre(Outcome::kDone));
    EXPECT_FALSE(IsOn());
}

TEST_F(RealWifi, IsNotSwitchedWithoutAccessToRfkill)
{
    canSwitch = false;
    PlugIn();
    Start();
    Switch(false);
    EXPECT_THAT(Outcomes(1), ElementsAre(Outcome::kNotPermitted));
    EXPECT_EQ(Status()["switch"], "not possible");
}

TEST_F(RealWifi, FollowsNetworkManagerThatGoesAndComesBack)
{
    StartManager();
    PlugIn();
    Start();
    EXPECT_EQ(Status()["stack"], "NetworkManager 1.42.4");
    EXPECT_EQ(Status()["switch"], "by NetworkManager");
    manager->Do({{"do", "supplicant"}, {"is_there", true}});
    manager->Do({{"do", "leave"}});
    ASSERT_TRUE(Eventually([this] { return StatusInLock()["stack"] == "wpa_supplicant alone"; }));
    EXPECT_TRUE(IsOn());
    manager->Do({{"do", "supplicant"}, {"is_there", false}});
    ASSERT_TRUE(Eventually(
        [this] { return StatusInLock()["stack"] == "neither NetworkManager nor wpa_supplicant"; }));
    EXPECT_THAT(Status()["missing"][0], HasSubstr("NetworkManager"));
    manager->Do({{"do", "come"}, {"enabled", false}});
    ASSERT_TRUE(Eventually([this] { return !radios->GetWifi().IsOn(); }));
    EXPECT_TRUE(Eventually([this] { return StatusInLock()["stack"] == "NetworkManager 1.42.4"; }));
}

TEST_F(RealWifi, LosesNetworkManagerDuringASwitch)
{
    StartManager();
    PlugIn();
    Start();
    manager->Do({{"do", "fail"}, {"method", "SetWirelessEnabled"}, {"never", true}});
    Switch(false);
    AwaitSwitch();
    manager->Kill();
    EXPECT_THAT(Outcomes(1), ElementsAre(Outcome::kFailed));
    EXPECT_TRUE(IsOn());
}

TEST_F(RealWifi, FollowsCardsThatComeAndGo)
{
    Start();
    PlugIn();
    ASSERT_TRUE(Eventually([this] { return radios->GetWifi().IsOn(); }));
    kernel.SetCard(1);
    ASSERT_TRUE(Eventually([this] { return radios->GetWifiCards().States().size() == 2; }));
    kernel.RemoveCard(1);
    ASSERT_TRUE(Eventually(
        [this] { return radios->GetWifiCards().States().back() == CardState::kAbsent; }));
    kernel.RemoveCard(0);
    ASSERT_TRUE(Eventually([this] { return !radios->GetWifi().IsOn(); }));
    EXPECT_THAT(States(), ElementsAre(CardState::kAbsent, CardState::kAbsent));
    Switch(true);
    EXPECT_THAT(Outcomes(1), ElementsAre(Outcome::kNoAdapter));
    PlugIn();
    ASSERT_TRUE(Eventually([this] { return radios->GetWifi().IsOn(); }));
    Locked([this] {
        EXPECT_THAT(switches, ElementsAre(true, false, true));
        EXPECT_THAT(cards, ElementsAre(0U, 1U, 1U, 0U, 0U));
    });
}

TEST_F(RealWifi, UsesTheFirstCardAsLongAsItIsThere)
{
    kernel.SetCard(1);
    kernel.SetInterface(5, "wlan1", 1);
    Start();
    EXPECT_EQ(Status()["adapter"], "wlan1");
    kernel.SetCard(0);
    kernel.SetInterface(4, "wlan0");
    ASSERT_TRUE(Eventually([this] { return radios->GetWifiCards().Interfaces().size() == 2; }));
    EXPECT_EQ(Status()["adapter"], "wlan1");
    kernel.RemoveCard(1);
    ASSERT_TRUE(Eventually([this] { return StatusInLock()["adapter"] == "wlan0"; }));
}

TEST_F(RealWifi, UsesTheCardThatWasChosenByItsInterface)
{
    PlugIn();
    Start("wlan1");
    EXPECT_FALSE(IsOn());
    EXPECT_THAT(States(), ElementsAre(CardState::kAbsent, CardState::kOn))
        << "the first one is the adapter";
    kernel.SetCard(1);
    ASSERT_TRUE(Eventually([this] { return radios->GetWifiCards().States().size() == 3; }))
        << "whose interface is not known yet";
    kernel.SetInterface(5, "wlan1", 1, "Home", 5180);
    EXPECT_TRUE(EventuallyOn("Home on 36"));
    EXPECT_THAT(States(), ElementsAre(CardState::kOn, CardState::kOn));
    Locked([this] { EXPECT_EQ(radios->GetWifi().Address(), 0x020000000020U); });
}

TEST_F(RealWifi, CallsNothingOnceItIsReleased)
{
    PlugIn();
    Start();
    Locked([this] {
        radios->GetWifi().Switch(false, Store());
        radios->Release();
    });
    ASSERT_TRUE(Eventually([this] { return !host->GetPicture().isOn; }));
    AwaitLoop();  // the switch ends after the picture
    Locked([this] {
        EXPECT_THAT(outcomes, IsEmpty());
        EXPECT_THAT(switches, IsEmpty());
        EXPECT_THAT(cards, IsEmpty());
    });
}

TEST(AGuid, BelongsToACardAndAName)
{
    EXPECT_EQ(wifi::GuidOf(0x0200000000AB, "wlan0").substr(25), "0200000000AB}");
    EXPECT_EQ(wifi::GuidOf(1, "wlan0").size(), 38U);
    EXPECT_NE(wifi::GuidOf(1, "wlan0"), wifi::GuidOf(1, "wlan1"));
    EXPECT_NE(wifi::GuidOf(1, "wlan0"), wifi::GuidOf(2, "wlan0"));
    EXPECT_EQ(wifi::GuidOf(1, "wlan0"), wifi::GuidOf(1, "wlan0"));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
