// Services and servers: their lives, ids and limits.
#include <protocol/ServiceLink.h>
#include <tests/service/GattServerFixture.h>

#include <chrono>
#include <future>

namespace pelacon::service::tests {
namespace {

using protocol::kStatusBusy;
using protocol::kStatusDone;
using protocol::kStatusInterrupted;
using protocol::kStatusInvalidArgument;
using protocol::kStatusLimitReached;
using protocol::kStatusNotFound;
using protocol::kStatusUnknownId;

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
