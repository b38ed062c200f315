// How links end, and operations that fail.
#include <tests/service/linux/GattLinkTest.h>

namespace pelacon::service::linux_radios::tests {

namespace {

TEST_F(AGattLink, FailsIfBluezCannotConnect)
{
    AddDevice();
    bluetoothd->Do({{"do", "fail"}, {"method", "Connect"}, {"error", "org.bluez.Error.Failed"}});
    link = NewLink();
    EXPECT_TRUE(Sees({"ended: not established"}));
    Do([this] { link->Discover(Store()); });
    EXPECT_EQ(Result(), GattStatus::kNotConnected);
}

TEST_F(AGattLink, FailsIfThePeerHasLeftMeanwhile)
{
    AddDevice();
    bluetoothd->Do({{"do", "fail"}, {"method", "Connect"}, {"idle", true}});
    link = NewLink();
    EXPECT_TRUE(Sees({"ended: not established"}));
}

TEST_F(AGattLink, FailsIfTheDeviceIsForgottenMeanwhile)
{
    AddDevice();
    bluetoothd->Do({{"do", "fail"}, {"method", "Connect"}, {"never", true}, {"times", 1000}});
    link = NewLink();
    ASSERT_TRUE(IsCalled("Connect"));
    bluetoothd->Do({{"do", "remove"}, {"path", kDevicePath}});
    EXPECT_TRUE(Sees({"ended: not established"}));
}

TEST_F(AGattLink, ReportsWhyAnOperationIsRefused)
{
    Connect();
    for (const auto& [error, expected] :
         {std::pair{"org.bluez.Error.NotPermitted", GattStatus::kNotPermitted},
          std::pair{"org.bluez.Error.NotAuthorized", GattStatus::kNotPermitted},
          std::pair{"org.bluez.Error.NotSupported", GattStatus::kNotSupported},
          std::pair{"org.bluez.Error.InvalidValueLength", GattStatus::kInvalidValue},
          std::pair{"org.bluez.Error.InProgress", GattStatus::kBusy},
          std::pair{"org.bluez.Error.NotConnected", GattStatus::kNotConnected},
          std::pair{"org.bluez.Error.Failed", GattStatus::kUnreachable}}) {
        bluetoothd->Do({{"do", "fail"}, {"method", "ReadValue"}, {"error", error}});
        Do([this] { link->Read({kHeartRate, kMeasurement}, StoreRead()); });
        EXPECT_EQ(Result(), expected) << error;
    }
}

TEST_F(AGattLink, EndsWhatIsUnderWayWhenThePeerGoes)
{
    Connect();
    bluetoothd->Do({{"do", "fail"}, {"method", "ReadValue"}, {"never", true}});
    Do([this] { link->Read({kHeartRate, kMeasurement}, StoreRead()); });
    bluetoothd->Do({{"do", "change"}, {"path", kDevicePath}, {"Connected", false}});
    EXPECT_EQ(Result(), GattStatus::kNotConnected);
    EXPECT_TRUE(Sees({"connected", "ended: peer"}));
}

TEST_F(AGattLink, EndsABrokenOffOperationWithTheConnection)
{
    Connect();
    bluetoothd->Do({{"do", "fail"},
                    {"method", "ReadValue"},
                    {"error", "org.bluez.Error.Failed"},
                    {"message", "Operation failed"}});
    Do([this] { link->Read({kHeartRate, kMeasurement}, StoreRead()); });
    ASSERT_TRUE(IsCalled("ReadValue"));
    bluetoothd->Do({{"do", "change"}, {"path", kDevicePath}, {"Connected", false}});
    EXPECT_EQ(Result(), GattStatus::kNotConnected);
}

TEST_F(AGattLink, EndsAnOperationThatFailsWithTheConnection)
{
    Connect();
    bluetoothd->Do({{"do", "fail"},
                    {"method", "ReadValue"},
                    {"error", "org.bluez.Error.Failed"},
                    {"message", "Operation failed with ATT error: 0x0e"},
                    {"leaves", kDevicePath}});
    Do([this] { link->Read({kHeartRate, kMeasurement}, StoreRead()); });
    EXPECT_EQ(Result(), GattStatus::kNotConnected);
}

TEST_F(AGattLink, ReportsTheKernelsReason)
{
    for (const auto& [reason, expected] :
         {std::pair{"01", "ended: timeout"}, std::pair{"02", "ended: local"},
          std::pair{"03", "ended: peer"}}) {
        Connect();
        management.Send(FromHex(std::string("0c00 0000 0800 0605040302c1 02") + reason));
        bluetoothd->Do({{"do", "change"}, {"path", kDevicePath}, {"Connected", false}});
        EXPECT_TRUE(Sees({"connected", expected})) << reason;
        Do([this] {
            link.reset();
            events.clear();
        });
        bluetoothd->Do({{"do", "remove"}, {"path", kDevicePath}});
    }
}

TEST_F(AGattLink, EndsWithBluezAndWithTheAdapter)
{
    Connect();
    bluetoothd->Do({{"do", "change"}, {"path", "hci0"}, {"Powered", false}});
    EXPECT_TRUE(Sees({"connected", "ended: local"}));
    Do([this] {
        link.reset();
        events.clear();
    });
    StartBluez();
    AddDevice();
    ASSERT_TRUE(Eventually([this] { return stack->Adapter() && stack->Adapter()->isOn; }));
    link = NewLink();
    ASSERT_TRUE(Sees({"connected"}));
    bluetoothd->Kill();
    EXPECT_TRUE(Sees({"connected", "ended: local"}));
}

TEST_F(AGattLink, MayBeDestroyedByAnotherOneThatEnds)
{
    Connect();
    std::unique_ptr<GattLink> third;
    int ended = 0;
    const GattLink::Callbacks callbacks{[] {},
                                        [&](GattReason) {
                                            ++ended;
                                            link.reset();
                                            third.reset();
                                        },
                                        [](const GattLink::Key&, const dbus::Bytes&, bool) {}};
    auto second = Do([&] { return std::make_unique<GattLink>(*central, kAddress, callbacks); });
    Do([&] { third = std::make_unique<GattLink>(*central, kAddress, callbacks); });
    ASSERT_TRUE(Eventually([&] { return second->IsUp() && third->IsUp(); }));
    bluetoothd->Kill();
    EXPECT_TRUE(Eventually([&] { return ended == 1 && !link && !third; }));
    Do([&] { second.reset(); });
}

TEST_F(AGattLink, EndsWithTheBus)
{
    Connect();
    bluetoothd->Do({{"do", "fail"}, {"method", "ReadValue"}, {"never", true}});
    Do([this] {
        link->Subscribe({kHeartRate, kMeasurement}, true, [](GattStatus) {});
        link->Read({kHeartRate, kMeasurement}, StoreRead());
    });
    bus.Kill();
    EXPECT_EQ(Result(), GattStatus::kNotConnected);
    EXPECT_TRUE(Sees({"connected", "ended: local"}));
}

TEST_F(AGattLink, AbandonsAnAttemptThatIsNotAnswered)
{
    AddDevice();
    bluetoothd->Do({{"do", "fail"}, {"method", "Connect"}, {"never", true}});
    Do([this] { central->connectLimit = std::chrono::milliseconds(100); });
    link = NewLink();
    EXPECT_TRUE(Sees({"ended: not established"}));
    EXPECT_TRUE(IsCalled("Disconnect"));
}

TEST_F(AGattLink, AbandonsASearchThatFindsNothing)
{
    Do([this] { central->connectLimit = std::chrono::milliseconds(100); });
    link = NewLink();
    EXPECT_TRUE(Sees({"ended: not established"}));
    EXPECT_TRUE(IsCalled("StopDiscovery"));
}

TEST_F(AGattLink, AbandonsADiscoveryOfServicesThatDoesNotEnd)
{
    AddDevice();
    link = NewLink();
    ASSERT_TRUE(Sees({"connected"}));
    Do([this] {
        central->discoverLimit = std::chrono::milliseconds(100);
        link->Discover(Store());
    });
    EXPECT_EQ(Result(), GattStatus::kUnreachable);
}

/// A call waits for its reply for two seconds.
class AnImpatientGattLink : public AGattLink {
  protected:
    AnImpatientGattLink() : AGattLink(std::chrono::seconds(2)) {}
};

TEST_F(AnImpatientGattLink, AbandonsOperationsThatAreNotAnswered)
{
    Connect();
    for (const char* const method : {"ReadValue", "WriteValue", "StartNotify", "StartNotify"}) {
        bluetoothd->Do({{"do", "fail"}, {"method", method}, {"never", true}});
    }
    std::vector<GattStatus> results;
    Do([&] {
        const auto note = [&](GattStatus outcome) { results.push_back(outcome); };
        link->Read({kHeartRate, kMeasurement},
                   [note](GattStatus outcome, const dbus::Bytes&) { note(outcome); });
        link->Write({kHeartRate, kControlPoint}, FromHex("01"), note);
        link->Subscribe({kHeartRate, kMeasurement}, true, note);
        link->Subscribe({kHeartRate, kControlPoint}, true, note);
    });
    ASSERT_TRUE(Eventually([&] { return results.size() == 4; }));
    EXPECT_THAT(results, testing::Each(GattStatus::kUnreachable));
    // The connection goes on.
    Do([this] { link->Read({kHeartRate, kMeasurement}, StoreRead()); });
    EXPECT_EQ(Result(), GattStatus::kDone);
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
