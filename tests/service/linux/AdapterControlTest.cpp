#include <service/linux/bluetooth/AdapterControl.h>
#include <tests/service/linux/StackTest.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using testing::ElementsAre;
using testing::Pair;
using Outcome = radio::Outcome;

class AnAdapterControl : public StackTest {
  protected:
    AnAdapterControl()
    {
        Do([this] {
            control = std::make_unique<AdapterControl>(
                *stack, [this](const AdapterPicture& picture) { pictures.push_back(picture); });
        });
    }
    ~AnAdapterControl() override
    {
        Do([this] { control.reset(); });
    }

    /// Waits until the last picture is so.
    template <typename Condition>
    bool Sees(const Condition& condition)
    {
        return Eventually([&] { return !pictures.empty() && condition(pictures.back()); });
    }
    void StartWithAListThatFails(const char* error)
    {
        StartBluez();
        bluetoothd->Do({{"do", "fail"}, {"method", "GetManagedObjects"}, {"error", error}});
        Start();
        EXPECT_TRUE(Sees([](const AdapterPicture& picture) { return !picture.isThere; }));
    }
    void Switch(bool on)
    {
        Do([&] { control->Switch(on, Store()); });
    }
    AdapterControl::Done Store()
    {
        outcome.reset();
        return [this](Outcome result) { outcome = result; };
    }
    std::optional<Outcome> Result()
    {
        EXPECT_TRUE(Eventually([this] { return outcome.has_value(); }));
        return Do([this] { return outcome; });
    }

    std::vector<AdapterPicture> pictures;
    std::optional<Outcome> outcome;
    std::unique_ptr<AdapterControl> control;
};

TEST_F(AnAdapterControl, FailsWithoutBluez)
{
    Start();
    EXPECT_TRUE(Sees([](const AdapterPicture& picture) { return !picture.isThere; }));
    EXPECT_EQ(Do([this] { return stack->GetPresence(); }), Stack::Presence::kNoBluez);
    Switch(true);
    EXPECT_EQ(Result(), Outcome::kNoAdapter);
}

TEST_F(AnAdapterControl, KnowsThatTheBusForbidsBluez)
{
    StartWithAListThatFails("org.freedesktop.DBus.Error.AccessDenied");
    EXPECT_EQ(Do([this] { return stack->GetPresence(); }), Stack::Presence::kForbidden);
    // The next attempt succeeds.
    EXPECT_TRUE(Sees([](const AdapterPicture& picture) { return picture.isThere; }));
    EXPECT_EQ(Do([this] { return stack->GetPresence(); }), Stack::Presence::kThere);
}

TEST_F(AnAdapterControl, KnowsThatBluezDoesNotAnswer)
{
    StartWithAListThatFails("org.freedesktop.DBus.Error.NoReply");
    EXPECT_EQ(Do([this] { return stack->GetPresence(); }), Stack::Presence::kSilent);
}

TEST_F(AnAdapterControl, ReadsThePresentStateAtOnce)
{
    StartBluez();
    Start();
    ASSERT_TRUE(Sees([](const AdapterPicture& picture) { return picture.isThere; }));
    const AdapterPicture first = Do([this] { return pictures.front(); });
    EXPECT_EQ(first.address, 0x00AA01000000U);
    EXPECT_EQ(first.name, "desk");
    EXPECT_TRUE(first.isOn);
}

TEST_F(AnAdapterControl, SwitchesAndReportsTheEnd)
{
    StartBluez();
    Start();
    ASSERT_TRUE(Sees([](const AdapterPicture& picture) { return picture.isOn; }));
    Switch(false);
    EXPECT_EQ(Result(), Outcome::kDone);
    EXPECT_FALSE(Do([this] { return control->Picture().isOn; }));
    Switch(true);
    EXPECT_EQ(Result(), Outcome::kDone);
    EXPECT_TRUE(Do([this] { return control->Picture().isOn; }));
}

TEST_F(AnAdapterControl, RenamesAndWaitsForTheNewName)
{
    StartBluez();
    Start();
    ASSERT_TRUE(Sees([](const AdapterPicture& picture) { return picture.isThere; }));
    bluetoothd->Do({{"do", "fail"}, {"method", "SetAlias"}, {"delay", 100}});
    Do([this] { control->Rename("hall", Store()); });
    EXPECT_EQ(Result(), Outcome::kDone);
    EXPECT_EQ(Do([this] { return control->Picture().name; }), "hall");
}

TEST_F(AnAdapterControl, RefusesANameThatIsNotUtf8)
{
    StartBluez();
    Start();
    ASSERT_TRUE(Sees([](const AdapterPicture& picture) { return picture.isThere; }));
    Do([this] { control->Rename("B\xFCro", Store()); });
    EXPECT_EQ(Result(), Outcome::kFailed);
}

TEST_F(AnAdapterControl, KeepsItsAdapterWhileItIsThere)
{
    StartBluez();
    bluetoothd->Do({{"do", "adapter"}, {"name", "hci1"}, {"Alias", "other"}, {"Powered", true}});
    Start();
    ASSERT_TRUE(Sees([](const AdapterPicture& picture) { return picture.name == "desk"; }));
    bluetoothd->Do({{"do", "remove"}, {"path", "hci0"}});
    ASSERT_TRUE(Sees([](const AdapterPicture& picture) { return picture.name == "other"; }));
    EXPECT_FALSE(Do([this] { return pictures.at(pictures.size() - 2).isThere; }));
    bluetoothd->Do({{"do", "adapter"}, {"name", "hci0"}, {"Alias", "desk"}, {"Powered", true}});
    Do([this] { control->Rename("still", Store()); });
    EXPECT_EQ(Result(), Outcome::kDone);
    EXPECT_EQ(Do([this] { return stack->Adapter()->path; }), "/org/bluez/hci1");
}

TEST_F(AnAdapterControl, ReportsTheReasonOfARefusal)
{
    StartBluez();
    Start();
    ASSERT_TRUE(Sees([](const AdapterPicture& picture) { return picture.isThere; }));
    for (const auto& [error, expected] :
         {std::pair{"org.freedesktop.DBus.Error.AccessDenied", Outcome::kNotPermitted},
          std::pair{"org.bluez.Error.NotPermitted", Outcome::kNotPermitted},
          std::pair{"org.bluez.Error.Blocked", Outcome::kBlocked},
          std::pair{"org.bluez.Error.Failed", Outcome::kFailed},
          std::pair{"org.freedesktop.DBus.Error.UnknownObject", Outcome::kNoAdapter}}) {
        bluetoothd->Do({{"do", "fail"}, {"method", "SetPowered"}, {"error", error}});
        Switch(false);
        EXPECT_EQ(Result(), expected) << error;
    }
}

TEST_F(AnAdapterControl, EndsARequestWhenItsAdapterIsRemoved)
{
    StartBluez();
    Start();
    ASSERT_TRUE(Sees([](const AdapterPicture& picture) { return picture.isThere; }));
    bluetoothd->Do({{"do", "fail"}, {"method", "SetPowered"}, {"never", true}});
    Switch(false);
    bluetoothd->Do({{"do", "remove"}, {"path", "hci0"}});
    EXPECT_EQ(Result(), Outcome::kNoAdapter);
    EXPECT_TRUE(Sees([](const AdapterPicture& picture) { return !picture.isThere; }));
}

TEST_F(AnAdapterControl, EndsARequestWithBluezAndRecoversWithIt)
{
    StartBluez();
    Start();
    ASSERT_TRUE(Sees([](const AdapterPicture& picture) { return picture.isThere; }));
    bluetoothd->Do({{"do", "fail"}, {"method", "SetPowered"}, {"never", true}});
    Switch(false);
    bluetoothd->Kill();
    EXPECT_EQ(Result(), Outcome::kNoAdapter);
    EXPECT_TRUE(Sees([](const AdapterPicture& picture) { return !picture.isThere; }));
    StartBluez();
    EXPECT_TRUE(Sees([](const AdapterPicture& picture) { return picture.isOn; }));
}

TEST_F(AnAdapterControl, EndsARequestWithTheBus)
{
    StartBluez();
    Start();
    ASSERT_TRUE(Sees([](const AdapterPicture& picture) { return picture.isThere; }));
    bluetoothd->Do({{"do", "fail"}, {"method", "SetPowered"}, {"never", true}});
    Switch(false);
    bus.Kill();
    EXPECT_EQ(Result(), Outcome::kNoAdapter);
    EXPECT_EQ(Do([this] { return stack->GetPresence(); }), Stack::Presence::kNoBus);
}

TEST_F(AnAdapterControl, ReportsConnectedDevices)
{
    StartBluez();
    Start();
    const std::string path = "hci0/dev_1";
    bluetoothd->Do({{"do", "device"}, {"path", path}, {"Address", "00:00:00:00:00:01"}});
    ASSERT_TRUE(Sees([](const AdapterPicture& picture) { return picture.isThere; }));
    bluetoothd->Do({{"do", "change"}, {"path", path}, {"Connected", true}});
    ASSERT_TRUE(Sees([](const AdapterPicture& picture) { return !picture.connected.empty(); }));
    EXPECT_THAT(Do([this] { return control->Picture().connected; }), ElementsAre(Pair(1, true)));
    bluetoothd->Do({{"do", "remove"}, {"path", path}});
    EXPECT_TRUE(Sees([](const AdapterPicture& picture) { return picture.connected.empty(); }));
    // BlueZ may signal no more than that.
    bluetoothd->Do({{"do", "device"}, {"path", path}, {"Address", "00:00:00:00:00:01"}});
    bluetoothd->Do({{"do", "change"}, {"path", path}, {"ServicesResolved", true}});
    EXPECT_TRUE(Sees([](const AdapterPicture& picture) { return !picture.connected.empty(); }));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
