#include <tests/service/GattTest.h>

#include <future>

namespace pelacon::service::tests {
namespace {

using protocol::kStatusDone;
using protocol::kStatusInvalidArgument;
using protocol::kStatusLimitReached;
using protocol::kStatusNotConnected;
using protocol::kStatusNotFound;
using protocol::kStatusNotPermitted;
using protocol::kStatusUnknownId;

enum State : std::int32_t { kDisconnected = 0, kConnected = 1 };
enum Reason : std::int32_t {
    kNone = 0,
    kTimeout = 0x08,
    kRefused = 0x0D,
    kPeer = 0x13,
    kLocal = 0x16,
    kNotEstablished = 0x3E,
};

using Outcome = std::pair<std::int32_t, std::int32_t>;

constexpr std::uint64_t kSensor = 0xC00000000001;
constexpr std::uint64_t kRefusing = 0xC00000000002;
constexpr std::uint64_t kLeaving = 0xC00000000003;
constexpr std::uint64_t kLost = 0xC00000000004;
constexpr std::uint64_t kBeacon = 0xC00000000005;
constexpr std::uint64_t kSlow = 0xC00000000006;
constexpr std::uint64_t kFar = 0xC00000000007;
constexpr std::uint64_t kAbsentDevice = 0xC0FFFFFFFFFF;

constexpr char kWorld[] = R"({
    "adapter": {"address": "02:00:00:00:00:01", "turnOnMs": 1, "turnOffMs": 1},
    "gatt": {"mtu": 185},
    "peripherals": [
        {"address": "C0:00:00:00:00:01", "advertising": {"on": false}, "gatt": {
            "connectMs": 1, "mtu": 247, "services": [
            {"uuid": "180d", "characteristics": [
                {"uuid": "2a38", "value": "01"},
                {"uuid": "2a37", "flags": ["notify"], "notifyMs": 1,
                 "notifyValues": ["0048", "0049", "004A"]},
                {"uuid": "2a39", "flags": ["write"]},
                {"uuid": "00002A3A-0000-1000-8000-00805F9B34FB",
                 "flags": ["read", "write", "indicate"], "value": {"text": "on"}},
                {"uuid": "2a3b", "flags": ["read", "writeWithoutResponse"]}]},
            {"uuid": "0123abcd-0000-0000-0000-00000000f00d"}]}},
        {"address": "C0:00:00:00:00:02", "advertising": {"on": false},
         "gatt": {"connectMs": 1, "refuse": true}},
        {"address": "C0:00:00:00:00:03", "advertising": {"on": false},
         "gatt": {"connectMs": 1, "disconnect": {"afterMs": 1}}},
        {"address": "C0:00:00:00:00:04", "advertising": {"on": false},
         "gatt": {"connectMs": 1, "disconnect": {"afterMs": 1, "reason": "timeout"}}},
        {"address": "C0:00:00:00:00:05", "advertising": {"on": false, "kind": "non-connectable"},
         "gatt": {"connectMs": 1}},
        {"address": "C0:00:00:00:00:06", "advertising": {"on": false}, "gatt": {
            "connectMs": 1, "responseMs": 20, "mtu": 23, "services": [
            {"uuid": "180d", "characteristics": [{"uuid": "2a38", "value": "07"}]}]}},
        {"address": "C0:00:00:00:00:07", "advertising": {"on": false}, "gatt": {
            "connectMs": 60000}}
    ]})";

class GattClientFamilyTest : public ServiceTest {
  protected:
    GattClientFamilyTest()
    {
        StartService(kWorld);
        program.emplace(PipeName());
    }

    bool IsConnected(std::uint64_t address)
    {
        return program->Call(protocol::kIsDeviceConnected, {1, {}, address})->value == 1;
    }
    nlohmann::json Status() { return Command({{"command", "status"}})["gattClients"]; }

    std::optional<TestClient> program;
};

TEST_F(GattClientFamilyTest, ConnectsAndDisconnects)
{
    GattCaller client(*program);
    client.StartToConnect(kSensor);
    EXPECT_EQ(client.Outcome(), Outcome(kConnected, kNone));
    EXPECT_TRUE(IsConnected(kSensor));
    EXPECT_EQ(client.Disconnect(), kStatusDone);
    EXPECT_EQ(client.End(), Outcome(kDisconnected, kLocal));
    EXPECT_FALSE(IsConnected(kSensor));
    EXPECT_EQ(client.Disconnect(), kStatusNotConnected);
}

TEST_F(GattClientFamilyTest, NotifiesWhyAConnectionFailed)
{
    GattCaller client(*program);
    client.StartToConnect(kRefusing);
    EXPECT_EQ(client.Outcome(), Outcome(kDisconnected, kRefused));
    client.StartToConnect(kBeacon);
    EXPECT_EQ(client.Outcome(), Outcome(kDisconnected, kNotEstablished));
    client.StartToConnect(kAbsentDevice);
    EXPECT_EQ(client.Outcome(), Outcome(kDisconnected, kNotEstablished));
    client.StartToConnect(kThisMachine);  // has no started service
    EXPECT_EQ(client.Outcome(), Outcome(kDisconnected, kNotEstablished));
    EXPECT_EQ(client.Search(), kStatusNotConnected);
}

TEST_F(GattClientFamilyTest, NotifiesWhenThePeerEndsTheConnection)
{
    GattCaller client(*program);
    client.StartToConnect(kLeaving);
    EXPECT_EQ(client.Outcome(), Outcome(kConnected, kNone));
    EXPECT_EQ(client.End(), Outcome(kDisconnected, kPeer));
    client.StartToConnect(kLost);
    EXPECT_EQ(client.Outcome(), Outcome(kConnected, kNone));
    EXPECT_EQ(client.End(), Outcome(kDisconnected, kTimeout));
    EXPECT_EQ(client.Search(), kStatusNotConnected);
}

TEST_F(GattClientFamilyTest, ADisconnectEndsAnAttempt)
{
    GattCaller client(*program);
    client.StartToConnect(kFar);
    EXPECT_EQ(client.Search(), kStatusNotConnected);
    EXPECT_EQ(client.Disconnect(), kStatusDone);
    EXPECT_EQ(client.Outcome(), Outcome(kDisconnected, kLocal));
}

TEST_F(GattClientFamilyTest, AConnectEndsTheConnectionBefore)
{
    GattCaller client(*program);
    client.Connect(kSensor);
    client.StartToConnect(kSlow);
    EXPECT_EQ(client.End(), Outcome(kDisconnected, kLocal));
    EXPECT_EQ(client.Outcome(), Outcome(kConnected, kNone));
    EXPECT_FALSE(IsConnected(kSensor));
    EXPECT_TRUE(IsConnected(kSlow));
}

TEST_F(GattClientFamilyTest, NothingIsConnectedWhileTheAdapterIsOff)
{
    GattCaller client(*program);
    client.Connect(kSensor);
    program->Call(protocol::kBtDisable);
    EXPECT_EQ(client.End(), Outcome(kDisconnected, kLocal));
    client.StartToConnect(kSensor);
    EXPECT_EQ(client.Outcome(), Outcome(kDisconnected, kLocal));
}

TEST_F(GattClientFamilyTest, AnAttemptEndsWhenTheAdapterIsSwitchedOff)
{
    GattCaller client(*program);
    client.StartToConnect(kFar);
    program->Call(protocol::kBtDisable);
    EXPECT_EQ(client.Outcome(), Outcome(kDisconnected, kLocal));
}

TEST_F(GattClientFamilyTest, AConnectWithAnUnknownIdFails)
{
    TestClient another(PipeName());
    GattCaller stranger(another);
    program->Post(protocol::kGattClientConnect, {stranger.Id(), {}, kSensor});
    const auto record = program->Next(protocol::kGattConnectionState);
    EXPECT_EQ(record.clientId, stranger.Id());
    EXPECT_EQ(Outcome(record.state, record.reason), Outcome(kDisconnected, kNotEstablished));
    EXPECT_EQ(another.Waiting(protocol::kGattConnectionState.id), 0U);
}

TEST_F(GattClientFamilyTest, NothingIsFoundBeforeTheServicesAreSearched)
{
    GattCaller client(*program);
    client.StartToConnect(kSensor);
    client.Outcome();
    EXPECT_EQ(client.GetService("180d"), kStatusNotFound);
    EXPECT_EQ(client.Read("180d", "2a38").first, kStatusNotFound);
    EXPECT_EQ(client.Write("180d", "2a39", {1}), kStatusNotFound);
    EXPECT_EQ(client.Subscribe("180d", "2a37"), kStatusNotFound);
    EXPECT_EQ(client.Search(), kStatusDone);
    EXPECT_EQ(client.GetService("180d"), kStatusDone);
}

TEST_F(GattClientFamilyTest, FindsServicesUnderEachOfTheirTexts)
{
    GattCaller client(*program);
    client.Connect(kSensor);
    for (const auto* uuid :
         {"180d", "180D", "0000180d", "0000180d-0000-1000-8000-00805f9b34fb",
          "0000180D-0000-1000-8000-00805F9B34FB", "0123ABCD-0000-0000-0000-00000000F00D"}) {
        EXPECT_EQ(client.GetService(uuid), kStatusDone) << uuid;
    }
    for (const auto* uuid : {"180f", "0000180d-0000-1000-8000-00805f9b34fc"}) {
        EXPECT_EQ(client.GetService(uuid), kStatusNotFound) << uuid;
    }
    for (const auto* uuid : {"", "180", "180dd", "180g", "0000180d-0000-1000-8000-00805f9b34f",
                             "0000180d+0000-1000-8000-00805f9b34fb"}) {
        EXPECT_EQ(client.GetService(uuid), kStatusInvalidArgument) << uuid;
    }
}

TEST_F(GattClientFamilyTest, ReadsAValue)
{
    GattCaller client(*program);
    client.Connect(kSensor);
    EXPECT_EQ(client.Read("180d", "2a38"), std::pair(std::int32_t{kStatusDone}, Bytes{1}));
    EXPECT_EQ(client.Read("180D", "00002a3a").second, (Bytes{'o', 'n'}));
    EXPECT_EQ(client.Read("180d", "2a39").first, kStatusNotPermitted);
    EXPECT_EQ(client.Read("180d", "2a99").first, kStatusNotFound);
    EXPECT_EQ(client.Read("1810", "2a38").first, kStatusNotFound);
    EXPECT_EQ(client.Read("180d", "x").first, kStatusInvalidArgument);

    const auto record = client.ReadRecord("180D", "2A38");
    EXPECT_EQ(record.clientId, client.Id());
    EXPECT_EQ(TextIn(record.serviceUuid), "180D");
    EXPECT_EQ(TextIn(record.charUuid), "2A38");
}

TEST_F(GattClientFamilyTest, AWrittenValueIsReadByAllClients)
{
    GattCaller client(*program);
    client.Connect(kSensor);
    TestClient another(PipeName());
    GattCaller reader(another);
    reader.Connect(kSensor);
    for (const Bytes& value : {Bytes{}, Bytes{0, 1, 0}, CountingBytes(1024)}) {
        EXPECT_EQ(client.Write("180d", "2a3a", value), kStatusDone);
        EXPECT_EQ(reader.Read("180d", "2a3a").second, value);
        EXPECT_EQ(client.Write("180d", "2a3b", value), kStatusDone);
        EXPECT_EQ(reader.Read("180d", "2a3b").second, value);
    }
    EXPECT_EQ(client.Write("180d", "2a38", {1}), kStatusNotPermitted);
    EXPECT_EQ(client.Write("180d", "2a99", {1}), kStatusNotFound);
    EXPECT_EQ(client.Write("180d", "", {1}), kStatusInvalidArgument);
}

TEST_F(GattClientFamilyTest, AWriteWithATooLargeLengthIsRefused)
{
    GattCaller client(*program);
    client.Connect(kSensor);
    protocol::GattValueRequest request{};
    request.clientId = client.Id();
    PutText(request.serviceUuid, "180d");
    PutText(request.charUuid, "2a3a");
    request.dataLen = 1025;
    EXPECT_EQ(program->Call(protocol::kGattClientWrite, request)->status, kStatusInvalidArgument);
    EXPECT_EQ(client.Read("180d", "2a3a").second, (Bytes{'o', 'n'}));
}

TEST_F(GattClientFamilyTest, NotifiesWithTheUuidTextsOfTheProgram)
{
    GattCaller client(*program);
    client.Connect(kSensor);
    EXPECT_EQ(client.Subscribe("0000180D", "2A37"), kStatusDone);
    for (const std::uint8_t rate : Bytes{0x48, 0x49, 0x4A, 0x48}) {
        const auto record = program->Next(protocol::kGattNotification);
        EXPECT_EQ(record.clientId, client.Id());
        EXPECT_EQ(TextIn(record.serviceUuid), "0000180D");
        EXPECT_EQ(TextIn(record.charUuid), "2A37");
        EXPECT_EQ(Bytes(record.value, record.value + record.dataLen), (Bytes{0, rate}));
        EXPECT_EQ(record.status, 0) << "a notification";
    }
}

TEST_F(GattClientFamilyTest, RemembersUuidTextsForAFixedNumberOfCharacteristics)
{
    GattCaller client(*program);
    client.Connect(kSensor);
    EXPECT_EQ(client.Subscribe("180d", "2a3a"), kStatusDone);
    for (int i = 0; i < 300; ++i) {
        EXPECT_EQ(client.Subscribe("180d", std::to_string(3000 + i)), kStatusNotFound);
    }
    EXPECT_EQ(client.Write("180d", "2a3a", {1}), kStatusDone);
    EXPECT_EQ(TextIn(program->Next(protocol::kGattNotification).charUuid), "2a3a");
    EXPECT_EQ(client.Subscribe("180d", "2A3A"), kStatusDone) << "other texts for the same UUIDs";
    EXPECT_EQ(client.Write("180d", "2a3a", {2}), kStatusDone);
    EXPECT_EQ(TextIn(program->Next(protocol::kGattNotification).charUuid), "2A3A");

    EXPECT_EQ(client.Subscribe("180d", "2a37"), kStatusDone);
    const auto record = program->Next(protocol::kGattNotification);
    EXPECT_EQ(TextIn(record.serviceUuid), "0000180d-0000-1000-8000-00805f9b34fb");
    EXPECT_EQ(TextIn(record.charUuid), "00002a37-0000-1000-8000-00805f9b34fb");
}

TEST_F(GattClientFamilyTest, NotifiesSubscribedCharacteristicsOnly)
{
    GattCaller client(*program);
    client.Connect(kSensor);
    EXPECT_EQ(client.Subscribe("180d", "2a38"), kStatusNotPermitted);
    EXPECT_EQ(client.Subscribe("180d", "2a99"), kStatusNotFound);
    EXPECT_EQ(client.Subscribe("180d", "x"), kStatusInvalidArgument);
    EXPECT_EQ(client.Subscribe("180d", "2a37"), kStatusDone);
    client.Notified();
    EXPECT_EQ(client.Subscribe("180d", "2a37", false), kStatusDone);
    // Once a value that was notified later has arrived, all earlier ones have.
    EXPECT_EQ(client.Subscribe("180d", "2a3a"), kStatusDone);
    EXPECT_EQ(client.Write("180d", "2a3a", {7}), kStatusDone);
    while (client.Notified() != Bytes{7}) {
    }
    EXPECT_EQ(program->Waiting(protocol::kGattNotification.id), 0U);
}

TEST_F(GattClientFamilyTest, SubscribersReceiveWrittenValues)
{
    TestClient another(PipeName());
    GattCaller listener(another);
    listener.Connect(kSensor);
    EXPECT_EQ(listener.Subscribe("180d", "2a3a"), kStatusDone);
    EXPECT_EQ(listener.Subscribe("180d", "2a3a"), kStatusDone)
        << "subscribing twice is the same as once";
    GattCaller writer(*program);
    writer.Connect(kSensor);
    writer.Write("180d", "2a3a", {1});
    writer.Write("180d", "2a3a", {2});
    auto record = another.Next(protocol::kGattNotification);
    EXPECT_EQ(record.status, 1) << "an indication";
    EXPECT_EQ(record.value[0], 1);
    record = another.Next(protocol::kGattNotification);
    EXPECT_EQ(record.value[0], 2);
}

TEST_F(GattClientFamilyTest, SubscriptionsEndWithTheirConnection)
{
    GattCaller client(*program);
    client.Connect(kSensor);
    client.Subscribe("180d", "2a3a");
    client.Disconnect();
    client.End();
    client.Connect(kSensor);
    client.Write("180d", "2a3a", {1});
    client.Subscribe("180d", "2a3a");
    client.Write("180d", "2a3a", {2});
    EXPECT_EQ(client.Notified(), Bytes{2});
}

TEST_F(GattClientFamilyTest, TheMtuIsTheSmallerOfBothEnds)
{
    GattCaller client(*program);
    EXPECT_EQ(client.Mtu().first, kStatusNotConnected);
    client.Connect(kSensor);
    EXPECT_EQ(client.Mtu(), Outcome(kStatusDone, 185));
    GattCaller other(*program);
    other.Connect(kSlow);
    EXPECT_EQ(other.Mtu(), Outcome(kStatusDone, 23));
}

TEST_F(GattClientFamilyTest, ADeviceMayAnswerLate)
{
    GattCaller client(*program);
    client.Connect(kSlow);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(client.Read("180d", "2a38").second, Bytes{7});
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(20));
}

TEST_F(GattClientFamilyTest, ARunningRequestEndsWithItsConnection)
{
    EndService();
    StartService(R"({"peripherals": [{"address": "C0:00:00:00:00:06", "gatt": {
        "connectMs": 1, "responseMs": 60000}}]})");
    program.emplace(PipeName());
    GattCaller client(*program);
    client.StartToConnect(kSlow);
    client.Outcome();
    const auto requests = [this] {
        return Command({{"command", "status"}})["counters"]["requests"].get<int>();
    };
    const auto search = [&] {
        const int before = requests();
        auto answer = std::async(std::launch::async, [&] { return client.Search(); });
        EXPECT_TRUE(Eventually([&] { return requests() > before; }));
        EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
        return answer;
    };
    auto searching = search();
    EXPECT_EQ(client.Disconnect(), kStatusDone);
    EXPECT_EQ(searching.get(), kStatusNotConnected);

    client.StartToConnect(kSlow);
    client.Outcome();
    searching = search();
    EXPECT_EQ(client.UnRegister(), kStatusDone);
    EXPECT_EQ(searching.get(), kStatusNotConnected);
}

TEST_F(GattClientFamilyTest, AnIdIsValidForItsProgramOnly)
{
    GattCaller mine(*program);
    mine.Connect(kSensor);
    TestClient another(PipeName());
    const std::int32_t id = mine.Id();
    EXPECT_EQ(another.Call(protocol::kGattClientDisconnect, {id})->status, kStatusUnknownId);
    EXPECT_EQ(another.Call(protocol::kGattClientUnRegister, {id})->status, kStatusUnknownId);
    EXPECT_EQ(another.Call(protocol::kGattClientSearchServices, {id})->status, kStatusUnknownId);
    EXPECT_EQ(another.Call(protocol::kGattClientGetMtu, {id})->status, kStatusUnknownId);
    protocol::GattServiceRequest service{};
    service.clientId = id;
    EXPECT_EQ(another.Call(protocol::kGattClientGetService, service)->status, kStatusUnknownId);
    const auto request = mine.RequestFor("180d", "2a38");
    EXPECT_EQ(another.Call(protocol::kGattClientRead, request)->status, kStatusUnknownId);
    EXPECT_EQ(another.Call(protocol::kGattClientRegisterNotification, request)->status,
              kStatusUnknownId);
    protocol::GattValueRequest value{};
    value.clientId = id;
    EXPECT_EQ(another.Call(protocol::kGattClientWrite, value)->status, kStatusUnknownId);
    EXPECT_EQ(mine.Read("180d", "2a38").first, kStatusDone);
}

TEST_F(GattClientFamilyTest, AnUnregisteredIdIsUnknown)
{
    GattCaller client(*program);
    client.Connect(kSensor);
    EXPECT_EQ(client.UnRegister(), kStatusDone);
    EXPECT_FALSE(IsConnected(kSensor));
    EXPECT_EQ(client.UnRegister(), kStatusUnknownId);
    EXPECT_EQ(client.Search(), kStatusUnknownId);
    EXPECT_EQ(Status()["registered"], 0);
}

TEST_F(GattClientFamilyTest, AProgramMayHoldALimitedNumberOfIds)
{
    for (int i = 0; i < 64; ++i) {
        ASSERT_EQ(program->Call(protocol::kGattClientRegister)->status, kStatusDone);
    }
    EXPECT_EQ(program->Call(protocol::kGattClientRegister)->status, kStatusLimitReached);
    TestClient another(PipeName());
    EXPECT_EQ(another.Call(protocol::kGattClientRegister)->status, kStatusDone);
}

TEST_F(GattClientFamilyTest, ConnectionsEndWithTheirProgram)
{
    GattCaller client(*program);
    client.Connect(kSensor);
    EXPECT_EQ(Status(), (nlohmann::json{{"registered", 1}, {"connected", 1}}));
    program.reset();
    EXPECT_TRUE(Eventually([&] { return Status()["registered"] == 0; }));
    program.emplace(PipeName());
    EXPECT_FALSE(IsConnected(kSensor));
}

TEST_F(GattClientFamilyTest, ARestartForgetsIdsAndConnections)
{
    GattCaller client(*program);
    client.Connect(kSensor);
    client.Write("180d", "2a3a", {9});
    Command({{"command", "restart"}});
    program->Next(protocol::kServiceStarted);
    const auto reply = program->Call(protocol::kGattClientSearchServices, {client.Id()});
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, kStatusUnknownId);
    GattCaller next(*program);
    EXPECT_NE(next.Id(), client.Id());
    next.Connect(kSensor);
    EXPECT_EQ(next.Read("180d", "2a3a").second, (Bytes{'o', 'n'}));
}

}  // namespace
}  // namespace pelacon::service::tests
