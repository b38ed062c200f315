#include <tests/end_to_end/GattFixture.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::test {

namespace {

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
