#include <service/linux/bluetooth/Adapter.h>
#include <tests/service/linux/FaceTest.h>

#include <gmock/gmock.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using radio::AdapterState;
using radio::Outcome;
using testing::ElementsAre;
using testing::IsEmpty;

class AnAdapter : public FaceTest, private Host::Observer {
  protected:
    /// Not in the destructor, as this is an observer until then.
    void TearDown() override
    {
        Locked([this] {
            if (host) {
                host->SetObserver(nullptr);
            }
            adapter.reset();
        });
    }

    void Start()
    {
        StartHost();
        Locked([this] {
            host->SetObserver(this);
            adapter = std::make_unique<bluetooth::Adapter>(*host, gate);
            adapter->Observe([this](AdapterState state) { states.push_back(state); });
        });
    }
    radio::OutcomeDone Store()
    {
        return [this](Outcome outcome) { outcomes.push_back(outcome); };
    }
    bool Ends(std::size_t operations)
    {
        return Eventually([&] { return outcomes.size() == operations; });
    }

    std::vector<AdapterState> states;
    std::vector<Outcome> outcomes;
    std::unique_ptr<bluetooth::Adapter> adapter;

  private:
    void PictureChanged(const AdapterPicture& before) override { adapter->PictureChanged(before); }
    void Heard(const AdvertisingReport& /*report*/) override {}
    void DiscoveryBegan() override {}
    void DiscoveryEnded(Outcome /*why*/) override {}
};

TEST_F(AnAdapter, IsOffAndHasNoAddressIfThereIsNone)
{
    Start();
    Locked([this] {
        EXPECT_EQ(adapter->State(), AdapterState::kOff);
        EXPECT_EQ(adapter->Address(), 0U);
        EXPECT_EQ(adapter->Name(), "");
        adapter->Switch(true, Store());
        adapter->Rename("hall", Store());
    });
    ASSERT_TRUE(Ends(2));
    EXPECT_THAT(outcomes, ElementsAre(Outcome::kNoAdapter, Outcome::kNoAdapter));
    EXPECT_THAT(states, IsEmpty());
}

TEST_F(AnAdapter, HasTheAdaptersPropertiesAtOnce)
{
    StartBluez();
    Start();
    Locked([this] {
        EXPECT_TRUE(adapter->IsOn());
        EXPECT_EQ(adapter->Address(), 0x00AA01000000U);
        EXPECT_EQ(adapter->Name(), "desk");
    });
}

TEST_F(AnAdapter, SwitchesAndReportsEachState)
{
    StartBluez();
    Start();
    Locked([this] { adapter->Switch(false, Store()); });
    ASSERT_TRUE(Ends(1));
    Locked([this] { adapter->Switch(true, Store()); });
    ASSERT_TRUE(Ends(2));
    EXPECT_THAT(outcomes, ElementsAre(Outcome::kDone, Outcome::kDone));
    EXPECT_THAT(states, ElementsAre(AdapterState::kTurningOff, AdapterState::kOff,
                                    AdapterState::kTurningOn, AdapterState::kOn));
}

TEST_F(AnAdapter, EndsSwitchesToTheSameStateTogether)
{
    StartBluez();
    Start();
    bluetoothd->Do({{"do", "fail"}, {"method", "SetPowered"}, {"delay", 100}});
    Locked([this] {
        adapter->Switch(true, Store());  // it is on
        EXPECT_THAT(outcomes, ElementsAre(Outcome::kDone));
        adapter->Switch(false, Store());
        adapter->Switch(false, Store());
    });
    ASSERT_TRUE(Ends(3));
    EXPECT_THAT(outcomes, ElementsAre(Outcome::kDone, Outcome::kDone, Outcome::kDone));
}

TEST_F(AnAdapter, StaysAsItIsIfSwitchingIsRefused)
{
    StartBluez();
    Start();
    bluetoothd->Do(
        {{"do", "fail"}, {"method", "SetPowered"}, {"error", "org.bluez.Error.Blocked"}});
    Locked([this] { adapter->Switch(false, Store()); });
    ASSERT_TRUE(Ends(1));
    EXPECT_THAT(outcomes, ElementsAre(Outcome::kBlocked));
    Locked([this] { EXPECT_TRUE(adapter->IsOn()); });
    EXPECT_THAT(states, IsEmpty());
}

TEST_F(AnAdapter, IsOffWithoutBluezAndOnAgainWithIt)
{
    StartBluez();
    Start();
    bluetoothd->Kill();
    ASSERT_TRUE(Eventually([this] { return !adapter->IsOn(); }));
    StartBluez();
    ASSERT_TRUE(Eventually([this] { return adapter->IsOn(); }));
    EXPECT_THAT(states,
                ElementsAre(AdapterState::kOff, AdapterState::kTurningOn, AdapterState::kOn));
}

TEST_F(AnAdapter, CutsALongNameBetweenCharacters)
{
    StartBluez();
    Start();
    const std::string prefix(63, 'n');
    Locked([&] { adapter->Rename(prefix + "\xC3\xA9", Store()); });
    ASSERT_TRUE(Ends(1));
    Locked([&] { EXPECT_EQ(adapter->Name(), prefix); });
}

TEST_F(AnAdapter, CallsNothingOnceItsGateIsClosed)
{
    StartBluez();
    Start();
    Locked([this] {
        gate->Close();
        adapter->Rename("hall", Store());
    });
    ASSERT_TRUE(Eventually([this] { return host->Picture().name == "hall"; }));
    Locked([this] { EXPECT_THAT(outcomes, IsEmpty()); });
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
