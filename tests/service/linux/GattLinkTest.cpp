#include <service/linux/bluetooth/GattLink.h>
#include <tests/service/linux/Recorded.h>
#include <tests/service/linux/StackTest.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using nlohmann::json;

const Uuid kHeartRate = *protocol::ParseUuid("180d");
const Uuid kMeasurement = *protocol::ParseUuid("2a37");
const Uuid kControlPoint = *protocol::ParseUuid("2a39");
const Uuid kOther = *protocol::ParseUuid("2a00");
constexpr std::uint64_t kAddress = 0xC10203040506U;

class AGattLink : public StackTest {
  protected:
    AGattLink()
    {
        StartBluez();
        Do([this] {
            discovery = std::make_unique<Discovery>(
                *stack,
                Discovery::Callbacks{[](const AdvertisingReport&) {}, [] {}, [](ControlOutcome) {}},
                [](std::uint16_t) -> FileDescriptor {
                    throw std::system_error(
                        std::make_error_code(std::errc::operation_not_permitted));
                });
        });
        Start();
        EXPECT_TRUE(Eventually([this] { return stack->Adapter().has_value(); }));
    }
    ~AGattLink() override
    {
        Do([this] {
            link.reset();
            discovery.reset();
        });
    }

    void AddDevice()
    {
        bluetoothd->Do({{"do", "device"},
                        {"path", kDevicePath},
                        {"Address", "C1:02:03:04:05:06"},
                        {"AddressType", "random"}});
    }
    void AddServices()
    {
        const std::string service = std::string(kDevicePath) + "/service1";
        bluetoothd->Do({{"do", "service"}, {"path", service}, {"UUID", "180d"}});
        const auto add = [&](const char* name, const char* uuid, const json& flags) {
            bluetoothd->Do({{"do", "characteristic"},
                            {"path", service + "/" + name},
                            {"UUID", uuid},
                            {"Flags", flags},
                            {"MTU", 100}});
        };
        add("char1", "2a37", {"read", "notify"});
        add("char2", "2a39", {"write", "indicate"});
        bluetoothd->Do({{"do", "change"}, {"path", kDevicePath}, {"ServicesResolved", true}});
    }
    std::unique_ptr<GattLink> NewLink()
    {
        return Do([this] {
            return std::make_unique<GattLink>(
                *stack, *discovery, users, kAddress,
                GattLink::Callbacks{
                    [this] { events.emplace_back("connected"); },
                    [this](LinkEnd why) {
                        events.push_back("ended " + std::to_string(static_cast<int>(why)));
                    },
                    [this](const GattLink::Key& key, const dbus::Bytes& value, bool indication) {
                        values.push_back({key.second, value, indication});
                    }});
        });
    }
    void Connect()
    {
        AddDevice();
        link = NewLink();
        ASSERT_TRUE(Sees({"connected"}));
        AddServices();
        Do([this] { link->Discover(Store()); });
        ASSERT_EQ(Result(), GattResult::kDone);
    }
    bool Sees(const std::vector<std::string>& expected)
    {
        const bool isSeen = Eventually([&] { return events == expected; });
        EXPECT_EQ(Do([&] { return events; }), expected);
        return isSeen;
    }
    GattLink::Done Store()
    {
        result.reset();
        return [this](GattResult outcome) { result = outcome; };
    }
    GattLink::OnRead StoreRead()
    {
        result.reset();
        return [this](GattResult outcome, const dbus::Bytes& bytes) {
            result = outcome;
            read = bytes;
        };
    }
    std::optional<GattResult> Result()
    {
        EXPECT_TRUE(Eventually([this] { return result.has_value(); }));
        return Do([this] { return result; });
    }
    /// Waits until a method was called on the device or one of its characteristics; or a socket
    /// closed.
    bool IsCalled(const std::string& method)
    {
        return LoopTest::Eventually([&] {
            for (const json& call : bluetoothd->Do({{"do", "calls"}})) {
                calls.push_back(call.at(0));
            }
            return std::find(calls.begin(), calls.end(), method) != calls.end();
        });
    }

    struct Value {
        Uuid characteristic;
        dbus::Bytes bytes;
        bool isIndication;
    };

    static constexpr const char* kDevicePath = "hci0/dev_C1_02_03_04_05_06";

    std::vector<std::string> events;
    std::vector<Value> values;
    std::vector<std::string> calls;
    std::optional<GattResult> result;
    dbus::Bytes read;
    GattLink::Users users;
    std::unique_ptr<Discovery> discovery;
    std::unique_ptr<GattLink> link;
};

TEST_F(AGattLink, ConnectsAndFindsServices)
{
    Connect();
    Do([this] {
        EXPECT_TRUE(link->IsUp());
        EXPECT_TRUE(link->HasService(kHeartRate));
        EXPECT_FALSE(link->HasService(kOther));
        EXPECT_EQ(link->Mtu(), 100);
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

TEST_F(AGattLink, DoesNotComeUpWhereBluezSaysSo)
{
    AddDevice();
    bluetoothd->Do({{"do", "fail"}, {"method", "Connect"}, {"error", "org.bluez.Error.Failed"}});
    link = NewLink();
    EXPECT_TRUE(Sees({"ended 0"}));
    Do([this] { link->Discover(Store()); });
    EXPECT_EQ(Result(), GattResult::kNotConnected);
}

TEST_F(AGattLink, ReadsAndWrites)
{
    Connect();
    bluetoothd->Do({{"do", "change"},
                    {"path", std::string(kDevicePath) + "/service1/char1"},
                    {"Value", "0a0b"}});
    Do([this] { link->Read({kHeartRate, kMeasurement}, StoreRead()); });
    EXPECT_EQ(Result(), GattResult::kDone);
    EXPECT_EQ(Do([this] { return read; }), FromHex("0a0b"));
    Do([this] { link->Write({kHeartRate, kControlPoint}, FromHex("01"), Store()); });
    EXPECT_EQ(Result(), GattResult::kDone);
    const json made = bluetoothd->Do({{"do", "calls"}});
    EXPECT_EQ(made.back().at(0), "WriteValue");
    EXPECT_EQ(made.back().at(2), "01");
    EXPECT_EQ(made.back().at(3), "request");
    Do([this] { link->Write({kHeartRate, kControlPoint}, dbus::Bytes(513), Store()); });
    EXPECT_EQ(Result(), GattResult::kInvalidValue);
    Do([this] { link->Write({kHeartRate, kMeasurement}, FromHex("01"), Store()); });
    EXPECT_EQ(Result(), GattResult::kNotPermitted);
    Do([this] { link->Read({kHeartRate, kOther}, StoreRead()); });
    EXPECT_EQ(Result(), GattResult::kNotFound);
}

TEST_F(AGattLink, TellsWhyAnOperationIsRefused)
{
    Connect();
    for (const auto& [error, expected] :
         {std::pair{"org.bluez.Error.NotPermitted", GattResult::kNotPermitted},
          std::pair{"org.bluez.Error.NotAuthorized", GattResult::kNotPermitted},
          std::pair{"org.bluez.Error.NotSupported", GattResult::kNotSupported},
          std::pair{"org.bluez.Error.InvalidValueLength", GattResult::kInvalidValue},
          std::pair{"org.bluez.Error.InProgress", GattResult::kBusy},
          std::pair{"org.bluez.Error.NotConnected", GattResult::kNotConnected},
          std::pair{"org.bluez.Error.Failed", GattResult::kUnreachable}}) {
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
    EXPECT_EQ(Result(), GattResult::kNotConnected);
    EXPECT_TRUE(Sees({"connected", "ended 1"}));
}

TEST_F(AGattLink, EndsWithBluezAndWithTheAdapter)
{
    Connect();
    bluetoothd->Do({{"do", "change"}, {"path", "hci0"}, {"Powered", false}});
    EXPECT_TRUE(Sees({"connected", "ended 2"}));
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
    EXPECT_TRUE(Sees({"connected", "ended 2"}));
}

TEST_F(AGattLink, HasEachNotificationOnceThroughASocket)
{
    Connect();
    Do([this] { link->Subscribe({kHeartRate, kMeasurement}, true, Store()); });
    ASSERT_EQ(Result(), GattResult::kDone);
    const std::string path = std::string(kDevicePath) + "/service1/char1";
    for (int i = 0; i < 100; ++i) {
        bluetoothd->Do({{"do", "packet"}, {"path", path}, {"value", "0" + std::to_string(i % 10)}});
    }
    ASSERT_TRUE(Eventually([this] { return values.size() == 100; }));
    Do([this] {
        for (std::size_t i = 0; i < values.size(); ++i) {
            EXPECT_EQ(values[i].bytes, dbus::Bytes{static_cast<std::uint8_t>(i % 10)});
            EXPECT_FALSE(values[i].isIndication);
        }
        link->Subscribe({kHeartRate, kMeasurement}, false, Store());
    });
    EXPECT_EQ(Result(), GattResult::kDone);
    EXPECT_TRUE(IsCalled("closed"));
}

TEST_F(AGattLink, HasIndicationsByChangesOfTheProperty)
{
    Connect();
    Do([this] { link->Subscribe({kHeartRate, kControlPoint}, true, Store()); });
    ASSERT_EQ(Result(), GattResult::kDone);
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

TEST_F(AGattLink, SharesTheConnectionWithOthersToTheSameDevice)
{
    Connect();
    auto second = NewLink();
    ASSERT_TRUE(Sees({"connected", "connected"}));
    Do([this] { link.reset(); });
    // It can still be read from: the first one's end has not cut the connection.
    Do([&] { second->Read({kHeartRate, kMeasurement}, StoreRead()); });
    EXPECT_EQ(Result(), GattResult::kDone);
    const json made = bluetoothd->Do({{"do", "calls"}});
    EXPECT_TRUE(std::none_of(made.begin(), made.end(),
                             [](const json& call) { return call.at(0) == "Disconnect"; }));
    Do([&] { second.reset(); });
    EXPECT_TRUE(IsCalled("Disconnect"));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
