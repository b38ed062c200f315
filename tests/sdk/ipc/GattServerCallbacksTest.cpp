#include <PelaconSDK/BleGattServer.h>
#include <sdk/ipc/GattServerCallbacks.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <tests/sdk/GattIds.h>
#include <tests/support/SdkTest.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <future>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> delivered;
std::function<void()> inCallback;

void Deliver(const std::string& what)
{
    delivered.push_back(what);
    if (inCallback) {
        inCallback();
    }
}

std::string PeerText(std::uint64_t peer)
{
    return peer == kPeer ? " peer" : " another";
}

BtGattServerCallbacksC ServerTable()
{
    return {[](std::uint64_t peer) { Deliver("connect" + PeerText(peer)); },
            [](std::uint64_t peer) { Deliver("disconnect" + PeerText(peer)); },
            [](std::uint64_t peer, std::uint32_t value) {
                Deliver("sent" + PeerText(peer) + " " + std::to_string(value));
            },
            [](std::uint64_t peer, std::uint32_t value) {
                Deliver("mtu" + PeerText(peer) + " " + std::to_string(value));
            }};
}

std::string RequestText(std::uint64_t peer, const char* serviceUuid, const char* charUuid,
                        const std::uint8_t* data, std::uint32_t dataLen)
{
    return PeerText(peer) + " " + serviceUuid + " " + charUuid + " " +
           ::testing::PrintToString(ByteVector(data, data + dataLen));
}

BtGattCharCallbacksC CharTable()
{
    return {[](std::uint64_t peer, const char* serviceUuid, const char* charUuid,
               const std::uint8_t* data, std::uint32_t dataLen) {
                Deliver("read" + RequestText(peer, serviceUuid, charUuid, data, dataLen));
            },
            [](std::uint64_t peer, const char* serviceUuid, const char* charUuid,
               const std::uint8_t* data, std::uint32_t dataLen) {
                Deliver("write" + RequestText(peer, serviceUuid, charUuid, data, dataLen));
            }};
}

BtGattCharCallbacksC WrongCharTable()
{
    return {[](std::uint64_t, const char*, const char*, const std::uint8_t*, std::uint32_t) {
                Deliver("the wrong table");
            },
            nullptr};
}

BLECharacteristicInfo InfoOf(std::string uuid)
{
    BLECharacteristicInfo info;
    info.charUuid = std::move(uuid);
    return info;
}

class GattServerCallbacksTest : public SdkTest {
  protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        delivered.clear();
        inCallback = {};
    }

    void TearDown() override
    {
        SdkTest::TearDown();
        inCallback = {};
    }

    Bytes Peer() const { return Bytes().I32(server).Zeros(4).U64(kPeer); }

    Bytes Request(const std::string& uuid, const ByteVector& data, std::uint32_t dataLen,
                  std::int32_t handle = kHandle) const
    {
        return Bytes()
            .I32(server)
            .I32(handle)
            .U64(kPeer)
            .Text(uuid, 37)
            .Raw(data, 1024)
            .Zeros(3)
            .U32(dataLen);
    }

    /// A server with one service and these characteristics, in the registry.
    void Publish(const std::vector<std::string>& uuids, BtGattCharCallbacksC* table)
    {
        servers.AddGattServer(&Lasting(ServerTable()), server);
        servers.AddGattServerService(server, kHandle, "180d");
        for (const std::string& uuid : uuids) {
            const BLECharacteristicInfo info = InfoOf(uuid);
            servers.AddGattServerCharacteristic(server, kHandle, &info, table);
        }
        ForgetWhatHappened();
    }

    GattServerCallbacks& servers = Registry<GattServerCallbacks>();
    const std::int32_t server = FreshId();
};

struct PeerEvent {
    const char* name;
    std::int32_t id;
    bool hasValue;
    const char* delivered;
    const char* handler;
    const char* line;  ///< logged before the call, or null
};

void PrintTo(const PeerEvent& event, std::ostream* out)
{
    *out << event.name;
}

constexpr PeerEvent kPeerEvents[] = {
    {"Connect", 0xD80075, false, "connect peer", "IPCMessageSender::ConnectServerCallback",
     nullptr},
    {"Disconnect", 0xD80076, false, "disconnect peer", "IPCMessageSender::DisconnectServerCallback",
     "call callback"},
    {"NotifySent", 0xD80077, true, "sent peer 4000000000", "IPCMessageSender::NotifySendCallback",
     "remove callback"},
    {"MtuChange", 0xD80078, true, "mtu peer 4000000000", "IPCMessageSender::MtuChangeCallback",
     "remove callback"},
};

class GattPeerEventTest : public GattServerCallbacksTest,
                          public ::testing::WithParamInterface<PeerEvent> {
  protected:
    Bytes Payload() const
    {
        Bytes payload = Peer();
        return GetParam().hasValue ? payload.U32(4000000000) : payload;
    }
};

INSTANTIATE_TEST_SUITE_P(Server, GattPeerEventTest, ::testing::ValuesIn(kPeerEvents),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(GattPeerEventTest, ReachesItsSlot)
{
    Publish({}, nullptr);
    channel.Deliver(GetParam().id, Payload());
    EXPECT_THAT(delivered, ElementsAre(GetParam().delivered));
    std::vector<LogLine> lines{Start(GetParam().handler)};
    if (GetParam().line != nullptr) {
        lines.push_back(Line(1, GetParam().line, GetParam().handler));
    }
    lines.push_back(End(GetParam().handler));
    EXPECT_EQ(LogLines::All(), lines);
}

TEST_P(GattPeerEventTest, AnUnknownServerIsLogged)
{
    channel.Deliver(GetParam().id, Payload());
    EXPECT_THAT(delivered, IsEmpty());
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Start(GetParam().handler),
                    Line(4, "serverId not found: " + std::to_string(server), GetParam().handler)));
}

TEST_P(GattPeerEventTest, SkipsAnEmptySlot)
{
    servers.AddGattServer(&Lasting<BtGattServerCallbacksC>(), server);
    ForgetWhatHappened();
    channel.Deliver(GetParam().id, Payload());
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(GetParam().handler), End(GetParam().handler)));
}

TEST_P(GattPeerEventTest, WithoutPayloadIsDropped)
{
    channel.DeliverWithoutPayload(GetParam().id);
    EXPECT_THAT(LogLines::All(), IsEmpty());
}

TEST_F(GattServerCallbacksTest, NullRecordsOfPeerEventsAreIgnored)
{
    servers.ConnectServerCallback(nullptr);
    servers.DisconnectServerCallback(nullptr);
    servers.NotifySendCallback(nullptr);
    servers.MtuChangeCallback(nullptr);
    EXPECT_THAT(LogLines::All(), IsEmpty());
}

struct PeerRequest {
    const char* name;
    std::int32_t id;
    const char* delivered;
    const char* handler;
    void (*handleNull)();
    bool isWrite;
};

void PrintTo(const PeerRequest& request, std::ostream* out)
{
    *out << request.name;
}

const PeerRequest kPeerRequests[] = {
    {"Read", 0xD80079, "read", "IPCMessageSender::OnServerReadCallback",
     [] { Registry<GattServerCallbacks>().OnServerReadCallback(nullptr); }, false},
    {"Write", 0xD8007A, "write", "IPCMessageSender::OnServerWriteCallback",
     [] { Registry<GattServerCallbacks>().OnServerWriteCallback(nullptr); }, true},
};

class GattPeerRequestTest : public GattServerCallbacksTest,
                            public ::testing::WithParamInterface<PeerRequest> {
  protected:
    /// The lines of one delivery: the dispatcher's, then the handler's.
    static std::vector<LogLine> Lines(std::uint32_t dataLen, std::vector<LogLine> then)
    {
        std::vector<LogLine> lines;
        if (GetParam().isWrite) {
            lines.push_back(Line(1, "len :" + std::to_string(dataLen), "OnServerWriteCallbackCb"));
        }
        lines.push_back(Start(GetParam().handler));
        lines.insert(lines.end(), then.begin(), then.end());
        return lines;
    }

    static LogLine HandlerLine(int level, const std::string& text)
    {
        return Line(level, text, GetParam().handler);
    }
};

INSTANTIATE_TEST_SUITE_P(Server, GattPeerRequestTest, ::testing::ValuesIn(kPeerRequests),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(GattPeerRequestTest, ReachesItsSlot)
{
    Publish({"2a37", "2a38"}, &Lasting(CharTable()));
    channel.Deliver(GetParam().id, Request("2a38", {0, 5, 0}, 3));
    EXPECT_THAT(delivered, ElementsAre(GetParam().delivered + std::string(" peer 180d 2a38 ") +
                                       ::testing::PrintToString(ByteVector{0, 5, 0})));
    std::vector<LogLine> then;
    if (!GetParam().isWrite) {
        then.push_back(HandlerLine(1, "remove callback"));
    }
    then.push_back(End(GetParam().handler));
    EXPECT_EQ(LogLines::All(), Lines(3, then));
}

TEST_P(GattPeerRequestTest, CarriesValuesOfEveryLength)
{
    Publish({"2a37"}, &Lasting(CharTable()));
    for (const std::uint32_t length : {0U, 1U, 1024U}) {
        delivered.clear();
        channel.Deliver(GetParam().id, Request("2a37", Counting(1024), length));
        EXPECT_THAT(delivered, ElementsAre(GetParam().delivered + std::string(" peer 180d 2a37 ") +
                                           ::testing::PrintToString(Counting(length))));
    }
}

TEST_P(GattPeerRequestTest, ALengthBeyondTheFieldIsCutToIt)
{
    Publish({"2a37"}, &Lasting(CharTable()));
    for (const std::uint32_t length : {1025U, 0xFFFFFFFFU}) {
        delivered.clear();
        ForgetWhatHappened();
        channel.Deliver(GetParam().id, Request("2a37", Counting(1024), length));
        EXPECT_THAT(delivered, ElementsAre(GetParam().delivered + std::string(" peer 180d 2a37 ") +
                                           ::testing::PrintToString(Counting(1024))));
        if (GetParam().isWrite) {
            EXPECT_EQ(LogLines::All().front(),
                      Line(1, "len :" + std::to_string(length), "OnServerWriteCallbackCb"));
        }
    }
}

TEST_P(GattPeerRequestTest, PointersLeadIntoTheRecord)
{
    static const std::uint8_t* expected;
    static bool isInRecord;
    const auto slot = [](std::uint64_t, const char*, const char* charUuid, const std::uint8_t* data,
                         std::uint32_t) {
        isInRecord = reinterpret_cast<const std::uint8_t*>(charUuid) == expected + 16 &&
                     data == expected + 53;
    };
    Publish({"2a37"}, &Lasting<BtGattCharCallbacksC>({slot, slot}));
    const ByteVector payload = Request("2a37", {1}, 1);
    protocol::GattPeerRequestRecord record;
    std::memcpy(&record, payload.data(), sizeof record);
    expected = reinterpret_cast<const std::uint8_t*>(&record);
    isInRecord = false;
    if (GetParam().isWrite) {
        servers.OnServerWriteCallback(&record);
    } else {
        servers.OnServerReadCallback(&record);
    }
    EXPECT_TRUE(isInRecord);
}

TEST_P(GattPeerRequestTest, AnUnknownServerIsLogged)
{
    channel.Deliver(GetParam().id, Request("2a37", {1}, 1));
    EXPECT_EQ(LogLines::All(),
              Lines(1, {HandlerLine(4, "serverId not found: " + std::to_string(server))}));
}

TEST_P(GattPeerRequestTest, AnUnknownServiceIsLogged)
{
    Publish({"2a37"}, &Lasting(CharTable()));
    channel.Deliver(GetParam().id, Request("2a37", {1}, 1, 99));
    EXPECT_EQ(LogLines::All(), Lines(1, {HandlerLine(4, "serviceHandle not found: 99")}));
    EXPECT_THAT(delivered, IsEmpty());
}

TEST_P(GattPeerRequestTest, AnUnknownCharacteristicIsLogged)
{
    Publish({"2a37"}, &Lasting(CharTable()));
    for (const std::string uuid : {"2a3", "2a371", "2A37", ""}) {
        ForgetWhatHappened();
        channel.Deliver(GetParam().id, Request(uuid, {1}, 1));
        EXPECT_EQ(LogLines::All(), Lines(1, {HandlerLine(1, "char uuid not found")})) << uuid;
    }
    EXPECT_THAT(delivered, IsEmpty());
}

TEST_P(GattPeerRequestTest, AUuidWithoutANulEndsWithItsField)
{
    Publish({"2a37"}, &Lasting(CharTable()));
    channel.Deliver(
        GetParam().id,
        Bytes().I32(server).I32(kHandle).U64(kPeer).Fill(37, 'a').Fill(1024, 'a').Zeros(3).U32(1));
    EXPECT_EQ(LogLines::All(), Lines(1, {HandlerLine(1, "char uuid not found")}));
}

TEST_P(GattPeerRequestTest, SkipsAMissingTableAndAnEmptySlot)
{
    Publish({"2a37"}, nullptr);
    const BLECharacteristicInfo info = InfoOf("2a38");
    servers.AddGattServerCharacteristic(server, kHandle, &info, &Lasting<BtGattCharCallbacksC>());
    for (const std::string uuid : {"2a37", "2a38"}) {
        ForgetWhatHappened();
        channel.Deliver(GetParam().id, Request(uuid, {1}, 1));
        EXPECT_EQ(LogLines::All(), Lines(1, {}));
    }
}

TEST_P(GattPeerRequestTest, WithoutPayloadIsDropped)
{
    channel.DeliverWithoutPayload(GetParam().id);
    EXPECT_THAT(LogLines::All(), IsEmpty());
}

TEST_P(GattPeerRequestTest, ANullRecordIsLogged)
{
    GetParam().handleNull();
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(GetParam().handler),
                                             HandlerLine(3, "callbackInfo is nullptr, return")));
}

TEST_P(GattPeerRequestTest, MayDeleteItsOwnServer)
{
    Publish({"2a37"}, &Lasting(CharTable()));
    channel.Reply(0xD7006F, Bytes().I32(0));
    inCallback = [&] { EXPECT_EQ(BleGattServer::BleGattServerUnRegister(server), 0); };
    channel.Deliver(GetParam().id, Request("2a37", {1}, 1));
    EXPECT_EQ(delivered.size(), 1U);
    ForgetWhatHappened();
    channel.Deliver(GetParam().id, Request("2a37", {1}, 1));
    EXPECT_EQ(LogLines::All(),
              Lines(1, {HandlerLine(4, "serverId not found: " + std::to_string(server))}));
}

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
