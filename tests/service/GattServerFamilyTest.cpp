#include <protocol/ServiceLink.h>
#include <tests/service/GattTest.h>
#include <tests/service/StackTest.h>

#include <chrono>
#include <deque>
#include <future>
#include <set>

namespace pelacon::service::tests {
namespace {

using protocol::kStatusBusy;
using protocol::kStatusDone;
using protocol::kStatusInterrupted;
using protocol::kStatusInvalidArgument;
using protocol::kStatusLimitReached;
using protocol::kStatusNotConnected;
using protocol::kStatusNotFound;
using protocol::kStatusNotPermitted;
using protocol::kStatusUnknownId;
using ::testing::AnyOf;

enum Flags : std::int32_t { kRead = 0x02, kWriteOnly = 0x08, kNotify = 0x10, kIndicate = 0x20 };

using PeerValue = std::pair<std::uint64_t, std::uint32_t>;

constexpr auto kService = "180d";
constexpr auto kRate = "2a37";
constexpr auto kPlace = "2A38";
constexpr auto kControl = "2a39";

/// A program that serves, and another that reads.
class GattServerFamilyTest : public StackTest {
  protected:
    GattServerFamilyTest()
    {
        StartService(R"({"adapter": {"address": "02:00:00:00:00:01"},
                         "gatt": {"connectMs": 1, "mtu": 100}})");
        serving.emplace(PipeName());
        reading.emplace(PipeName());
    }

    /// A started service with three characteristics. Returns its handle.
    static std::int32_t Serve(GattPublisher& server)
    {
        const std::int32_t handle = server.AddService(kService);
        EXPECT_EQ(server.AddCharacteristic(handle, kRate, kNotify | kRead, {0, 60}), kStatusDone);
        EXPECT_EQ(server.AddCharacteristic(handle, kPlace, kRead | kIndicate, {1}), kStatusDone);
        EXPECT_EQ(server.AddCharacteristic(handle, kControl, kWriteOnly), kStatusDone);
        EXPECT_EQ(server.Start(handle), kStatusDone);
        return handle;
    }

    nlohmann::json Status() { return Command({{"command", "status"}})["gattServers"]; }

    std::optional<TestClient> serving;
    std::optional<TestClient> reading;
};

TEST_F(GattServerFamilyTest, NotifiesOfPeersThatConnectAndDisconnect)
{
    GattPublisher server(*serving);
    Serve(server);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    const std::uint64_t peer = server.Peer();
    EXPECT_NE(peer, 0U);
    EXPECT_NE(peer, kThisMachine);
    EXPECT_EQ(server.Mtu(), PeerValue(peer, 100));
    EXPECT_EQ(client.Mtu().second, 100);
    const auto isConnected = [&](std::uint64_t address) {
        return serving->Call(protocol::kIsDeviceConnected, {1, {}, address})->value;
    };
    EXPECT_EQ(isConnected(peer), 1);
    EXPECT_EQ(isConnected(kThisMachine), 1);
    client.Disconnect();
    EXPECT_EQ(server.PeerGone(), peer);
    EXPECT_EQ(isConnected(peer), 0);
    EXPECT_EQ(isConnected(kThisMachine), 0);
}

TEST_F(GattServerFamilyTest, APeerReadsTheCurrentValueAndTheServerIsNotified)
{
    GattPublisher server(*serving);
    const std::int32_t handle = Serve(server);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    const std::uint64_t peer = server.Peer();

    EXPECT_EQ(client.Read(kService, "2a38").second, Bytes{1});
    auto request = server.ReadRequest();
    EXPECT_EQ(request.serviceHandle, handle);
    EXPECT_EQ(request.peer, peer);
    EXPECT_EQ(TextIn(request.charUuid), kPlace) << "as the server wrote it";
    EXPECT_EQ(DataOf(request), Bytes{1});

    EXPECT_EQ(server.Publish(handle, "2a38", {2, 0, 2}, 0), kStatusDone);
    EXPECT_EQ(client.Read("0000180d", kPlace).second, (Bytes{2, 0, 2}));
    EXPECT_EQ(DataOf(server.ReadRequest()), (Bytes{2, 0, 2}));
}

TEST_F(GattServerFamilyTest, APeerWritesAndTheServerIsNotified)
{
    GattPublisher server(*serving);
    const std::int32_t handle = Serve(server);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    const std::uint64_t peer = server.Peer();
    for (const Bytes& value : {Bytes{}, Bytes{0, 5, 0}, CountingBytes(1024)}) {
        EXPECT_EQ(client.Write(kService, kControl, value), kStatusDone);
        const auto request = server.WriteRequest();
        EXPECT_EQ(request.serviceHandle, handle);
        EXPECT_EQ(request.peer, peer);
        EXPECT_EQ(TextIn(request.charUuid), kControl);
        EXPECT_EQ(DataOf(request), value);
    }
}

TEST_F(GattServerFamilyTest, AWrittenValueIsReadAgain)
{
    GattPublisher server(*serving);
    const std::int32_t handle = server.AddService(kService);
    server.AddCharacteristic(handle, kPlace, kRead | kWriteOnly, {1});
    server.Start(handle);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    EXPECT_EQ(client.Write(kService, kPlace, {3, 4}), kStatusDone);
    EXPECT_EQ(client.Read(kService, kPlace).second, (Bytes{3, 4}));
}

TEST_F(GattServerFamilyTest, FlagsDecideWhatAPeerMayDo)
{
    GattPublisher server(*serving);
    Serve(server);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    EXPECT_EQ(client.Read(kService, kControl).first, kStatusNotPermitted);
    EXPECT_EQ(client.Write(kService, kRate, {1}), kStatusNotPermitted);
    EXPECT_EQ(client.Subscribe(kService, kControl), kStatusNotPermitted);
    EXPECT_EQ(client.Read(kService, "2aff").first, kStatusNotFound);
    EXPECT_EQ(client.Write("180f", kControl, {1}), kStatusNotFound);
    EXPECT_EQ(client.Subscribe(kService, "2aff"), kStatusNotFound);
    EXPECT_EQ(serving->Waiting(protocol::kGattPeerReads.id), 0U);
    EXPECT_EQ(serving->Waiting(protocol::kGattPeerWrites.id), 0U);
}

TEST_F(GattServerFamilyTest, PublishesToTheGivenSubscriber)
{
    GattPublisher server(*serving);
    const std::int32_t handle = Serve(server);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    const std::uint64_t peer = server.Peer();
    EXPECT_EQ(client.Subscribe(kService, kRate), kStatusDone);
    EXPECT_EQ(server.Publish(handle, kRate, {0, 72}, peer), kStatusDone);
    EXPECT_EQ(client.Notified(), (Bytes{0, 72}));
    EXPECT_EQ(server.Sent(), PeerValue(peer, kStatusDone));
    EXPECT_EQ(client.Read(kService, kRate).second, (Bytes{0, 72}));
}

TEST_F(GattServerFamilyTest, NotificationsAndIndicationsHaveTheirKind)
{
    GattPublisher server(*serving);
    const std::int32_t handle = Serve(server);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    client.Subscribe("180D", kRate);
    client.Subscribe(kService, kPlace);
    server.Publish(handle, kRate, {1}, 0);
    server.Publish(handle, kPlace, {2}, 0);
    auto record = reading->Next(protocol::kGattNotification);
    EXPECT_EQ(record.status, 0);
    EXPECT_EQ(TextIn(record.serviceUuid), "180D");
    record = reading->Next(protocol::kGattNotification);
    EXPECT_EQ(record.status, 1);
}

TEST_F(GattServerFamilyTest, ANotificationCarriesWhatFitsThePacket)
{
    GattPublisher server(*serving);
    const std::int32_t handle = Serve(server);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    client.Subscribe(kService, kRate);
    client.Subscribe(kService, kPlace);
    constexpr std::size_t kMtu = 100;
    for (const char* characteristic : {kRate, kPlace}) {
        server.Publish(handle, characteristic, Bytes(kMtu, 7), 0);
        EXPECT_EQ(client.Notified(), Bytes(kMtu - 3, 7)) << characteristic;
        server.Publish(handle, characteristic, Bytes(kMtu - 3, 8), 0);
        EXPECT_EQ(client.Notified(), Bytes(kMtu - 3, 8)) << characteristic;
    }
    EXPECT_EQ(client.Read(kService, kRate).second, Bytes(kMtu - 3, 8)) << "a read is not cut";
    server.Publish(handle, kRate, Bytes(1024, 9), 0);
    EXPECT_EQ(client.Read(kService, kRate).second, Bytes(1024, 9));
}

TEST_F(GattServerFamilyTest, PublishingReachesSubscribersOnly)
{
    GattPublisher server(*serving);
    const std::int32_t handle = Serve(server);
    EXPECT_EQ(server.Publish(handle, kRate, {1}, 0), kStatusDone) << "without subscribers";
    EXPECT_EQ(server.Publish(handle, kRate, {2}, 0xF0FFFFFFFFFF), kStatusNotConnected);
    EXPECT_EQ(serving->Waiting(protocol::kGattNotifySent.id), 0U);

    GattCaller client(*reading);
    client.Connect(kThisMachine);
    const std::uint64_t peer = server.Peer();
    EXPECT_EQ(client.Read(kService, kRate).second, Bytes{2}) << "the value is set all the same";
    EXPECT_EQ(server.Publish(handle, kRate, {3}, peer), kStatusDone);
    EXPECT_EQ(server.Sent(), PeerValue(peer, kStatusNotPermitted)) << "it did not subscribe";
    client.Subscribe(kService, kRate);
    client.Subscribe(kService, kRate, false);
    EXPECT_EQ(server.Publish(handle, kRate, {4}, peer), kStatusDone);
    EXPECT_EQ(server.Sent(), PeerValue(peer, kStatusNotPermitted));
    EXPECT_EQ(reading->Waiting(protocol::kGattNotification.id), 0U);
}

TEST_F(GattServerFamilyTest, FiftyProgramsReadFromOne)
{
    GattPublisher server(*serving);
    const std::int32_t handle = Serve(server);
    std::deque<TestClient> programs;
    std::deque<GattCaller> clients;
    std::set<std::uint64_t> peers;
    for (int i = 0; i < 50; ++i) {
        GattCaller& client = clients.emplace_back(programs.emplace_back(PipeName()));
        client.Connect(kThisMachine);
        peers.insert(server.Peer());
        EXPECT_EQ(client.Subscribe(kService, kRate), kStatusDone);
    }
    EXPECT_EQ(peers.size(), 50U);
    EXPECT_EQ(server.Publish(handle, kRate, {9}, 0), kStatusDone);
    for (GattCaller& client : clients) {
        EXPECT_EQ(client.Notified(), Bytes{9});
        const auto [peer, status] = server.Sent();
        EXPECT_EQ(peers.erase(peer), 1U);
        EXPECT_EQ(status, std::uint32_t{kStatusDone});
    }
}

/// It does not delay others: its queue is bounded, and a client whose queue is full is
/// disconnected.
TEST_F(GattServerFamilyTest, AProgramThatDoesNotReadLosesItsConnections)
{
    GattPublisher server(*serving);
    const std::int32_t handle = Serve(server);
    TestClient another(PipeName());
    GattCaller healthy(another);
    healthy.Connect(kThisMachine);
    server.Peer();
    GattCaller slow(*reading);
    slow.Connect(kThisMachine);
    const std::uint64_t peer = server.Peer();
    slow.Subscribe(kService, kRate);
    reading->Pause(true);
    int published = 0;
    while (serving->Waiting(protocol::kGattPeerDisconnected.id) == 0) {
        ASSERT_LT(++published, 20000);
        ASSERT_THAT(server.Publish(handle, kRate, CountingBytes(1024), peer),
                    AnyOf(kStatusDone, kStatusNotConnected));
    }
    EXPECT_GT(published, 1000) << "the length of its queue";
    EXPECT_EQ(server.PeerGone(), peer);
    EXPECT_EQ(healthy.Read(kService, kRate).second, CountingBytes(1024));

    reading->Pause(false);
    reading->Next(protocol::kServiceStarted);
    EXPECT_EQ(slow.Search(), kStatusUnknownId);
    GattCaller(*reading).Connect(kThisMachine);
}

TEST_F(GattServerFamilyTest, AServiceIsVisibleWhileItIsStarted)
{
    GattPublisher server(*serving);
    const std::int32_t handle = Serve(server);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    client.Subscribe(kService, kRate);
    EXPECT_EQ(server.Start(handle), kStatusDone) << "subscribing twice is allowed";
    EXPECT_EQ(server.Stop(handle), kStatusDone);
    EXPECT_EQ(server.Stop(handle), kStatusDone);
    EXPECT_EQ(client.GetService(kService), kStatusNotFound);
    EXPECT_EQ(client.Read(kService, kRate).first, kStatusNotFound);
    EXPECT_EQ(server.Publish(handle, kRate, {8}, 0), kStatusDone);
    EXPECT_EQ(server.Start(handle), kStatusDone);
    EXPECT_EQ(client.Read(kService, kRate).second, Bytes{8});
    server.Publish(handle, kRate, {9}, 0);
    client.Subscribe(kService, kRate);
    server.Publish(handle, kRate, {10}, 0);
    EXPECT_EQ(client.Notified(), Bytes{10}) << "earlier subscriptions have ended";
}

TEST_F(GattServerFamilyTest, ADeletedServiceIsUnknown)
{
    GattPublisher server(*serving);
    const std::int32_t handle = Serve(server);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    EXPECT_EQ(server.Delete(handle), kStatusDone);
    EXPECT_EQ(client.GetService(kService), kStatusNotFound);
    EXPECT_EQ(server.Delete(handle), kStatusUnknownId);
    EXPECT_EQ(server.Start(handle), kStatusUnknownId);
    EXPECT_EQ(server.Stop(handle), kStatusUnknownId);
    EXPECT_EQ(server.AddCharacteristic(handle, kRate, kRead), kStatusUnknownId);
    EXPECT_EQ(server.Publish(handle, kRate, {1}, 0), kStatusUnknownId);
}

TEST_F(GattServerFamilyTest, ConnectionsEndWithTheLastServer)
{
    GattPublisher server(*serving);
    Serve(server);
    GattPublisher another(*serving);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    EXPECT_EQ(server.UnRegister(), kStatusDone);
    EXPECT_EQ(client.GetService(kService), kStatusNotFound);
    EXPECT_EQ(reading->Waiting(protocol::kGattConnectionEnd.id), 0U);
    EXPECT_EQ(another.UnRegister(), kStatusDone);
    EXPECT_EQ(client.End(), std::pair(0, 0x13));
}

TEST_F(GattServerFamilyTest, ConnectionsEndWithTheServingProgram)
{
    GattPublisher server(*serving);
    Serve(server);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    serving.reset();
    EXPECT_EQ(client.End(), std::pair(0, 0x13));
    EXPECT_EQ(Status(), (nlohmann::json{{"registered", 0}, {"services", 0}, {"started", 0}}));
}

TEST_F(GattServerFamilyTest, TheServerIsNotifiedWhenAReadingProgramEnds)
{
    GattPublisher server(*serving);
    Serve(server);
    {
        GattCaller client(*reading);
        client.Connect(kThisMachine);
    }
    const std::uint64_t peer = server.Peer();
    reading.reset();
    EXPECT_EQ(server.PeerGone(), peer);
}

TEST_F(GattServerFamilyTest, AProgramMayReadWhatItServes)
{
    GattPublisher server(*serving);
    const std::int32_t handle = Serve(server);
    GattCaller client(*serving);
    client.Connect(kThisMachine);
    EXPECT_EQ(client.Read(kService, kPlace).second, Bytes{1});
    client.Subscribe(kService, kRate);
    server.Publish(handle, kRate, {5}, server.Peer());
    EXPECT_EQ(client.Notified(), Bytes{5});
    serving.reset();  // both ends at once
    EXPECT_TRUE(Eventually([&] { return Status()["registered"] == 0; }));
}

TEST_F(GattServerFamilyTest, ServersOfSeveralProgramsAreOneDevice)
{
    GattPublisher server(*serving);
    Serve(server);
    TestClient another(PipeName());
    GattPublisher battery(another);
    const std::int32_t handle = battery.AddService("180f");
    battery.AddCharacteristic(handle, "2a19", kRead, {90});
    battery.Start(handle);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    EXPECT_EQ(server.Peer(), battery.Peer());
    EXPECT_EQ(client.Read("180f", "2a19").second, Bytes{90});
    EXPECT_EQ(client.Read(kService, kPlace).second, Bytes{1});
}

TEST_F(GattServerFamilyTest, IdsAreValidForTheirProgramOnly)
{
    GattPublisher server(*serving);
    const std::int32_t handle = Serve(server);
    TestClient another(PipeName());
    const protocol::GattServiceHandleRequest service{server.Id(), handle};
    EXPECT_EQ(another.Call(protocol::kGattServerStopService, service)->status, kStatusUnknownId);
    EXPECT_EQ(another.Call(protocol::kGattServerDeleteService, service)->status, kStatusUnknownId);
    EXPECT_EQ(another.Call(protocol::kGattServerUnRegister, {server.Id()})->status,
              kStatusUnknownId);
    protocol::GattPublishNotifyRequest publish{};
    publish.serverId = server.Id();
    publish.serviceHandle = handle;
    EXPECT_EQ(another.Call(protocol::kGattServerPublishNotify, publish)->status, kStatusUnknownId);
    protocol::GattAddServiceRequest add{};
    add.serverId = server.Id();
    EXPECT_EQ(another.Call(protocol::kGattServerAddService, add)->status, kStatusUnknownId);
    GattPublisher own(another);
    EXPECT_EQ(own.Start(handle), kStatusUnknownId);
}

TEST_F(GattServerFamilyTest, RefusesInvalidParameters)
{
    GattPublisher server(*serving);
    EXPECT_EQ(server.TryAddService("18").status, kStatusInvalidArgument);
    EXPECT_EQ(server.TryAddService(std::string(37, 'a')).status, kStatusInvalidArgument);
    const std::int32_t handle = server.AddService(kService);
    EXPECT_EQ(server.TryAddService("0000180D").status, kStatusInvalidArgument) << "exists already";
    EXPECT_EQ(server.AddCharacteristic(handle, "2a", kRead), kStatusInvalidArgument);
    EXPECT_EQ(server.AddCharacteristic(handle, kPlace, kRead), kStatusDone);
    EXPECT_EQ(server.AddCharacteristic(handle, "2a38", kRead), kStatusInvalidArgument);
    EXPECT_EQ(server.Publish(handle, "2a", {1}, 0), kStatusInvalidArgument);
    EXPECT_EQ(server.Publish(handle, kRate, {1}, 0), kStatusNotFound);
    EXPECT_EQ(server.Start(handle), kStatusDone);
    EXPECT_EQ(server.AddCharacteristic(handle, kRate, kRead), kStatusBusy);

    protocol::GattPublishNotifyRequest publish{};
    publish.serverId = server.Id();
    publish.serviceHandle = handle;
    PutText(publish.charUuid, kPlace);
    publish.valueLen = 1025;
    EXPECT_EQ(serving->Call(protocol::kGattServerPublishNotify, publish)->status,
              kStatusInvalidArgument);
    protocol::GattAddCharacteristicRequest add{};
    add.serverId = server.Id();
    add.serviceHandle = handle;
    PutText(add.charUuid, kRate);
    add.valueLen = 1025;
    EXPECT_EQ(serving->Call(protocol::kGattServerAddCharacteristic, add)->status,
              kStatusInvalidArgument);
}

TEST_F(GattServerFamilyTest, HasLimits)
{
    GattPublisher server(*serving);
    const auto uuid = [](int number) { return std::to_string(1000 + number); };
    std::int32_t handle = 0;
    for (int i = 0; i < 64; ++i) {
        handle = server.AddService(uuid(i));
        ASSERT_EQ(server.AddCharacteristic(handle, uuid(i), kRead), kStatusDone);
    }
    EXPECT_EQ(server.TryAddService(uuid(64)).status, kStatusLimitReached);
    for (int i = 0; i < 63; ++i) {
        ASSERT_EQ(server.AddCharacteristic(handle, uuid(i), kRead), kStatusDone);
    }
    EXPECT_EQ(server.AddCharacteristic(handle, uuid(64), kRead), kStatusLimitReached);
    for (int i = 1; i < 16; ++i) {
        ASSERT_EQ(serving->Call(protocol::kGattServerRegister)->status, kStatusDone);
    }
    EXPECT_EQ(serving->Call(protocol::kGattServerRegister)->status, kStatusLimitReached);
}

TEST_F(GattServerFamilyTest, ARestartEndsBothRoles)
{
    GattPublisher server(*serving);
    Serve(server);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    Command({{"command", "restart"}});
    serving->Next(protocol::kServiceStarted);
    const auto reply = serving->Call(protocol::kGattServerUnRegister, {server.Id()});
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, kStatusUnknownId);
    GattPublisher again(*serving);
    EXPECT_NE(again.Id(), server.Id());
}

TEST_F(GattServerFamilyTest, TheServiceEndsWithOpenConnections)
{
    GattPublisher server(*serving);
    Serve(server);
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    client.Subscribe(kService, kRate);
    EndService();
    EXPECT_FALSE(serving->Call(protocol::kGattServerUnRegister, {server.Id()}));
}

// ---- A slow or failing stack

TEST_F(GattServerFamilyTest, AServiceThatCannotBeShownIsNotStarted)
{
    GattPublisher server(*serving);
    const std::int32_t handle = server.AddService(kService);
    for (const auto& [why, status] : kRefusals) {
        Behave("showService", {{"fails", why}, {"times", 1}});
        EXPECT_EQ(server.Start(handle), status) << why;
        EXPECT_EQ(server.AddCharacteristic(handle, kRate, kRead),
                  why == "no-adapter" ? kStatusDone : kStatusInvalidArgument)
            << "it takes characteristics, but none twice";
    }
    GattCaller client(*reading);
    client.StartToConnect(kThisMachine);
    EXPECT_EQ(client.Outcome().first, GattCaller::kDisconnected);
    EXPECT_EQ(server.Start(handle), kStatusDone);
    client.Connect(kThisMachine);
    EXPECT_EQ(client.GetService(kService), kStatusDone);
}

TEST_F(GattServerFamilyTest, AStartIsAnsweredWhenPeersSeeTheService)
{
    Behave("showService", {{"ms", 30}});
    GattPublisher server(*serving);
    const auto begin = std::chrono::steady_clock::now();
    Serve(server);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(30));
    GattCaller client(*reading);
    client.Connect(kThisMachine);
    EXPECT_EQ(client.GetService(kService), kStatusDone);
}

TEST_F(GattServerFamilyTest, AStartThatIsUnderWayEndsWithItsService)
{
    GattPublisher server(*serving);
    const std::int32_t handle = server.AddService(kService);
    const auto interrupt = [&](const auto& action) {
        Behave("showService", {{"ms", kForever}, {"times", 1}});
        auto starting = std::async(std::launch::async, [&] { return server.Start(handle); });
        EXPECT_TRUE(Eventually([&] { return Status()["started"] == 1; }));
        action();
        return starting.get();
    };
    EXPECT_EQ(interrupt([&] { server.Stop(handle); }), kStatusInterrupted);
    EXPECT_EQ(interrupt([&] { server.Delete(handle); }), kStatusInterrupted);
    EXPECT_EQ(server.Start(handle), kStatusUnknownId);
}

}  // namespace
}  // namespace pelacon::service::tests
