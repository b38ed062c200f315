#include <service/linux/bluetooth/GattService.h>
#include <service/radio/Gatt.h>
#include <tests/service/linux/GattTest.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using nlohmann::json;
using testing::Each;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

const Uuid kHeartRate = *protocol::ParseUuid("180d");
constexpr std::uint64_t kOther = 2;
constexpr const char* kOtherPath = "hci0/dev_2";

enum Place : std::size_t { kReadable, kWritable, kNotifying, kIndicating };

class AGattService : public GattTest {
  protected:
    AGattService()
    {
        Do([this] { peers = std::make_unique<GattPeers>(*central); });
    }
    ~AGattService() override
    {
        Do([this] {
            service.reset();
            peers.reset();
        });
    }

    void Show()
    {
        Do([this] {
            shown.reset();
            service = std::make_unique<GattService>(
                *stack, *peers, kHeartRate,
                std::vector<GattService::Characteristic>{
                    {*protocol::ParseUuid("2a38"), radio::kGattRead},
                    {*protocol::ParseUuid("2a39"), radio::kGattWrite},
                    {*protocol::ParseUuid("2a37"), radio::kGattRead | radio::kGattNotify},
                    {*protocol::ParseUuid("2a3a"), radio::kGattIndicate},
                },
                GattService::Callbacks{
                    [this](std::uint64_t, std::size_t) {
                        ++reads;
                        return value;
                    },
                    [this](std::uint64_t peer, std::size_t place, const dbus::Bytes& bytes) {
                        EXPECT_EQ(place, kWritable);
                        EXPECT_TRUE(peers->IsConnected(peer));
                        written.push_back(bytes);
                    },
                    [this](radio::Outcome outcome) { shown = outcome; }});
        });
    }
    std::optional<radio::Outcome> Shown()
    {
        EXPECT_TRUE(Eventually([this] { return shown.has_value(); }));
        return Do([this] { return shown; });
    }
    /// With two devices that are connected.
    void ShowToPeers()
    {
        Start();
        ASSERT_TRUE(Eventually([this] { return stack->Adapter().has_value(); }));
        Show();
        ASSERT_EQ(Shown(), radio::Outcome::kDone);
        AddPeers();
    }
    void AddPeers()
    {
        AddDevice();
        AddDevice(kOtherPath, "00:00:00:00:00:02");
        Change(kDevicePath, "Connected", true);
        Change(kOtherPath, "Connected", true);
        ASSERT_TRUE(Eventually(
            [this] { return peers->IsConnected(kAddress) && peers->IsConnected(kOther); }));
        path = bluetoothd->Do({{"do", "applications"}}).begin().key();
    }
    std::string PathOf(Place place)
    {
        const json all = bluetoothd->Do({{"do", "applications"}});
        for (const auto& [key, interfaces] : all.items()) {
            if (key.ends_with("characteristic" + std::to_string(place))) {
                return key;
            }
        }
        return "";
    }
    /// What a peer gets that does something: the value, or the error.
    json Peer(const char* method, Place place, json options = {}, const char* device = kDevicePath)
    {
        options.update({{"do", "peer"}, {"method", method}, {"characteristic", PathOf(place)}});
        if (device != nullptr) {
            options["device"] = device;
        }
        const json answer = bluetoothd->Do(options);
        return answer.contains("error") ? answer["error"] : answer.value("value", json());
    }
    /// As BlueZ does it when a peer writes to the descriptor for it.
    void Subscribe(Place place, const char* device = kDevicePath)
    {
        EXPECT_EQ(Peer("AcquireNotify", place, {{"mtu", 100}}, device),
                  "org.bluez.Error.NotSupported");
        EXPECT_EQ(Peer("StartNotify", place, {}, nullptr), json());
    }
    GattService::Done Store()
    {
        result.reset();
        return [this](GattStatus outcome) { result = outcome; };
    }
    std::optional<GattStatus> Result()
    {
        EXPECT_TRUE(Eventually([this] { return result.has_value(); }));
        return Do([this] { return result; });
    }
    std::vector<std::uint64_t> Subscribers(Place place)
    {
        return Do([&] { return service->Subscribers(place); });
    }

    std::unique_ptr<GattPeers> peers;
    std::unique_ptr<GattService> service;
    std::optional<radio::Outcome> shown;
    std::optional<GattStatus> result;
    std::string path;
    dbus::Bytes value;
    int reads = 0;
    std::vector<dbus::Bytes> written;
};

TEST_F(AGattService, IsShownWithItsCharacteristics)
{
    ShowToPeers();
    const json all = bluetoothd->Do({{"do", "applications"}});
    ASSERT_EQ(all.size(), 5U);
    const json shownService = all.at(path).at("org.bluez.GattService1");
    EXPECT_EQ(shownService.at("UUID"), protocol::LongText(kHeartRate));
    EXPECT_EQ(shownService.at("Primary"), true);
    const json notifying = all.at(PathOf(kNotifying)).at("org.bluez.GattCharacteristic1");
    EXPECT_EQ(notifying.at("UUID"), "00002a37-0000-1000-8000-00805f9b34fb");
    EXPECT_EQ(notifying.at("Service"), path);
    EXPECT_EQ(notifying.at("Flags"), json({"read", "notify"}));
    EXPECT_EQ(notifying.at("NotifyAcquired"), false);
    EXPECT_FALSE(
        all.at(PathOf(kReadable)).at("org.bluez.GattCharacteristic1").contains("NotifyAcquired"));
    Do([this] { service.reset(); });
    ASSERT_TRUE(IsCalled("UnregisterApplication"));
    EXPECT_EQ(bluetoothd->Do({{"do", "applications"}}), json::object());
}

TEST_F(AGattService, IsRead)
{
    ShowToPeers();
    Do([this] { value = FromHex("0a0b0c"); });
    EXPECT_EQ(Peer("ReadValue", kReadable, {{"mtu", 100}}), "0a0b0c");
    EXPECT_EQ(Peer("ReadValue", kWritable), "org.bluez.Error.NotPermitted");
    EXPECT_EQ(Peer("ReadValue", kReadable, {}, nullptr), "org.bluez.Error.Failed");
    EXPECT_EQ(Peer("ReadValue", kReadable, {}, "hci0/dev_3"), "org.bluez.Error.Failed");
    Do([this] { EXPECT_EQ(reads, 1); });
}

TEST_F(AGattService, IsReadInPartsOfOneValue)
{
    ShowToPeers();
    Do([this] { value = dbus::Bytes(600, 7); });
    const auto digits = [](const json& text) { return text.get<std::string>().size(); };
    EXPECT_EQ(digits(Peer("ReadValue", kReadable)), 2 * 512U);
    Do([this] { value = FromHex("01"); });
    EXPECT_EQ(digits(Peer("ReadValue", kReadable, {{"offset", 22}})), 2 * 490U);
    EXPECT_EQ(digits(Peer("ReadValue", kReadable, {{"offset", 512}})), 0U);
    EXPECT_EQ(Peer("ReadValue", kReadable, {{"offset", 513}}), "org.bluez.Error.InvalidOffset");
    Do([this] { EXPECT_EQ(reads, 1); });
    EXPECT_EQ(Peer("ReadValue", kReadable, {}, kOtherPath), "01");
}

TEST_F(AGattService, IsWrittenAlsoInParts)
{
    ShowToPeers();
    EXPECT_EQ(Peer("WriteValue", kWritable, {{"value", "0102"}}), json());
    EXPECT_EQ(Peer("WriteValue", kWritable, {{"value", "03"}, {"offset", 2}}), json());
    EXPECT_EQ(Peer("WriteValue", kWritable, {{"value", "04"}, {"offset", 4}}),
              "org.bluez.Error.InvalidOffset");
    EXPECT_EQ(Peer("WriteValue", kWritable, {{"value", ""}}), json());
    EXPECT_EQ(Peer("WriteValue", kReadable, {{"value", "05"}}), "org.bluez.Error.NotPermitted");
    EXPECT_EQ(Peer("WriteValue", kWritable, {{"value", std::string(1026, '0')}}),
              "org.bluez.Error.InvalidValueLength");
    Do([this] {
        EXPECT_THAT(written, ElementsAre(FromHex("0102"), FromHex("010203"), FromHex("")));
    });
}

TEST_F(AGattService, NotifiesThoseThatSubscribed)
{
    ShowToPeers();
    Do([this] { service->Notify(kNotifying, FromHex("00"), Store()); });
    EXPECT_EQ(Result(), GattStatus::kDone);
    Do([this] { service->NotifyOne(kAddress, kNotifying, FromHex("00"), Store()); });
    EXPECT_EQ(Result(), GattStatus::kNotPermitted);
    Subscribe(kNotifying);
    EXPECT_THAT(Subscribers(kNotifying), ElementsAre(kAddress));
    bluetoothd->Do({{"do", "calls"}});
    for (int i = 0; i < 100; ++i) {
        Do([&] { service->Notify(kNotifying, {static_cast<std::uint8_t>(i)}, Store()); });
    }
    EXPECT_EQ(Result(), GattStatus::kDone);
    std::vector<std::string> sent;
    ASSERT_TRUE(test::Eventually([&] {
        for (const json& call : bluetoothd->Do({{"do", "calls"}})) {
            sent.push_back(call.at(2).at("Value"));
        }
        return sent.size() == 100;
    }));
    EXPECT_EQ(sent.front(), "00");
    EXPECT_EQ(sent.back(), "63");
    EXPECT_TRUE(std::is_sorted(sent.begin(), sent.end()));

    Do([this] { service->NotifyOne(kAddress, kNotifying, FromHex("01"), Store()); });
    EXPECT_EQ(Result(), GattStatus::kDone);
    Subscribe(kNotifying, kOtherPath);
    EXPECT_THAT(Subscribers(kNotifying), UnorderedElementsAre(kAddress, kOther));
    Do([this] { service->NotifyOne(kAddress, kNotifying, FromHex("01"), Store()); });
    EXPECT_EQ(Result(), GattStatus::kNotSupported);

    Change(kDevicePath, "Connected", false);
    ASSERT_TRUE(Eventually([this] { return !peers->IsConnected(kAddress); }));
    EXPECT_THAT(Subscribers(kNotifying), ElementsAre(kOther));
    Peer("StopNotify", kNotifying, {}, nullptr);
    EXPECT_THAT(Subscribers(kNotifying), ElementsAre());
}

TEST_F(AGattService, SendsMoreNotificationsOnceBluezHasReceivedTheFirst)
{
    ShowToPeers();
    Subscribe(kNotifying);
    std::vector<GattStatus> results;
    constexpr std::size_t kTooMany = ServedCharacteristic::kMostWaiting + 20;
    Do([&] {
        for (std::size_t i = 0; i < kTooMany; ++i) {
            service->Notify(kNotifying, {7},
                            [&](GattStatus outcome) { results.push_back(outcome); });
        }
    });
    ASSERT_TRUE(Eventually([&] { return results.size() == kTooMany; }));
    // The first value is sent at once, and kMostWaiting values wait.
    EXPECT_EQ(std::count(results.begin(), results.end(), GattStatus::kDone),
              1 + ServedCharacteristic::kMostWaiting);
    EXPECT_EQ(std::count(results.begin(), results.end(), GattStatus::kBusy), 19);
}

TEST_F(AGattService, KeepsTheSubscriptionsOfPairedDevices)
{
    ShowToPeers();
    Change(kDevicePath, "Paired", true);
    Subscribe(kNotifying);
    Change(kDevicePath, "Connected", false);
    ASSERT_TRUE(Eventually([this] { return !peers->IsConnected(kAddress); }));
    EXPECT_THAT(Subscribers(kNotifying), ElementsAre());
    Change(kDevicePath, "Connected", true);
    ASSERT_TRUE(Eventually([this] { return peers->IsConnected(kAddress); }));
    EXPECT_THAT(Subscribers(kNotifying), ElementsAre(kAddress));
}

TEST_F(AGattService, AwaitsThatIndicationsAreConfirmed)
{
    ShowToPeers();
    Subscribe(kIndicating);
    Subscribe(kIndicating, kOtherPath);
    Do([this] { service->Notify(kIndicating, FromHex("01"), Store()); });
    ASSERT_TRUE(IsCalled("changed"));
    Peer("Confirm", kIndicating, {}, nullptr);
    EXPECT_FALSE(Do([this] { return result.has_value(); }));
    Peer("Confirm", kIndicating, {}, nullptr);
    EXPECT_EQ(Result(), GattStatus::kDone);
    Peer("Confirm", kIndicating, {}, nullptr);  // one too many

    Do([this] { service->Notify(kIndicating, FromHex("02"), Store()); });
    Peer("Confirm", kIndicating, {}, nullptr);
    Change(kOtherPath, "Connected", false);
    ASSERT_TRUE(Eventually([this] { return !peers->IsConnected(kOther); }));
    // It may be the one that has confirmed.
    EXPECT_FALSE(Do([this] { return result.has_value(); }));
    Peer("Confirm", kIndicating, {}, nullptr);
    EXPECT_EQ(Result(), GattStatus::kDone);

    Do([this] { service->NotifyOne(kAddress, kIndicating, FromHex("03"), Store()); });
    Change(kDevicePath, "Connected", false);
    EXPECT_EQ(Result(), GattStatus::kNotConnected);
}

TEST_F(AGattService, DoesNotTakeALateConfirmationForThatOfTheNextIndication)
{
    ShowToPeers();
    Do([this] { peers->confirmLimit = std::chrono::milliseconds(50); });
    Subscribe(kIndicating);
    Do([this] { service->Notify(kIndicating, FromHex("01"), Store()); });
    ASSERT_EQ(Result(), GattStatus::kUnreachable);
    Do([this] {
        peers->confirmLimit = test::kPatience;
        service->Notify(kIndicating, FromHex("02"), Store());
    });
    Peer("Confirm", kIndicating, {}, nullptr);
    EXPECT_FALSE(Do([this] { return result.has_value(); }));
    Peer("Confirm", kIndicating, {}, nullptr);
    EXPECT_EQ(Result(), GattStatus::kDone);
}

TEST_F(AGattService, ReportsWhyItIsNotShown)
{
    Show();
    EXPECT_EQ(Shown(), radio::Outcome::kNoAdapter);
    Start();
    ASSERT_TRUE(IsCalled("RegisterApplication"));
    for (const auto& [error, expected] :
         {std::pair{"org.freedesktop.DBus.Error.AccessDenied", radio::Outcome::kNotPermitted},
          std::pair{"org.bluez.Error.Failed", radio::Outcome::kFailed}}) {
        bluetoothd->Do({{"do", "fail"}, {"method", "RegisterApplication"}, {"error", error}});
        Do([this] { service.reset(); });
        Show();
        EXPECT_EQ(Shown(), expected) << error;
    }
}

TEST_F(AGattService, IsShownAgainByABluezThatIsStartedAgain)
{
    ShowToPeers();
    Subscribe(kIndicating);
    Do([this] { service->Notify(kIndicating, FromHex("01"), Store()); });
    Subscribe(kNotifying);
    std::vector<GattStatus> results;
    Do([&] {
        for (int i = 0; i < 100; ++i) {
            service->Notify(kNotifying, {7},
                            [&](GattStatus outcome) { results.push_back(outcome); });
        }
    });
    bluetoothd->Kill();
    EXPECT_EQ(Result(), GattStatus::kNotConnected);
    EXPECT_TRUE(Eventually([&] { return results.size() == 100; }));
    EXPECT_THAT(Subscribers(kIndicating), ElementsAre());
    StartBluez();
    ASSERT_TRUE(IsCalled("RegisterApplication"));
    ASSERT_TRUE(test::Eventually([this] { return !PathOf(kReadable).empty(); }));
    AddPeers();
    Do([this] { value = FromHex("0d"); });
    EXPECT_EQ(Peer("ReadValue", kReadable), "0d");
    bus.Kill();
    ASSERT_TRUE(Eventually([this] { return !stack->Adapter(); }));
}

TEST_F(AGattService, EndsWhatItSendsWithTheBus)
{
    ShowToPeers();
    Subscribe(kNotifying);
    Subscribe(kIndicating);
    std::vector<GattStatus> results;
    constexpr std::size_t kCount = 500;
    Do([&] {
        service->Notify(kIndicating, {1}, Store());
        for (std::size_t i = 0; i < kCount; ++i) {
            service->Notify(kNotifying, {7},
                            [&](GattStatus outcome) { results.push_back(outcome); });
        }
    });
    bus.Kill();
    ASSERT_TRUE(Eventually([&] { return results.size() == kCount; }));
    EXPECT_THAT(results, Each(testing::AnyOf(GattStatus::kDone, GattStatus::kNotConnected)));
    EXPECT_EQ(Result(), GattStatus::kNotConnected);
}

TEST_F(AGattService, RefusesCallsOfOtherPrograms)
{
    ShowToPeers();
    StandIn other("bluez.py");  // which does not get the name
    EXPECT_EQ(other.Do({{"do", "foreign"},
                        {"sender", bluetoothd->Do({{"do", "sender"}})},
                        {"path", PathOf(kReadable)}}),
              "org.freedesktop.DBus.Error.AccessDenied");
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
