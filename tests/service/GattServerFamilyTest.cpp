// Peers and the values that they read, write and are notified of.
#include <protocol/ServiceLink.h>
#include <tests/service/GattServerFixture.h>

#include <chrono>
#include <deque>
#include <set>

namespace pelacon::service::tests {
namespace {

using protocol::kStatusDone;
using protocol::kStatusNotConnected;
using protocol::kStatusNotFound;
using protocol::kStatusNotPermitted;
using protocol::kStatusUnknownId;
using ::testing::AnyOf;

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

}  // namespace
}  // namespace pelacon::service::tests
