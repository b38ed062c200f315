#include <tests/service/linux/GattLinkTest.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using nlohmann::json;

TEST_F(AGattLink, ConnectsAndFindsServices)
{
    Connect();
    Do([this] {
        EXPECT_TRUE(link->IsUp());
        EXPECT_EQ(link->Remote(), (GattRemote{100, {kHeartRate}}));
    });
}

TEST_F(AGattLink, SearchesForADeviceThatIsNotKnown)
{
    link = NewLink();
    ASSERT_TRUE(IsCalled("StartDiscovery"));
    AddDevice();
    EXPECT_TRUE(Sees({"connected"}));
    EXPECT_TRUE(IsCalled("StopDiscovery"));
}

TEST_F(AGattLink, ReadsAndWrites)
{
    Connect();
    bluetoothd->Do({{"do", "change"},
                    {"path", std::string(kDevicePath) + "/service1/char1"},
                    {"Value", "0a0b"}});
    Do([this] { link->Read({kHeartRate, kMeasurement}, StoreRead()); });
    EXPECT_EQ(Result(), GattStatus::kDone);
    EXPECT_EQ(Do([this] { return read; }), FromHex("0a0b"));
    Do([this] { link->Write({kHeartRate, kControlPoint}, FromHex("01"), Store()); });
    EXPECT_EQ(Result(), GattStatus::kDone);
    const json made = bluetoothd->Do({{"do", "calls"}});
    EXPECT_EQ(made.back().at(0), "WriteValue");
    EXPECT_EQ(made.back().at(2), "01");
    EXPECT_EQ(made.back().at(3), "request");
    Do([this] { link->Write({kHeartRate, kControlPoint}, dbus::Bytes(513), Store()); });
    EXPECT_EQ(Result(), GattStatus::kInvalidValue);
    Do([this] { link->Write({kHeartRate, kMeasurement}, FromHex("01"), Store()); });
    EXPECT_EQ(Result(), GattStatus::kNotPermitted);
    Do([this] { link->Read({kHeartRate, kOther}, StoreRead()); });
    EXPECT_EQ(Result(), GattStatus::kNotFound);
}

TEST_F(AGattLink, HasEachNotificationOnce)
{
    Connect();
    Do([this] { link->Subscribe({kHeartRate, kMeasurement}, true, Store()); });
    ASSERT_EQ(Result(), GattStatus::kDone);
    const std::string path = std::string(kDevicePath) + "/service1/char1";
    for (int i = 0; i < 100; ++i) {
        Change(path, "Value", "0" + std::to_string(i % 10));
    }
    ASSERT_TRUE(Eventually([this] { return values.size() == 100; }));
    Do([this] {
        for (std::size_t i = 0; i < values.size(); ++i) {
            EXPECT_EQ(values[i].bytes, dbus::Bytes{static_cast<std::uint8_t>(i % 10)});
            EXPECT_FALSE(values[i].isIndication);
        }
        link->Subscribe({kHeartRate, kMeasurement}, false, Store());
    });
    EXPECT_EQ(Result(), GattStatus::kDone);
    EXPECT_TRUE(IsCalled("StopNotify"));
}

TEST_F(AGattLink, ComesUpWithAnotherOneThatIsFirst)
{
    AddDevice();
    bluetoothd->Do({{"do", "fail"}, {"method", "Connect"}, {"delay", 50}});
    bluetoothd->Do(
        {{"do", "fail"}, {"method", "Connect"}, {"error", "org.bluez.Error.InProgress"}});
    link = NewLink();
    auto second = NewLink();
    EXPECT_TRUE(Sees({"connected", "connected"}));
    Do([&] { second.reset(); });
}

TEST_F(AGattLink, SharesASubscriptionWithOthers)
{
    Connect();
    auto second = NewLink();
    ASSERT_TRUE(Sees({"connected", "connected"}));
    int done = 0;
    Do([&] {
        const auto count = [&](GattStatus outcome) {
            done += outcome == GattStatus::kDone ? 1 : 0;
        };
        link->Subscribe({kHeartRate, kMeasurement}, true, count);
        second->Subscribe({kHeartRate, kMeasurement}, true, count);
    });
    ASSERT_TRUE(Eventually([&] { return done == 2; }));
    const std::string path = std::string(kDevicePath) + "/service1/char1";
    Change(path, "Value", "01");
    EXPECT_TRUE(Eventually([this] { return values.size() == 2; }));
    Do([this] {
        link.reset();
        values.clear();
    });
    Change(path, "Value", "02");
    EXPECT_TRUE(Eventually([this] { return values.size() == 1; }));
    const json made = bluetoothd->Do({{"do", "calls"}});
    EXPECT_EQ(std::count_if(made.begin(), made.end(),
                            [](const json& call) { return call.at(0) == "StartNotify"; }),
              1);
    Do([&] { second.reset(); });
    EXPECT_TRUE(IsCalled("StopNotify"));
}

TEST_F(AGattLink, SubscribesAgainWhenThePeerHasReplacedTheCharacteristic)
{
    Connect();
    Do([this] { link->Subscribe({kHeartRate, kMeasurement}, true, Store()); });
    ASSERT_EQ(Result(), GattStatus::kDone);
    const std::string service = std::string(kDevicePath) + "/service1";
    bluetoothd->Do({{"do", "remove"}, {"path", service + "/char1"}});
    const std::string moved = service + "/char7";
    bluetoothd->Do({{"do", "characteristic"},
                    {"path", moved},
                    {"UUID", "2a37"},
                    {"Flags", {"read", "notify"}}});
    ASSERT_TRUE(test::Eventually([this] { return CallsOf("StartNotify") == 2; }));
    Change(moved, "Value", "01");
    EXPECT_TRUE(Eventually([this] { return values.size() == 1; }));
    EXPECT_EQ(CallsOf("StopNotify"), 0);
    Do([this] { link->Subscribe({kHeartRate, kMeasurement}, false, Store()); });
    EXPECT_EQ(Result(), GattStatus::kDone);
    EXPECT_TRUE(IsCalled("StopNotify"));
}

TEST_F(AGattLink, TriesAgainToSubscribeAfterARefusal)
{
    Connect();
    bluetoothd->Do(
        {{"do", "fail"}, {"method", "StartNotify"}, {"error", "org.bluez.Error.NotPermitted"}});
    Do([this] { link->Subscribe({kHeartRate, kMeasurement}, true, Store()); });
    EXPECT_EQ(Result(), GattStatus::kNotPermitted);
    Do([this] { link->Subscribe({kHeartRate, kMeasurement}, true, Store()); });
    EXPECT_EQ(Result(), GattStatus::kDone);
}

TEST_F(AGattLink, ReceivesIndications)
{
    Connect();
    Do([this] { link->Subscribe({kHeartRate, kControlPoint}, true, Store()); });
    ASSERT_EQ(Result(), GattStatus::kDone);
    bluetoothd->Do({{"do", "change"},
                    {"path", std::string(kDevicePath) + "/service1/char2"},
                    {"Value", "07"}});
    ASSERT_TRUE(Eventually([this] { return values.size() == 1; }));
    EXPECT_TRUE(Do([this] { return values.front().isIndication; }));
    Do([this] { link.reset(); });
    EXPECT_TRUE(IsCalled("StopNotify"));
    EXPECT_TRUE(IsCalled("Disconnect"));
}

TEST_F(AGattLink, WaitsForADeviceThatIsStillBeingLeft)
{
    Connect();
    bluetoothd->Do({{"do", "fail"}, {"method", "Disconnect"}, {"delay", 200}});
    Do([this] {
        link.reset();
        events.clear();
    });
    link = NewLink();
    ASSERT_TRUE(Sees({"connected"}));
    const json made = bluetoothd->Do({{"do", "calls"}});
    EXPECT_EQ(made.back().at(0), "Connect");
    Do([this] { EXPECT_TRUE(link->IsUp()); });
}

TEST_F(AGattLink, AsksAgainForAConnectionThatBluezHasDropped)
{
    AddDevice();
    bluetoothd->Do({{"do", "fail"}, {"method", "Connect"}, {"never", true}});
    link = NewLink();
    EXPECT_TRUE(Sees({"connected"}));
    EXPECT_EQ(CallsOf("Connect"), 2);
}

TEST_F(AGattLink, WaitsForAnAttemptThatIsUnderWay)
{
    AddDevice();
    for (const auto& [error, message] :
         {std::pair{"org.bluez.Error.InProgress", ""},
          std::pair{"org.bluez.Error.Failed", "Operation already in progress"}}) {
        bluetoothd->Do(
            {{"do", "fail"}, {"method", "Connect"}, {"error", error}, {"message", message}});
    }
    link = NewLink();
    EXPECT_TRUE(Sees({"connected"}));
    EXPECT_EQ(CallsOf("Connect"), 3);
}

TEST_F(AGattLink, AsksAgainWhileTheKernelStillEndsTheConnectionBefore)
{
    AddDevice();
    bluetoothd->Do({{"do", "fail"},
                    {"method", "Connect"},
                    {"error", "org.bluez.Error.Failed"},
                    {"message", "Input/output error"}});
    link = NewLink();
    EXPECT_TRUE(Sees({"connected"}));
    EXPECT_EQ(CallsOf("Connect"), 2);
}

TEST_F(AGattLink, EndsItsConnectionThoughAnEarlierAttemptFoundBluezBusy)
{
    AddDevice();
    bluetoothd->Do({{"do", "fail"},
                    {"method", "Connect"},
                    {"error", "org.bluez.Error.InProgress"},
                    {"delay", 700}});  // answered when the next attempt is under way
    bluetoothd->Do({{"do", "fail"}, {"method", "Connect"}, {"delay", 400}});
    link = NewLink();
    ASSERT_TRUE(Sees({"connected"}));
    Do([this] { link.reset(); });
    EXPECT_TRUE(IsCalled("Disconnect"));
}

TEST_F(AGattLink, EndsItsConnectionThoughTheEndOfTheOneBeforeWasNotSignalledYet)
{
    Connect();
    Change(kDevicePath, "ServicesResolved", false);
    bluetoothd->Do({{"do", "set"}, {"path", kDevicePath}, {"Connected", false}});
    bluetoothd->Do({{"do", "fail"}, {"method", "Disconnect"}, {"idle", true}});
    Do([this] { link.reset(); });
    ASSERT_TRUE(IsCalled("Disconnect"));
    link = NewLink();
    ASSERT_TRUE(Sees({"connected", "connected"}));
    Do([this] { link.reset(); });
    EXPECT_TRUE(test::Eventually([this] { return CallsOf("Disconnect") == 2; }));
}

TEST_F(AGattLink, LeavesAConnectionThatIsNotItsOwn)
{
    AddDevice();
    Change(kDevicePath, "Connected", true);
    ASSERT_TRUE(Eventually([this] {
        const auto device = bluez::FindDevice(stack->Mirror(), stack->Adapter()->path, kAddress);
        return device && device->isConnected;
    }));
    link = NewLink();
    ASSERT_TRUE(Sees({"connected"}));
    AddServices();
    Do([this] { link->Subscribe({kHeartRate, kMeasurement}, true, Store()); });
    ASSERT_EQ(Result(), GattStatus::kDone);
    Do([this] { link.reset(); });
    ASSERT_TRUE(IsCalled("StopNotify"));
    link = NewLink();  // a call to Disconnect would come before the next one
    ASSERT_TRUE(Sees({"connected", "connected"}));
    EXPECT_EQ(CallsOf("Disconnect"), 0);
}

TEST_F(AGattLink, SharesTheConnectionWithOthersToTheSameDevice)
{
    Connect();
    auto second = NewLink();
    ASSERT_TRUE(Sees({"connected", "connected"}));
    Do([this] { link.reset(); });
    // It can still be read from: the first one's end has not cut the connection.
    Do([&] { second->Read({kHeartRate, kMeasurement}, StoreRead()); });
    EXPECT_EQ(Result(), GattStatus::kDone);
    const json made = bluetoothd->Do({{"do", "calls"}});
    EXPECT_TRUE(std::none_of(made.begin(), made.end(),
                             [](const json& call) { return call.at(0) == "Disconnect"; }));
    Do([&] { second.reset(); });
    EXPECT_TRUE(IsCalled("Disconnect"));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
