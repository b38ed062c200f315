#include <service/linux/wifi/KernelMirror.h>
#include <tests/service/linux/WifiKernel.h>

#include <gmock/gmock.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using wifi::KernelMirror;

class TheMirrorOfTheKernel : public LoopTest {
  protected:
    ~TheMirrorOfTheKernel() override
    {
        Do([this] { mirror.reset(); });
    }

    void Start()
    {
        Do([this] {
            mirror = std::make_unique<KernelMirror>(loop, kernel.Netlink(), [this] { ++changes; });
        });
        ASSERT_TRUE(Eventually([this] { return mirror->IsKnown(); }));
    }
    /// The names of the interfaces, and of their networks.
    std::vector<std::pair<std::string, std::string>> Interfaces() const
    {
        std::vector<std::pair<std::string, std::string>> interfaces;
        for (const auto& [index, interface] : mirror->AllInterfaces()) {
            interfaces.emplace_back(interface.name, interface.ssid);
        }
        return interfaces;
    }

    WifiKernel kernel;
    int changes = 0;
    std::unique_ptr<KernelMirror> mirror;
};

TEST_F(TheMirrorOfTheKernel, HasAllCardsAndInterfacesAtOnce)
{
    kernel.SetCard(0);
    kernel.SetCard(1);
    kernel.SetInterface(4, "wlan0", 0, "Home", 2437);
    kernel.SetInterface(5, "wlan1", 1);
    Start();
    Do([this] {
        EXPECT_EQ(changes, 1);
        EXPECT_EQ(mirror->AllCards().at(0).name, "phy0");
        EXPECT_EQ(mirror->AllCards().at(1).bands.at(0).frequencies.size(), 3U);
        EXPECT_THAT(Interfaces(), ElementsAre(Pair("wlan0", "Home"), Pair("wlan1", "")));
    });
}

TEST_F(TheMirrorOfTheKernel, FollowsCardsAndInterfaces)
{
    Start();
    Do([this] { EXPECT_THAT(mirror->AllCards(), IsEmpty()); });
    kernel.SetCard(0);
    kernel.SetInterface(4, "wlan0");
    ASSERT_TRUE(Eventually([this] { return Interfaces().size() == 1; }));
    kernel.SetInterface(4, "wlan0", 0, "Home", 2437);
    ASSERT_TRUE(Eventually([this] { return Interfaces().front().second == "Home"; }));
    kernel.SetCard(0, {2412});
    ASSERT_TRUE(Eventually(
        [this] { return mirror->AllCards().at(0).bands.at(0).frequencies.size() == 1; }));
    kernel.RemoveCard(0);
    ASSERT_TRUE(Eventually([this] { return mirror->AllCards().empty() && Interfaces().empty(); }));
}

TEST_F(TheMirrorOfTheKernel, FollowsTheNameOfAnInterface)
{
    kernel.SetCard(0);
    kernel.SetInterface(4, "wlan0");
    Start();
    kernel.RenameInterface(4, "wlp2s0");
    ASSERT_TRUE(Eventually([this] { return Interfaces().front().first == "wlp2s0"; }));
}

TEST_F(TheMirrorOfTheKernel, HasTheLoadsAfterEachScan)
{
    kernel.SetCard(0);
    kernel.SetInterface(4, "wlan0");
    kernel.Measure({{2412, 100, 25}});
    Start();
    Do([this] { EXPECT_THAT(mirror->LoadsOf(0), ElementsAre(Pair(2412U, 25))); });
    kernel.Measure({{2437, 100, 50}, {2412, 0, 0}});
    ASSERT_TRUE(Eventually([this] { return mirror->LoadsOf(0).contains(2437); }));
    Do([this] {
        EXPECT_THAT(mirror->LoadsOf(0), ElementsAre(Pair(2437U, 50)));
        EXPECT_THAT(mirror->LoadsOf(1), IsEmpty()) << "another card's";
    });
    kernel.RemoveCard(0);
    ASSERT_TRUE(Eventually([this] { return mirror->AllCards().empty(); }));
    Do([this] { EXPECT_THAT(mirror->LoadsOf(0), IsEmpty()); });
}

TEST_F(TheMirrorOfTheKernel, ReadsAListAgainThatChangedMeanwhile)
{
    kernel.SetCard(0);
    kernel.InterruptDumps(NL80211_CMD_GET_WIPHY, 2);
    kernel.InterruptDumps(NL80211_CMD_GET_INTERFACE, 1);
    Start();
    Do([this] { EXPECT_EQ(mirror->AllCards().size(), 1U); });
}

TEST_F(TheMirrorOfTheKernel, KeepsWhatItHasWhereAListCannotBeRead)
{
    kernel.SetCard(0);
    Start();
    kernel.FailDumps(NL80211_CMD_GET_WIPHY, 1000, ENODEV);
    kernel.SetCard(0, {2412});
    ASSERT_TRUE(Eventually([this] { return changes >= 2; }));
    Do([this] { EXPECT_EQ(mirror->AllCards().at(0).bands.at(0).frequencies.size(), 3U); });
    kernel.FailDumps(NL80211_CMD_GET_WIPHY, 0, 0);
    kernel.SetCard(1);  // which has it read at once
    ASSERT_TRUE(Eventually([this] { return mirror->AllCards().size() == 2; }));
}

TEST_F(TheMirrorOfTheKernel, IsEmptyWithoutADriverAndFilledWithIt)
{
    kernel.UnloadDriver();
    kernel.SetCard(0);
    Start();
    Do([this] { EXPECT_THAT(mirror->AllCards(), IsEmpty()); });
    kernel.LoadDriver();
    ASSERT_TRUE(Eventually([this] { return mirror->AllCards().size() == 1; }));
}

TEST_F(TheMirrorOfTheKernel, FollowsADriverThatIsLoadedAgain)
{
    kernel.SetCard(0);
    Start();
    kernel.UnloadDriver();
    ASSERT_TRUE(Eventually([this] { return mirror->AllCards().empty(); }));
    kernel.LoadDriver();
    ASSERT_TRUE(Eventually([this] { return changes >= 3; }));
    kernel.SetCard(1);
    ASSERT_TRUE(Eventually([this] { return mirror->AllCards().contains(1); }));
}

TEST_F(TheMirrorOfTheKernel, IsEmptyUntilThereAreSockets)
{
    kernel.SetCard(0);
    kernel.RefuseSockets(1);
    Start();
    Do([this] { EXPECT_THAT(mirror->AllCards(), IsEmpty()); });
    ASSERT_TRUE(Eventually([this] { return mirror->AllCards().size() == 1; }));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
