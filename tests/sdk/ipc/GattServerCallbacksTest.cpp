// How notifications of the service reach the tables of a GATT server.
#include <tests/sdk/ipc/GattServerFixture.h>

#include <cstring>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

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

}  // namespace

}  // namespace pelacon::test
