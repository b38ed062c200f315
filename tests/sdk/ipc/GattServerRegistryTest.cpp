// The registry of GATT servers, services and characteristics.
#include <tests/sdk/ipc/GattServerFixture.h>

#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(GattServerCallbacksTest, TheFirstTableOfAServerIsKept)
{
    auto& second = Lasting<BtGattServerCallbacksC>();
    Publish({"2a37"}, &Lasting(CharTable()));
    servers.AddGattServer(&second, server);
    EXPECT_THAT(LogLines::All(), IsEmpty());
    channel.Deliver(0xD80075, Peer());
    channel.Deliver(0xD80079, Request("2a37", {}, 0));
    EXPECT_THAT(delivered, ElementsAre("connect peer", "read peer 180d 2a37 {}"));
}

TEST_F(GattServerCallbacksTest, ANullTableAddsNoServer)
{
    servers.AddGattServer(nullptr, server);
    EXPECT_THAT(LogLines::All(), IsEmpty());
    channel.Deliver(0xD80075, Peer());
    EXPECT_EQ(LogLines::All().back(), Line(4, "serverId not found: " + std::to_string(server),
                                           "IPCMessageSender::ConnectServerCallback"));
}

TEST_F(GattServerCallbacksTest, TheFirstUuidOfAServiceIsKept)
{
    Publish({"2a37"}, &Lasting(CharTable()));
    servers.AddGattServerService(server, kHandle, "180f");
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Line(4, "serviceHandle already exist: " + std::to_string(kHandle),
                                 "IPCMessageSender::AddGattServerService")));
    channel.Deliver(0xD80079, Request("2a37", {}, 0));
    EXPECT_THAT(delivered, ElementsAre("read peer 180d 2a37 {}"));
}

TEST_F(GattServerCallbacksTest, TheFirstTableOfACharacteristicIsKept)
{
    Publish({"2a37"}, &Lasting(CharTable()));
    const BLECharacteristicInfo info = InfoOf("2a37");
    servers.AddGattServerCharacteristic(server, kHandle, &info, &Lasting(WrongCharTable()));
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Line(4, "charUuid already exist: 2a37",
                                 "IPCMessageSender::AddGattServerCharacteristic")));
    channel.Deliver(0xD80079, Request("2a37", {}, 0));
    EXPECT_THAT(delivered, ElementsAre("read peer 180d 2a37 {}"));
}

TEST_F(GattServerCallbacksTest, MissingEntriesAreLogged)
{
    const BLECharacteristicInfo info = InfoOf("2a37");
    const std::string noServer = "serverId not found: " + std::to_string(server);
    servers.RemoveGattServer(server);
    servers.AddGattServerService(server, kHandle, "180d");
    servers.RemoveGattServerService(server, kHandle);
    servers.AddGattServerCharacteristic(server, kHandle, &info, nullptr);
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Line(4, noServer, "IPCMessageSender::RemoveGattServer"),
                            Line(4, noServer, "IPCMessageSender::AddGattServerService"),
                            Line(4, noServer, "IPCMessageSender::RemoveGattServerService"),
                            Line(4, noServer, "IPCMessageSender::AddGattServerCharacteristic")));
    Publish({}, nullptr);
    servers.AddGattServerCharacteristic(server, 99, &info, nullptr);
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Line(4, "serviceHandle not found: 99",
                                 "IPCMessageSender::AddGattServerCharacteristic")));
}

TEST_F(GattServerCallbacksTest, RemovingAServiceForgetsItsCharacteristics)
{
    Publish({"2a37"}, &Lasting(CharTable()));
    servers.RemoveGattServerService(server, kHandle);
    servers.RemoveGattServerService(server, kHandle);
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Line(1, "remove callback", "IPCMessageSender::RemoveGattServerService"),
                    Line(1, "remove callback", "IPCMessageSender::RemoveGattServerService")));
    servers.AddGattServerService(server, kHandle, "180f");
    ForgetWhatHappened();
    channel.Deliver(0xD80079, Request("2a37", {}, 0));
    EXPECT_EQ(LogLines::All().back(),
              Line(1, "char uuid not found", "IPCMessageSender::OnServerReadCallback"));
}

TEST_F(GattServerCallbacksTest, RemovingAServerForgetsItsServices)
{
    Publish({"2a37"}, &Lasting(CharTable()));
    servers.RemoveGattServer(server);
    EXPECT_THAT(LogLines::All(), IsEmpty());
    servers.AddGattServer(&Lasting(ServerTable()), server);
    channel.Deliver(0xD80079, Request("2a37", {}, 0));
    EXPECT_EQ(LogLines::All().back(), Line(4, "serviceHandle not found: " + std::to_string(kHandle),
                                           "IPCMessageSender::OnServerReadCallback"));
}

/// The members change the registry only if the service answers 0.
TEST_F(GattServerCallbacksTest, MembersChangeTheRegistryOnSuccessOnly)
{
    std::int32_t id = 0;
    std::int32_t handle = 0;
    BLECharacteristicInfo info = InfoOf("2a37");
    info.callbacks = &Lasting(CharTable());
    const auto answer = [&](std::int32_t status) {
        channel.Reply(0xD7006E, Bytes().I32(server).I32(status));
        channel.Reply(0xD70070, Bytes().I32(kHandle).I32(status));
        for (const std::int32_t operation : {0xD70071, 0xD70072, 0xD7006F}) {
            channel.Reply(operation, Bytes().I32(status));
        }
    };
    const auto read = [&] {
        delivered.clear();
        ForgetWhatHappened();
        channel.Deliver(0xD80079, Request("2a37", {}, 0));
        return delivered.empty() ? LogLines::All()[1].text : delivered.front();
    };
    const std::string suffix = "(IPCMessageSender::OnServerReadCallback)";
    const std::string noServer =
        "[PelaconSDK]serverId not found: " + std::to_string(server) + suffix;
    const std::string noService =
        "[PelaconSDK]serviceHandle not found: " + std::to_string(kHandle) + suffix;
    const std::string noCharacteristic = "[PelaconSDK]char uuid not found" + suffix;
    const std::string success = "read peer 180d 2a37 {}";

    const auto add = [&] { BleGattServer::BleGattServerRegister(&Lasting(ServerTable()), &id); };
    const auto addService = [&] {
        BleGattServer::BleGattServerAddService(server, "180d", &handle);
    };
    const auto addCharacteristic = [&] {
        BleGattServer::BleGattServerAddCharacteristic(server, kHandle, &info);
    };
    const auto deleteService = [&] { BleGattServer::BleGattServerDeleteService(server, kHandle); };
    const auto unregister = [&] { BleGattServer::BleGattServerUnRegister(server); };

    const auto check = [&](const std::function<void()>& change, const std::string& before,
                           const std::string& after) {
        answer(5);
        change();
        EXPECT_EQ(read(), before);
        answer(0);
        change();
        EXPECT_EQ(read(), after);
    };
    check(add, noServer, noService);
    check(addService, noService, noCharacteristic);
    check(addCharacteristic, noCharacteristic, success);
    check(deleteService, success, noService);
    check(unregister, noService, noServer);
}

TEST_F(GattServerCallbacksTest, ACallbackMayCallEveryOperation)
{
    Publish({"2a37"}, &Lasting(CharTable()));
    channel.Reply(0xD7006E, Bytes().I32(FreshId()).I32(0));
    channel.Reply(0xD70070, Bytes().I32(77).I32(0));
    for (const std::int32_t operation : {0xD70071, 0xD70072, 0xD70073, 0xD70074, 0xD70075}) {
        channel.Reply(operation, Bytes().I32(0));
    }
    std::vector<int> results;
    inCallback = [&] {
        std::int32_t output = 0;
        BLECharacteristicInfo info = InfoOf("2a38");
        results = {
            BleGattServer::BleGattServerRegister(&Lasting(ServerTable()), &output),
            BleGattServer::BleGattServerAddService(server, "180f", &output),
            BleGattServer::BleGattServerAddCharacteristic(server, kHandle, &info),
            BleGattServer::BleGattServerStartService(server, kHandle),
            BleGattServer::BleGattServerPublishNotify(server, kHandle, "2a37", {1}, kPeer),
            BleGattServer::BleGattServerStopService(server, kHandle),
            BleGattServer::BleGattServerDeleteService(server, kHandle),
        };
    };
    channel.Deliver(0xD8007A, Request("2a37", {1}, 1));
    EXPECT_THAT(results, ElementsAre(0, 0, 0, 0, 0, 0, 0));
}

/// The callback holds the registry's lock and takes the operations' lock; the other thread holds
/// the operations' lock and, after the service's answer, takes the registry's.
TEST_F(GattServerCallbacksTest, ACallbackMayPublishWhileAnotherThreadChangesTheRegistry)
{
    Publish({"2a37"}, &Lasting(CharTable()));
    channel.Reply(0xD70070, Bytes().I32(77).I32(0));
    channel.Reply(0xD70075, Bytes().I32(0));
    for (int round = 0; round < 200; ++round) {
        std::promise<void> requestSent;
        std::promise<void> inside;
        channel.OnRequest(0xD70070, [&](const Sent&) {
            requestSent.set_value();
            inside.get_future().wait();
        });
        inCallback = [&] {
            inside.set_value();
            EXPECT_EQ(
                BleGattServer::BleGattServerPublishNotify(server, kHandle, "2a37", {1}, kPeer), 0);
        };
        auto adding = std::async(std::launch::async, [&] {
            std::int32_t handle = 0;
            return BleGattServer::BleGattServerAddService(server, "180f", &handle);
        });
        requestSent.get_future().wait();
        channel.Deliver(0xD8007A, Request("2a37", {1}, 1));
        ASSERT_EQ(adding.wait_for(std::chrono::seconds(10)), std::future_status::ready);
        EXPECT_EQ(adding.get(), 0);
    }
}

}  // namespace

}  // namespace pelacon::test
