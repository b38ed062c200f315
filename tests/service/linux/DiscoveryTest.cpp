#include <service/linux/bluetooth/Discovery.h>
#include <tests/service/linux/Recorded.h>
#include <tests/service/linux/SocketPair.h>
#include <tests/service/linux/StackTest.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using Kind = AdvertisingReport::Kind;

class ADiscovery : public StackTest {
  protected:
    ADiscovery()
    {
        Do([this] {
            discovery = std::make_unique<Discovery>(
                *stack,
                Discovery::Callbacks{
                    [this](const AdvertisingReport& report) { heard.push_back(report); },
                    [this] { events.emplace_back("began"); },
                    [this](radio::Outcome why) {
                        events.push_back("ended " + std::to_string(static_cast<int>(why)));
                    }},
                [this](std::uint16_t) {
                    if (!sockets) {
                        throw std::system_error(
                            std::make_error_code(std::errc::operation_not_permitted));
                    }
                    return std::move(sockets->service);
                });
        });
    }
    ~ADiscovery() override
    {
        Do([this] { discovery.reset(); });
    }

    void Want(bool wanted)
    {
        Do([&] { discovery->Want(wanted); });
    }
    bool Sees(const std::vector<std::string>& expected)
    {
        return Eventually([&] { return events == expected; });
    }
    AdvertisingReport Report(std::size_t number)
    {
        return Do([&] { return heard.at(number); });
    }

    std::optional<SocketPair> sockets;
    std::vector<AdvertisingReport> heard;
    std::vector<std::string> events;
    std::unique_ptr<Discovery> discovery;
};

TEST_F(ADiscovery, EndsAndBeginsThoughItsStartIsStillUnderWay)
{
    StartBluez();
    Start();
    ASSERT_TRUE(Eventually([this] { return stack->Adapter().has_value(); }));
    bluetoothd->Do({{"do", "fail"}, {"method", "StartDiscovery"}, {"delay", 200}});
    Want(true);
    ASSERT_TRUE(IsCalled("StartDiscovery"));
    Want(false);
    ASSERT_TRUE(IsCalled("StopDiscovery"));
    Want(true);
    EXPECT_TRUE(Sees({"began"}));
}

TEST_F(ADiscovery, BeginsAfterOneThatBluezHasNotEnded)
{
    StartBluez();
    bluetoothd->Do({{"do", "change"}, {"path", "hci0"}, {"Discovering", true}});
    Start();
    Want(true);
    EXPECT_TRUE(Sees({"began"}));
}

TEST_F(ADiscovery, GoesOnWithTheAdapterThatTakesThePlaceOfAnother)
{
    StartBluez();
    bluetoothd->Do({{"do", "adapter"}, {"name", "hci1"}, {"Powered", true}});
    Start();
    Want(true);
    ASSERT_TRUE(Sees({"began"}));
    bluetoothd->Do({{"do", "remove"}, {"path", "hci0"}});
    EXPECT_TRUE(Sees({"began", "ended 1", "began"}));
}

TEST_F(ADiscovery, RunsWhileItIsWanted)
{
    StartBluez();
    Start();
    Want(true);
    ASSERT_TRUE(Sees({"began"}));
    EXPECT_TRUE(IsCalled("SetDiscoveryFilter"));
    EXPECT_TRUE(IsCalled("StartDiscovery"));
    Want(false);
    EXPECT_TRUE(IsCalled("StopDiscovery"));
    EXPECT_TRUE(Sees({"began"}));
}

TEST_F(ADiscovery, ReportsWhatTheControllerReceives)
{
    sockets.emplace();
    StartBluez();
    Start();
    Want(true);
    ASSERT_TRUE(Sees({"began"}));
    EXPECT_EQ(Do([this] { return discovery->GetWay(); }), Discovery::Way::kRaw);
    sockets->Send(FromHex("043e150201000001000101aa000902010605ff34120a0b7f"));
    ASSERT_TRUE(Eventually([this] { return heard.size() == 1; }));
    EXPECT_EQ(Report(0).data, FromHex("02010605ff34120a0b"));
    // What bluetoothd makes of it is not reported as well.
    bluetoothd->Do({{"do", "device"}, {"path", "hci0/dev_1"}, {"RSSI", -40}});
    Want(false);
    Do([] {});
    EXPECT_EQ(Do([this] { return heard.size(); }), 1U);
}

TEST_F(ADiscovery, ReportsFromPropertiesWithoutAccessToTheController)
{
    StartBluez();
    Start();
    Want(true);
    ASSERT_TRUE(Sees({"began"}));
    EXPECT_EQ(Do([this] { return discovery->GetWay(); }), Discovery::Way::kRebuilt);
    bluetoothd->Do({{"do", "device"},
                    {"path", "hci0/dev_1"},
                    {"Address", "C1:02:03:04:05:06"},
                    {"AddressType", "random"},
                    {"Name", "thing"},
                    {"UUIDs", {"0000180d-0000-1000-8000-00805f9b34fb"}},
                    {"ManufacturerData", {{"4660", "0a0b"}}},
                    {"RSSI", -40}});
    ASSERT_TRUE(Eventually([this] { return heard.size() == 1; }));
    EXPECT_EQ(Report(0).address, 0xC10203040506U);
    EXPECT_EQ(Report(0).addressType, AddressType::kRandom);
    EXPECT_EQ(Report(0).rssi, -40);
    EXPECT_EQ(Report(0).data, FromHex("03030d18 05ff34120a0b 06097468696e67"));
    bluetoothd->Do({{"do", "change"}, {"path", "hci0/dev_1"}, {"RSSI", -50}});
    ASSERT_TRUE(Eventually([this] { return heard.size() == 2; }));
    EXPECT_EQ(Report(1).rssi, -50);
}

TEST_F(ADiscovery, ReportsTheReasonOfAFailureAndTriesAgain)
{
    StartBluez();
    bluetoothd->Do({{"do", "fail"},
                    {"method", "StartDiscovery"},
                    {"error", "org.freedesktop.DBus.Error.AccessDenied"}});
    Start();
    Want(true);
    EXPECT_TRUE(Sees({"ended 4"}));
    EXPECT_TRUE(Sees({"ended 4", "began"}));
}

TEST_F(ADiscovery, EndsWithTheAdapterAndBeginsWithItAgain)
{
    StartBluez();
    Start();
    Want(true);
    ASSERT_TRUE(Sees({"began"}));
    bluetoothd->Do({{"do", "change"}, {"path", "hci0"}, {"Powered", false}});
    ASSERT_TRUE(Sees({"began", "ended 1"}));
    bluetoothd->Do({{"do", "change"}, {"path", "hci0"}, {"Powered", true}});
    ASSERT_TRUE(Sees({"began", "ended 1", "began"}));
    bluetoothd->Kill();
    ASSERT_TRUE(Sees({"began", "ended 1", "began", "ended 1"}));
    StartBluez();
    EXPECT_TRUE(Sees({"began", "ended 1", "began", "ended 1", "began"}));
}

TEST_F(ADiscovery, BeginsAgainWhenBluezEndsIt)
{
    StartBluez();
    Start();
    Want(true);
    ASSERT_TRUE(Sees({"began"}));
    bluetoothd->Do({{"do", "change"}, {"path", "hci0"}, {"Discovering", false}});
    ASSERT_TRUE(Sees({"began", "ended 6"}));
    EXPECT_TRUE(Sees({"began", "ended 6", "began"}));
}

TEST_F(ADiscovery, IsWantedBeforeThereIsAnAdapter)
{
    Start();
    Want(true);
    Do([] {});
    StartBluez();
    EXPECT_TRUE(Sees({"began"}));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
