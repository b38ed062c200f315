// A GATT server in the registry, and tables that note how they are called.
#pragma once

#include <PelaconSDK/BleGattServer.h>
#include <sdk/ipc/GattServerCallbacks.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <tests/sdk/GattIds.h>
#include <tests/support/SdkTest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::test {

inline std::vector<std::string> delivered;
inline std::function<void()> inCallback;

inline void Deliver(const std::string& what)
{
    delivered.push_back(what);
    if (inCallback) {
        inCallback();
    }
}

inline std::string PeerText(std::uint64_t peer)
{
    return peer == kPeer ? " peer" : " another";
}

inline BtGattServerCallbacksC ServerTable()
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

inline std::string RequestText(std::uint64_t peer, const char* serviceUuid, const char* charUuid,
                               const std::uint8_t* data, std::uint32_t dataLen)
{
    return PeerText(peer) + " " + serviceUuid + " " + charUuid + " " +
           ::testing::PrintToString(ByteVector(data, data + dataLen));
}

inline BtGattCharCallbacksC CharTable()
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

inline BtGattCharCallbacksC WrongCharTable()
{
    return {[](std::uint64_t, const char*, const char*, const std::uint8_t*, std::uint32_t) {
                Deliver("the wrong table");
            },
            nullptr};
}

inline BLECharacteristicInfo InfoOf(std::string uuid)
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

}  // namespace pelacon::test
