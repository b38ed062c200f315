// Both GATT roles: one program serves, another reads; here both are this one.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/Bytes.h>
#include <tests/support/Mailbox.h>
#include <tests/support/ServiceProcess.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <future>
#include <numeric>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace pelacon::test {

namespace {

constexpr std::uint64_t kThisMachine = 0x0A0B0C0D0E0F;
constexpr std::uint64_t kStrap = 0xC00000000001;
constexpr std::uint64_t kRefusing = 0xC00000000002;
constexpr std::uint64_t kLost = 0xC00000000003;

const std::string kService = "180d";
const std::string kLongService = "0000180D-0000-1000-8000-00805F9B34FB";
const std::string kRate = "2a37";
const std::string kPlace = "2a38";
const std::string kControl = "2a39";

constexpr auto kGattWorld = R"({
    "adapter": {"address": "0A:0B:0C:0D:0E:0F", "turnOnMs": 1, "turnOffMs": 1},
    "gatt": {"connectMs": 1, "mtu": 185},
    "peripherals": [
        {"address": "C0:00:00:00:00:01", "advertising": {"on": false}, "gatt": {
            "connectMs": 1, "services": [{"uuid": "180d", "characteristics": [
                {"uuid": "2a37", "flags": ["notify"], "notifyMs": 1,
                 "notifyValues": ["0048", "0049"]},
                {"uuid": "2a38", "flags": ["read", "write"], "value": "01"}]}]}},
        {"address": "C0:00:00:00:00:02", "gatt": {"connectMs": 1, "refuse": true}},
        {"address": "C0:00:00:00:00:03", "gatt": {
            "connectMs": 1, "disconnect": {"afterMs": 1, "reason": "timeout"}}}
    ]})";

/// A connection's state, as its callback gets it.
struct State {
    std::int32_t clientId = 0;
    std::int32_t state = -1;
    std::int32_t reason = -1;

    bool operator==(const State&) const = default;
};

struct Notified {
    std::int32_t clientId = 0;
    std::string service;
    std::string characteristic;
    ByteVector data;
    std::int32_t kind = -1;

    bool operator==(const Notified&) const = default;
};

/// An event that a server's callback received.
struct PeerEvent {
    std::string what;
    std::uint64_t peer = 0;
    std::uint32_t value = 0;
    std::string service;
    std::string characteristic;
    ByteVector data;
};

template <typename Event>
Mailbox<Event>& Delivered()
{
    static auto& delivered = *new Mailbox<Event>;
    return delivered;
}

/// Called inside the callbacks, if a test sets them.
std::function<void(const State&)> whenState;
std::function<void(const PeerEvent&)> whenPeer;

void DeliverPeer(PeerEvent event)
{
    if (whenPeer) {
        whenPeer(event);
    }
    Delivered<PeerEvent>().Put(std::move(event));
}

BtGattClientCallbacksC clientTable{
    [](std::int32_t clientId, std::int32_t state, std::int32_t reason) {
        if (whenState) {
            whenState({clientId, state, reason});
        }
        Delivered<State>().Put({clientId, state, reason});
    },
    [](std::int32_t clientId, const char* service, const char* characteristic,
       const std::uint8_t* data, std::uint32_t dataLen, std::int32_t kind) {
        Delivered<Notified>().Put(
            {clientId, service, characteristic, {data, data + dataLen}, kind});
    }};

BtGattServerCallbacksC serverTable{[](std::uint64_t peer) {
                                       DeliverPeer({"connect", peer, 0, {}, {}, {}});
                                   },
                                   [](std::uint64_t peer) {
                                       DeliverPeer({"disconnect", peer, 0, {}, {}, {}});
                                   },
                                   [](std::uint64_t peer, std::uint32_t status) {
                                       DeliverPeer({"sent", peer, status, {}, {}, {}});
                                   },
                                   [](std::uint64_t peer, std::uint32_t mtu) {
                                       DeliverPeer({"mtu", peer, mtu, {}, {}, {}});
                                   }};

BtGattCharCallbacksC charTable{
    [](std::uint64_t peer, const char* service, const char* characteristic,
       const std::uint8_t* data, std::uint32_t dataLen) {
        DeliverPeer({"read", peer, 0, service, characteristic, {data, data + dataLen}});
    },
    [](std::uint64_t peer, const char* service, const char* characteristic,
       const std::uint8_t* data, std::uint32_t dataLen) {
        DeliverPeer({"write", peer, 0, service, characteristic, {data, data + dataLen}});
    }};

ByteVector Counting(std::size_t count)
{
    ByteVector bytes(count);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
    return bytes;
}

class Gatt : public ::testing::Test {
  protected:
    Gatt() : Gatt(kGattWorld) {}

    explicit Gatt(const std::string& world) : service(world)
    {
        Delivered<State>().Clear();
        Delivered<Notified>().Clear();
        Delivered<PeerEvent>().Clear();
        EXPECT_EQ(PelaconSvcStart(), 0);
    }
    ~Gatt() override
    {
        PelaconSvcStop();
        whenState = nullptr;
        whenPeer = nullptr;
    }

    // ---- Serving

    void Serve()
    {
        ASSERT_EQ(BleGattServer::BleGattServerRegister(&serverTable, &server), 0);
        ASSERT_EQ(BleGattServer::BleGattServerAddService(server, kLongService, &handle), 0);
        AddCharacteristic(kRate, kBleGattCharRead | kBleGattCharNotify, {0, 60});
        AddCharacteristic(kPlace, kBleGattCharRead, {1});
        AddCharacteristic(kControl, kBleGattCharWrite | kBleGattCharRead, {});
        ASSERT_EQ(BleGattServer::BleGattServerStartService(server, handle), 0);
    }
    void AddCharacteristic(const std::string& uuid, std::int32_t flags, const ByteVector& value)
    {
        BLECharacteristicInfo info{uuid, flags, &charTable, value};
        ASSERT_EQ(BleGattServer::BleGattServerAddCharacteristic(server, handle, &info), 0);
    }
    int Publish(const ByteVector& value, std::uint64_t peer = 0)
    {
        return BleGattServer::BleGattServerPublishNotify(server, handle, kRate, value, peer);
    }
    /// The next event, which is expected to be of this kind.
    static PeerEvent NextPeer(const std::string& what)
    {
        PeerEvent event = Delivered<PeerEvent>().Next();
        EXPECT_EQ(event.what, what);
        return event;
    }

    // ---- Reading

    static std::int32_t Register()
    {
        std::int32_t id = 0;
        EXPECT_EQ(BleGattClient::BleGattClientRegister(&id), 0);
        EXPECT_GT(id, 0);
        return id;
    }
    static void StartToConnect(std::int32_t id, std::uint64_t address)
    {
        EXPECT_EQ(BleGattClient::BleGattClientConnect(id, address, &clientTable), 0);
    }
    /// A client that is connected and has searched the peer's services.
    static std::int32_t Connected(std::uint64_t address)
    {
        const std::int32_t id = Register();
        StartToConnect(id, address);
        EXPECT_EQ(Delivered<State>().Next(), (State{id, kBleGattConnected, kBleGattReasonNone}));
        EXPECT_EQ(BleGattClient::BleGattClientSearchServices(id), 0);
        return id;
    }
    static ByteVector Read(std::int32_t id, const std::string& characteristic)
    {
        ByteVector value;
        EXPECT_EQ(
            BleGattClient::BleGattClientReadCharacteristic(id, kService, characteristic, &value),
            0);
        return value;
    }
    static int Write(std::int32_t id, const std::string& characteristic, const ByteVector& value)
    {
        return BleGattClient::BleGattClientWriteCharacteristic(id, kService, characteristic, value);
    }
    static int Subscribe(std::int32_t id, const std::string& characteristic, bool enable = true)
    {
        return BleGattClient::BleGattClientRegisterNotification(id, kService, characteristic,
                                                                enable);
    }

    ServiceProcess service;
    std::int32_t server = 0;
    std::int32_t handle = 0;
};

TEST_F(Gatt, FromConnectToDisconnect)
{
    Serve();
    const std::int32_t id = Connected(kThisMachine);
    const std::uint64_t peer = NextPeer("connect").peer;
    const PeerEvent mtu = NextPeer("mtu");
    EXPECT_EQ(mtu.peer, peer);
    EXPECT_EQ(mtu.value, 185U);
    std::int32_t clientMtu = 0;
    EXPECT_EQ(BleGattClient::BleGattClientGetMtu(id, &clientMtu), 0);
    EXPECT_EQ(clientMtu, 185);

    EXPECT_EQ(BleGattClient::BleGattClientGetService(id, kService), 0);
    EXPECT_EQ(BleGattClient::BleGattClientGetService(id, kLongService), 0);
    EXPECT_GT(BleGattClient::BleGattClientGetService(id, "180f"), 0);

    EXPECT_EQ(Read(id, kPlace), ByteVector{1});
    PeerEvent event = NextPeer("read");
    EXPECT_EQ(event.peer, peer);
    EXPECT_EQ(event.service, kLongService) << "as the server wrote it";
    EXPECT_EQ(event.characteristic, kPlace);
    EXPECT_EQ(event.data, ByteVector{1});

    EXPECT_EQ(Write(id, kControl, {1, 0, 2}), 0);
    event = NextPeer("write");
    EXPECT_EQ(event.peer, peer);
    EXPECT_EQ(event.service, kLongService);
    EXPECT_EQ(event.characteristic, kControl);
    EXPECT_EQ(event.data, (ByteVector{1, 0, 2}));

    EXPECT_EQ(Subscribe(id, kRate), 0);
    EXPECT_EQ(Publish({0, 72}, peer), 0);
    EXPECT_EQ(Delivered<Notified>().Next(),
              (Notified{id, kService, kRate, {0, 72}, kBleGattNotification}));
    event = NextPeer("sent");
    EXPECT_EQ(event.peer, peer);
    EXPECT_EQ(event.value, 0U);
    EXPECT_EQ(Read(id, kRate), (ByteVector{0, 72}));
    NextPeer("read");

    EXPECT_EQ(BleGattClient::BleGattClientDisconnect(id), 0);
    EXPECT_EQ(Delivered<State>().Next(), (State{id, kBleGattDisconnected, kBleGattReasonLocal}));
    EXPECT_EQ(NextPeer("disconnect").peer, peer);
    EXPECT_EQ(BleGattClient::BleGattClientUnRegister(id), 0);
    EXPECT_EQ(BleGattServer::BleGattServerStopService(server, handle), 0);
    EXPECT_EQ(BleGattServer::BleGattServerDeleteService(server, handle), 0);
    EXPECT_EQ(BleGattServer::BleGattServerUnRegister(server), 0);
}

TEST_F(Gatt, ValuesOfEveryLengthInBothDirections)
{
    Serve();
    const std::int32_t id = Connected(kThisMachine);
    Subscribe(id, kRate);
    for (const ByteVector& value : {ByteVector{}, ByteVector{0, 0, 7, 0}, Counting(1024)}) {
        EXPECT_EQ(Write(id, kControl, value), 0);
        EXPECT_EQ(Delivered<PeerEvent>()
                      .NextThat([](const PeerEvent& event) { return event.what == "write"; })
                      .data,
                  value);
        EXPECT_EQ(Read(id, kControl), value);
        EXPECT_EQ(Publish(value), 0);
        ByteVector carried = value;
        carried.resize(std::min<std::size_t>(carried.size(), 185 - 3));  // of the MTU
        EXPECT_EQ(Delivered<Notified>().Next().data, carried);
    }
    EXPECT_EQ(Write(id, kControl, Counting(1025)), -1);
    EXPECT_EQ(Publish(Counting(1025)), -10);
    EXPECT_EQ(Read(id, kControl), Counting(1024));
}

TEST_F(Gatt, TheCFormWorksTheSame)
{
    std::int32_t one = 0;
    std::int32_t service1 = 0;
    ASSERT_EQ(BleGattServerRegister(&serverTable, &one), 0);
    ASSERT_EQ(BleGattServerAddService(one, "1810", &service1), 0);
    BLECharacteristicInfoC info{};
    std::copy_n("2a35", 5, info.charUuid);
    info.flags = kBleGattCharRead | kBleGattCharWrite | kBleGattCharIndicate;
    info.callbacks = &charTable;
    info.value[0] = 9;
    info.valueLen = 1;
    ASSERT_EQ(BleGattServerAddCharacteristic(one, service1, &info), 0);
    ASSERT_EQ(BleGattServerStartService(one, service1), 0);

    const std::int32_t id = Connected(kThisMachine);
    std::array<std::uint8_t, 1024> data{};
    std::uint32_t length = 0;
    EXPECT_EQ(BleGattClientReadCharacteristic(id, "1810", "2a35", data.data(), &length), 0);
    EXPECT_EQ(length, 1U);
    EXPECT_EQ(data[0], 9);
    EXPECT_EQ(BleGattClientWriteCharacteristic(id, "1810", "2a35", data.data(), 1024), 0);
    EXPECT_EQ(BleGattClientRegisterNotification(id, "1810", "2a35", true), 0);
    BleGattNotifyInfoC notify{};
    notify.serverId = one;
    notify.serviceHandle = service1;
    std::copy_n("2A35", 5, notify.charUuid);
    notify.value[0] = 5;
    EXPECT_EQ(BleGattServerPublishNotifyExt(&notify), -1);
    notify.valueLen = 1;
    EXPECT_EQ(BleGattServerPublishNotifyExt(&notify), 0);
    EXPECT_EQ(Delivered<Notified>().Next(),
              (Notified{id, "1810", "2a35", {5}, kBleGattIndication}));
}

TEST_F(Gatt, ASimulatedPeripheralIsReadWrittenAndSubscribedTo)
{
    const std::int32_t id = Connected(kStrap);
    EXPECT_EQ(Read(id, kPlace), ByteVector{1});
    EXPECT_EQ(Write(id, kPlace, {3}), 0);
    EXPECT_EQ(Read(id, kPlace), ByteVector{3});
    EXPECT_EQ(Subscribe(id, kRate), 0);
    EXPECT_EQ(Delivered<Notified>().Next().data, (ByteVector{0, 0x48}));
    EXPECT_EQ(Delivered<Notified>().Next().data, (ByteVector{0, 0x49}));
    EXPECT_EQ(Subscribe(id, kRate, false), 0);
    EXPECT_TRUE(IsDeviceConnected(kStrap, kBluetoothLe));
    EXPECT_EQ(BleManager::BtDisable(), 0);
    EXPECT_EQ(Delivered<State>().Next(), (State{id, kBleGattDisconnected, kBleGattReasonLocal}));
}

TEST_F(Gatt, FailedAndLostConnectionsAreReported)
{
    const std::int32_t id = Register();
    StartToConnect(id, kRefusing);
    EXPECT_EQ(Delivered<State>().Next(), (State{id, kBleGattDisconnected, kBleGattReasonRefused}));
    StartToConnect(id, 0xC0FFFFFFFFFF);
    EXPECT_EQ(Delivered<State>().Next(),
              (State{id, kBleGattDisconnected, kBleGattReasonNotEstablished}));
    StartToConnect(id, kLost);
    EXPECT_EQ(Delivered<State>().Next(), (State{id, kBleGattConnected, kBleGattReasonNone}));
    EXPECT_EQ(Delivered<State>().Next(), (State{id, kBleGattDisconnected, kBleGattReasonTimeout}));
}

/// All operations of a display, called inside the callback that reports the connection.
TEST_F(Gatt, CallbacksMayCallOperations)
{
    Serve();
    std::atomic<int> result{-100};
    whenState = [&](const State& state) {
        if (state.state == kBleGattConnected) {
            int sum = BleGattClient::BleGattClientSearchServices(state.clientId);
            sum += BleGattClient::BleGattClientGetService(state.clientId, kService);
            sum += Subscribe(state.clientId, kRate);
            sum += Write(state.clientId, kControl, {1});
            result = sum;
        }
    };
    whenPeer = [&](const PeerEvent& event) {
        if (event.what == "write") {
            EXPECT_EQ(Publish(event.data, event.peer), 0);
        }
    };
    const std::int32_t id = Register();
    StartToConnect(id, kThisMachine);
    EXPECT_EQ(Delivered<Notified>().Next().data, ByteVector{1});
    EXPECT_EQ(result, 0);
}

TEST_F(Gatt, ACallbackMayConnectAgain)
{
    std::atomic<int> losses{0};
    whenState = [&](const State& state) {
        if (state.state == kBleGattDisconnected && ++losses < 3) {
            StartToConnect(state.clientId, kLost);
        }
    };
    StartToConnect(Register(), kLost);
    EXPECT_TRUE(Eventually([&] { return losses == 3; }));
}

/// Another thread registers and adds while callbacks, which run with the registry locked, call
/// operations.
TEST_F(Gatt, CallbacksMayCallOperationsWhileOthersRegister)
{
    Serve();
    const std::int32_t id = Connected(kThisMachine);
    Subscribe(id, kRate);
    whenPeer = [&](const PeerEvent& event) {
        if (event.what == "read") {
            EXPECT_EQ(Publish({7}, event.peer), 0);
        }
    };
    std::atomic<bool> done{false};
    std::thread other([&] {
        while (!done) {
            std::int32_t otherServer = 0;
            EXPECT_EQ(BleGattServer::BleGattServerRegister(&serverTable, &otherServer), 0);
            EXPECT_EQ(BleGattServer::BleGattServerUnRegister(otherServer), 0);
        }
    });
    for (int i = 0; i < 100; ++i) {
        Read(id, kPlace);
        EXPECT_EQ(Delivered<Notified>().Next().data, ByteVector{7});
    }
    done = true;
    other.join();
}

TEST_F(Gatt, FiftyClientsOfOneServer)
{
    Serve();
    std::vector<std::int32_t> ids;
    for (int i = 0; i < 50; ++i) {
        ids.push_back(Connected(kThisMachine));
        EXPECT_EQ(Subscribe(ids.back(), kRate), 0);
    }
    EXPECT_EQ(Publish({42}), 0);
    std::vector<std::int32_t> notified;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        notified.push_back(Delivered<Notified>().Next().clientId);
    }
    std::sort(notified.begin(), notified.end());
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(notified, ids);
    for (const std::int32_t id : ids) {
        EXPECT_EQ(BleGattClient::BleGattClientUnRegister(id), 0);
    }
}

/// Publishing does not wait for a subscriber that takes values slowly, and nothing is lost.
TEST_F(Gatt, ASlowReaderReceivesAllValuesInOrder)
{
    Serve();
    const std::int32_t id = Connected(kThisMachine);
    Subscribe(id, kRate);
    std::promise<void> inside;
    std::promise<void> leave;
    whenPeer = [&, first = true](const PeerEvent& event) mutable {
        if (event.what == "sent" && std::exchange(first, false)) {
            inside.set_value();
            leave.get_future().wait();
        }
    };
    EXPECT_EQ(Publish({0}), 0);
    inside.get_future().wait();
    for (std::uint8_t i = 1; i < 200; ++i) {
        ASSERT_EQ(Publish({i}), 0);
    }
    leave.set_value();
    for (std::uint8_t i = 0; i < 200; ++i) {
        ASSERT_EQ(Delivered<Notified>().Next().data, ByteVector{i});
    }
}

TEST_F(Gatt, AfterARestartOldIdsAreUnknown)
{
    Serve();
    const std::int32_t id = Connected(kThisMachine);
    service.Restart();
    EXPECT_TRUE(Eventually([&] { return BleGattClient::BleGattClientSearchServices(id) > 0; }));
    EXPECT_GT(BleGattServer::BleGattServerStartService(server, handle), 0);
    StartToConnect(id, kThisMachine);
    EXPECT_EQ(Delivered<State>().Next(),
              (State{id, kBleGattDisconnected, kBleGattReasonNotEstablished}));

    Delivered<PeerEvent>().Clear();
    Serve();
    const std::int32_t next = Connected(kThisMachine);
    EXPECT_NE(next, id);
    EXPECT_EQ(Read(next, kPlace), ByteVector{1});
}

TEST_F(Gatt, WithoutAServiceEveryOperationFails)
{
    const std::int32_t id = Connected(kStrap);
    service.End();
    ByteVector value;
    EXPECT_EQ(BleGattClient::BleGattClientReadCharacteristic(id, kService, kPlace, &value), -9);
    EXPECT_EQ(BleGattServer::BleGattServerRegister(&serverTable, &server), -9);
}

TEST_F(Gatt, StopKeepsTheRegisteredTables)
{
    std::int32_t id = Register();
    StartToConnect(id, kStrap);
    EXPECT_EQ(Delivered<State>().Next().state, kBleGattConnected);
    EXPECT_EQ(PelaconSvcStop(), 0);
    EXPECT_EQ(BleGattClient::BleGattClientSearchServices(id), -1);
    EXPECT_EQ(PelaconSvcStart(), 0);
    // The service dropped the id with the program's connection; the library still has its table.
    StartToConnect(id, kStrap);
    EXPECT_EQ(Delivered<State>().Next(),
              (State{id, kBleGattDisconnected, kBleGattReasonNotEstablished}));
}

}  // namespace

}  // namespace pelacon::test
