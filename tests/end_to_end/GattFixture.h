// Both GATT roles: one program serves, another reads; here both are the test's.
#pragma once

#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/Bytes.h>
#include <tests/support/Mailbox.h>
#include <tests/support/ServiceProcess.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace pelacon::test {

inline constexpr std::uint64_t kThisMachine = 0x0A0B0C0D0E0F;
inline constexpr std::uint64_t kStrap = 0xC00000000001;
inline constexpr std::uint64_t kRefusing = 0xC00000000002;
inline constexpr std::uint64_t kLost = 0xC00000000003;

inline const std::string kService = "180d";
inline const std::string kLongService = "0000180D-0000-1000-8000-00805F9B34FB";
inline const std::string kRate = "2a37";
inline const std::string kPlace = "2a38";
inline const std::string kControl = "2a39";

inline constexpr auto kGattWorld = R"({
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
inline Mailbox<Event>& Delivered()
{
    static auto& delivered = *new Mailbox<Event>;
    return delivered;
}

/// Called inside the callbacks, if a test sets them.
inline std::function<void(const State&)> whenState;
inline std::function<void(const PeerEvent&)> whenPeer;

inline void DeliverPeer(PeerEvent event)
{
    if (whenPeer) {
        whenPeer(event);
    }
    Delivered<PeerEvent>().Put(std::move(event));
}

inline BtGattClientCallbacksC clientTable{
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

inline BtGattServerCallbacksC serverTable{[](std::uint64_t peer) {
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

inline BtGattCharCallbacksC charTable{
    [](std::uint64_t peer, const char* service, const char* characteristic,
       const std::uint8_t* data, std::uint32_t dataLen) {
        DeliverPeer({"read", peer, 0, service, characteristic, {data, data + dataLen}});
    },
    [](std::uint64_t peer, const char* service, const char* characteristic,
       const std::uint8_t* data, std::uint32_t dataLen) {
        DeliverPeer({"write", peer, 0, service, characteristic, {data, data + dataLen}});
    }};

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

}  // namespace pelacon::test
