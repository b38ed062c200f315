#include <service/linux/bluetooth/GattServer.h>
#include <tests/service/linux/GattFaceTest.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using dbus::Bytes;
using nlohmann::json;
using radio::Outcome;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

class AGattServer : public GattFaceTest,
                    protected radio::GattPeerObserver,
                    protected radio::GattServiceHost {
  protected:
    enum Place : std::size_t { kReadable, kWritable, kNotifying, kIndicating };

    /// Not in the constructor, as this is no observer before.
    void SetUp() override
    {
        Locked([this] {
            device = std::make_unique<bluetooth::GattServer>(*host, gate);
            server = device->Open(*this);
        });
    }
    /// Not in the destructor, as this is an observer until then.
    void TearDown() override
    {
        Locked([this] {
            service.reset();
            server.reset();
            device.reset();
        });
    }

    void BeginToShow()
    {
        Locked([this] {
            service = server->Show(kHeartRate,
                                   {{*protocol::ParseUuid("2a38"), radio::kGattRead},
                                    {*protocol::ParseUuid("2a39"), radio::kGattWrite},
                                    {*protocol::ParseUuid("2a37"), radio::kGattNotify},
                                    {*protocol::ParseUuid("2a3a"), radio::kGattIndicate}},
                                   *this, [this](Outcome outcome) {
                                       shown.push_back(outcome);
                                       if (destroysAtOutcome) {
                                           service.reset();
                                       }
                                   });
        });
    }
    bool IsAnswered()
    {
        return Eventually([this] { return !shown.empty(); });
    }
    /// With two devices that are connected.
    void ShowToPeers()
    {
        BeginToShow();
        ASSERT_TRUE(IsAnswered());
        Locked([this] { ASSERT_THAT(shown, ElementsAre(Outcome::kDone)); });
        AddDevice();
        AddDevice(kOtherPath, "00:00:00:00:00:02");
        Change(kDevicePath, "Connected", true);
        Change(kOtherPath, "Connected", true);
        ASSERT_TRUE(Eventually(
            [this] { return server->IsConnected(kAddress) && server->IsConnected(kOther); }));
    }
    std::string PathOf(Place place)
    {
        const json all = bluetoothd->Do({{"do", "applications"}});
        for (const auto& [path, interfaces] : all.items()) {
            if (path.ends_with("characteristic" + std::to_string(place))) {
                return path;
            }
        }
        return "";
    }
    /// What BlueZ does for a peer: the value, or the error.
    json Peer(const char* method, Place place, json options = json::object(),
              const char* path = kDevicePath)
    {
        options.update({{"do", "peer"}, {"method", method}, {"characteristic", PathOf(place)}});
        if (path != nullptr) {
            options["device"] = path;
        }
        const json answer = bluetoothd->Do(options);
        return answer.contains("error") ? answer["error"] : answer.value("value", json());
    }
    void Subscribe(Place place, const char* path = kDevicePath)
    {
        EXPECT_EQ(Peer("AcquireNotify", place, {{"mtu", 100}}, path),
                  "org.bluez.Error.NotSupported");
        EXPECT_EQ(Peer("StartNotify", place, {}, nullptr), json());
    }
    void NotifyAll(Place place, const std::vector<Bytes>& values)
    {
        Locked([&] {
            for (const Bytes& bytes : values) {
                service->NotifyAll(place, bytes, [this](std::uint64_t peer, GattStatus status) {
                    sent.emplace_back(peer, status);
                    if (destroysWhenSent) {
                        service.reset();
                    }
                });
            }
        });
    }
    GattStatus Notify(std::uint64_t peer, Place place, const Bytes& bytes)
    {
        std::optional<GattStatus> result;
        Locked([&] {
            service->Notify(peer, place, bytes, [&](GattStatus status) { result = status; });
        });
        EXPECT_TRUE(Eventually([&] { return result.has_value(); }));
        return result.value();
    }
    std::vector<std::uint64_t> Subscribers(Place place)
    {
        return Locked([&] { return service->Subscribers(place); });
    }
    bool AreSent(std::size_t count)
    {
        return Eventually([&] { return sent.size() == count; });
    }

    // Called with the lock held.
    radio::GattValue PeerReads(std::uint64_t peer, std::size_t characteristic) override
    {
        accesses.emplace_back(peer, characteristic);
        return value;
    }
    void PeerWrites(std::uint64_t peer, std::size_t characteristic,
                    radio::GattValue written) override
    {
        EXPECT_TRUE(server->IsConnected(peer));
        accesses.emplace_back(peer, characteristic);
        value = std::move(written);
    }
    void PeerConnected(std::uint64_t peer) override
    {
        events.push_back("+" + std::to_string(peer));
        if (closesAtPeer) {
            server.reset();
        }
    }
    void PeerDisconnected(std::uint64_t peer) override
    {
        events.push_back("-" + std::to_string(peer));
        EXPECT_FALSE(server->IsConnected(peer));
        if (service) {
            EXPECT_THAT(service->Subscribers(kNotifying), testing::Not(testing::Contains(peer)));
        }
    }
    void PeerMtuChanged(std::uint64_t peer, std::int32_t mtu) override
    {
        events.push_back(std::to_string(peer) + " has " + std::to_string(mtu));
    }

    static constexpr std::uint64_t kOther = 2;
    static constexpr const char* kOtherPath = "hci0/dev_2";

    std::vector<Outcome> shown;
    std::vector<std::string> events;
    std::vector<std::pair<std::uint64_t, std::size_t>> accesses;
    std::vector<std::pair<std::uint64_t, GattStatus>> sent;
    Bytes value;
    bool destroysAtOutcome = false;
    bool destroysWhenSent = false;
    bool closesAtPeer = false;
    std::unique_ptr<bluetooth::GattServer> device;
    std::unique_ptr<radio::LocalGattServer> server;
    std::unique_ptr<radio::LocalGattService> service;
};

TEST_F(AGattServer, ShowsAServiceAsLongAsItExists)
{
    BeginToShow();
    ASSERT_TRUE(IsAnswered());
    Locked([this] { EXPECT_THAT(shown, ElementsAre(Outcome::kDone)); });
    EXPECT_EQ(bluetoothd->Do({{"do", "applications"}}).size(), 5U);
    Locked([this] { service.reset(); });
    EXPECT_TRUE(IsCalled("UnregisterApplication"));
}

TEST_F(AGattServer, DoesNotTryAgainToShowAServiceThatBluezRefuses)
{
    Fail("RegisterApplication", {{"error", "org.freedesktop.DBus.Error.AccessDenied"}});
    BeginToShow();
    Locked([this] { EXPECT_THAT(shown, IsEmpty()); });
    ASSERT_TRUE(IsAnswered());
    Locked([this] { EXPECT_THAT(shown, ElementsAre(Outcome::kNotPermitted)); });
    EXPECT_EQ(Notify(kAddress, kNotifying, {1}), GattStatus::kNotPermitted);
    Locked([this] { EXPECT_THAT(service->Subscribers(kNotifying), IsEmpty()); });
}

TEST_F(AGattServer, ReportsThatThereIsNoAdapter)
{
    bluetoothd->Kill();
    ASSERT_TRUE(Eventually([this] { return !host->Picture().isThere; }));
    Locked([this] { destroysAtOutcome = true; });
    BeginToShow();
    ASSERT_TRUE(IsAnswered());
    Locked([this] { EXPECT_THAT(shown, ElementsAre(Outcome::kNoAdapter)); });
    Locked([this] { EXPECT_EQ(service, nullptr); });
}

TEST_F(AGattServer, ReportsPeersThatComeAndGo)
{
    ShowToPeers();
    EXPECT_EQ(Peer("ReadValue", kReadable, {{"mtu", 185}}), "");
    Change(kOtherPath, "Connected", false);
    ASSERT_TRUE(Eventually([this] { return !server->IsConnected(kOther); }));
    Locked([this] {
        EXPECT_THAT(events, UnorderedElementsAre("+" + std::to_string(kAddress), "+2",
                                                 std::to_string(kAddress) + " has 185", "-2"));
    });
}

TEST_F(AGattServer, HasThePeersThatConnectedBefore)
{
    ShowToPeers();
    Locked([this] {
        service.reset();
        server.reset();
        device.reset();
        device = std::make_unique<bluetooth::GattServer>(*host, gate);
        server = device->Open(*this);
    });
    EXPECT_TRUE(Eventually(
        [this] { return server->IsConnected(kAddress) && server->IsConnected(kOther); }));
}

TEST_F(AGattServer, ReadsFromItsOwnerAndPassesWrittenValuesOn)
{
    ShowToPeers();
    Locked([this] { value = FromHex("0a0b"); });
    EXPECT_EQ(Peer("ReadValue", kReadable), "0a0b");
    EXPECT_EQ(Peer("WriteValue", kWritable, {{"value", "01"}}, kOtherPath), json());
    Locked([this] {
        EXPECT_THAT(accesses, ElementsAre(Pair(kAddress, kReadable), Pair(kOther, kWritable)));
        EXPECT_EQ(value, FromHex("01"));
        value = Bytes(600, 7);
    });
    EXPECT_EQ(Peer("ReadValue", kReadable).get<std::string>().size(), 2 * 512U);
    EXPECT_EQ(Peer("ReadValue", kWritable), "org.bluez.Error.NotPermitted");
}

TEST_F(AGattServer, RefusesReadsOnceItsGateIsClosed)
{
    ShowToPeers();
    Locked([this] { gate->Close(); });
    EXPECT_EQ(Peer("ReadValue", kReadable), "org.bluez.Error.Failed");
    Locked([this] { EXPECT_THAT(accesses, IsEmpty()); });
}

TEST_F(AGattServer, NotifiesAllSubscribersAtOnce)
{
    ShowToPeers();
    NotifyAll(kNotifying, {{0}});
    Subscribe(kNotifying);
    Subscribe(kNotifying, kOtherPath);
    ASSERT_TRUE(Eventually([this] { return service->Subscribers(kNotifying).size() == 2; }));
    bluetoothd->Do({{"do", "calls"}});
    NotifyAll(kNotifying, {{1}, Bytes(600, 2)});
    ASSERT_TRUE(AreSent(4));
    Locked([this] {
        EXPECT_THAT(sent, UnorderedElementsAre(
                              Pair(kAddress, GattStatus::kDone), Pair(kOther, GattStatus::kDone),
                              Pair(kAddress, GattStatus::kDone), Pair(kOther, GattStatus::kDone)));
    });
    std::vector<std::size_t> sizes;
    ASSERT_TRUE(test::Eventually([&] {
        for (const json& call : bluetoothd->Do({{"do", "calls"}})) {
            if (call.at(0) == "changed") {
                sizes.push_back(call.at(2).at("Value").get<std::string>().size() / 2);
            }
        }
        return sizes.size() == 2;
    }));
    EXPECT_THAT(sizes, ElementsAre(1, 512));
}

TEST_F(AGattServer, NotifiesOnePeerOnlyIfNoOtherSubscribed)
{
    ShowToPeers();
    EXPECT_EQ(Notify(kAddress, kNotifying, {1}), GattStatus::kNotPermitted);
    Subscribe(kNotifying);
    EXPECT_EQ(Notify(kAddress, kNotifying, {1}), GattStatus::kDone);
    EXPECT_EQ(Notify(kOther, kNotifying, {1}), GattStatus::kNotPermitted);
    Subscribe(kNotifying, kOtherPath);
    EXPECT_EQ(Notify(kAddress, kNotifying, {1}), GattStatus::kNotSupported);
    Change(kDevicePath, "Connected", false);
    EXPECT_TRUE(Eventually([this] { return !server->IsConnected(kAddress); }));
    EXPECT_THAT(Subscribers(kNotifying), ElementsAre(kOther));
    EXPECT_EQ(Notify(kOther, kNotifying, {1}), GattStatus::kDone);
    Peer("StopNotify", kNotifying, {}, nullptr);
    EXPECT_TRUE(Eventually([this] { return service->Subscribers(kNotifying).empty(); }));
}

TEST_F(AGattServer, ReportsWhichPeersGotNoIndication)
{
    ShowToPeers();
    Subscribe(kIndicating);
    Subscribe(kIndicating, kOtherPath);
    ASSERT_TRUE(Eventually([this] { return service->Subscribers(kIndicating).size() == 2; }));
    NotifyAll(kIndicating, {{1}});
    ASSERT_TRUE(IsCalled("changed"));
    Peer("Confirm", kIndicating, {}, nullptr);
    Change(kOtherPath, "Connected", false);
    ASSERT_TRUE(Eventually([this] { return !server->IsConnected(kOther); }));
    Peer("Confirm", kIndicating, {}, nullptr);  // BlueZ does not name the peer
    ASSERT_TRUE(AreSent(2));
    Locked([this] {
        EXPECT_THAT(sent, UnorderedElementsAre(Pair(kAddress, GattStatus::kDone),
                                               Pair(kOther, GattStatus::kNotConnected)));
    });
}

TEST_F(AGattServer, IsShownAgainByABluezThatIsStartedAgain)
{
    ShowToPeers();
    Subscribe(kNotifying);
    ASSERT_TRUE(Eventually([this] { return !service->Subscribers(kNotifying).empty(); }));
    bluetoothd->Kill();
    ASSERT_TRUE(Eventually([this] { return !server->IsConnected(kAddress); }));
    EXPECT_THAT(Subscribers(kNotifying), IsEmpty());
    StartBluez();
    ASSERT_TRUE(IsCalled("RegisterApplication"));
    EXPECT_TRUE(test::Eventually([this] { return !PathOf(kReadable).empty(); }));
    Locked([this] { EXPECT_THAT(shown, ElementsAre(Outcome::kDone)); });
}

TEST_F(AGattServer, MayEndAServiceWhenAValueIsSent)
{
    ShowToPeers();
    Subscribe(kNotifying);
    Subscribe(kNotifying, kOtherPath);
    ASSERT_TRUE(Eventually([this] { return service->Subscribers(kNotifying).size() == 2; }));
    Locked([this] { destroysWhenSent = true; });
    NotifyAll(kNotifying, {{1}, {2}});
    ASSERT_TRUE(IsCalled("UnregisterApplication"));
    EXPECT_EQ(Locked([this] { return sent.size(); }), 1U);
}

TEST_F(AGattServer, MayBeClosedWhenAPeerConnects)
{
    auto second = Locked([this] {
        closesAtPeer = true;
        return device->Open(*this);
    });
    AddDevice();
    Change(kDevicePath, "Connected", true);
    ASSERT_TRUE(Eventually([&] { return second->IsConnected(kAddress); }));
    Locked([&] {
        EXPECT_EQ(server, nullptr);
        EXPECT_EQ(events.size(), 2U);
        second.reset();
    });
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
