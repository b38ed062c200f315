// What tests of both GATT roles start from.
#pragma once

#include <protocol/BleManager.h>
#include <protocol/GattClient.h>
#include <protocol/GattServer.h>
#include <protocol/ServiceStatus.h>
#include <tests/service/ServiceFixture.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace pelacon::service::tests {

inline constexpr std::uint64_t kThisMachine = 0x020000000001;  // the adapter's address

/// A GATT client of a program: requests in short, for one client id.
class GattCaller {
  public:
    enum State : std::int32_t { kDisconnected = 0, kConnected = 1 };

    /// Registers.
    explicit GattCaller(TestClient& program) : program_(program)
    {
        const auto reply = program.Call(protocol::kGattClientRegister);
        EXPECT_EQ(reply->status, protocol::kStatusDone);
        EXPECT_GT(reply->value, 0);
        id_ = reply->value;
    }

    std::int32_t Id() const { return id_; }

    void StartToConnect(std::uint64_t address)
    {
        program_.Post(protocol::kGattClientConnect, {id_, {}, address});
    }

    /// The next outcome of a connect, or the next end of a connection: state and reason.
    std::pair<std::int32_t, std::int32_t> Outcome() { return Next(protocol::kGattConnectionState); }
    std::pair<std::int32_t, std::int32_t> End() { return Next(protocol::kGattConnectionEnd); }

    /// Connects, and searches the services.
    void Connect(std::uint64_t address)
    {
        StartToConnect(address);
        EXPECT_EQ(Outcome(), std::pair(std::int32_t{kConnected}, 0));
        EXPECT_EQ(Search(), protocol::kStatusDone);
    }

    std::int32_t Disconnect()
    {
        return program_.Call(protocol::kGattClientDisconnect, {id_})->status;
    }
    std::int32_t UnRegister()
    {
        return program_.Call(protocol::kGattClientUnRegister, {id_})->status;
    }
    std::int32_t Search()
    {
        return program_.Call(protocol::kGattClientSearchServices, {id_})->status;
    }
    std::int32_t GetService(std::string_view service)
    {
        protocol::GattServiceRequest request{};
        request.clientId = id_;
        PutText(request.serviceUuid, service);
        return program_.Call(protocol::kGattClientGetService, request)->status;
    }
    protocol::GattValueRecord ReadRecord(std::string_view service, std::string_view characteristic)
    {
        return *program_.Call(protocol::kGattClientRead, RequestFor(service, characteristic));
    }
    /// The value; its status where that is not 0.
    std::pair<std::int32_t, Bytes> Read(std::string_view service, std::string_view characteristic)
    {
        const auto reply = ReadRecord(service, characteristic);
        return {reply.status, Bytes(reply.value, reply.value + reply.dataLen)};
    }
    std::int32_t Write(std::string_view service, std::string_view characteristic,
                       const Bytes& value)
    {
        protocol::GattValueRequest request{};
        request.clientId = id_;
        PutText(request.serviceUuid, service);
        PutText(request.charUuid, characteristic);
        request.dataLen = static_cast<std::uint32_t>(value.size());
        PutBytes(request.value, value);
        return program_.Call(protocol::kGattClientWrite, request)->status;
    }
    std::int32_t Subscribe(std::string_view service, std::string_view characteristic,
                           bool enable = true)
    {
        auto request = RequestFor(service, characteristic);
        request.enable = enable ? 1 : 0;
        return program_.Call(protocol::kGattClientRegisterNotification, request)->status;
    }
    std::pair<std::int32_t, std::int32_t> Mtu()
    {
        const auto reply = program_.Call(protocol::kGattClientGetMtu, {id_});
        return {reply->status, reply->value};
    }

    /// The next value that this program was notified of, expected to be this client's.
    Bytes Notified()
    {
        const auto record = program_.Next(protocol::kGattNotification);
        EXPECT_EQ(record.clientId, id_);
        return {record.value, record.value + record.dataLen};
    }

    protocol::GattCharacteristicRequest RequestFor(std::string_view service,
                                                   std::string_view characteristic) const
    {
        protocol::GattCharacteristicRequest request{};
        request.clientId = id_;
        PutText(request.serviceUuid, service);
        PutText(request.charUuid, characteristic);
        return request;
    }

  private:
    std::pair<std::int32_t, std::int32_t> Next(
        const protocol::Notification<protocol::GattConnectionState>& notification)
    {
        const auto record = program_.Next(notification);
        EXPECT_EQ(record.clientId, id_);
        return {record.state, record.reason};
    }

    TestClient& program_;
    std::int32_t id_ = 0;
};

/// A GATT server of a program.
class GattPublisher {
  public:
    explicit GattPublisher(TestClient& program) : program_(program)
    {
        const auto reply = program.Call(protocol::kGattServerRegister);
        EXPECT_EQ(reply->status, protocol::kStatusDone);
        EXPECT_GT(reply->value, 0);
        id_ = reply->value;
    }

    std::int32_t Id() const { return id_; }

    protocol::ValueStatusReply TryAddService(std::string_view uuid)
    {
        protocol::GattAddServiceRequest request{};
        request.serverId = id_;
        PutText(request.serviceUuid, uuid);
        return *program_.Call(protocol::kGattServerAddService, request);
    }
    std::int32_t AddService(std::string_view uuid)
    {
        const auto reply = TryAddService(uuid);
        EXPECT_EQ(reply.status, protocol::kStatusDone);
        EXPECT_GT(reply.value, 0);
        return reply.value;
    }
    std::int32_t AddCharacteristic(std::int32_t handle, std::string_view uuid, std::int32_t flags,
                                   const Bytes& value = {})
    {
        protocol::GattAddCharacteristicRequest request{};
        request.serverId = id_;
        request.serviceHandle = handle;
        PutText(request.charUuid, uuid);
        request.flags = flags;
        request.valueLen = static_cast<std::uint32_t>(value.size());
        PutBytes(request.value, value);
        return program_.Call(protocol::kGattServerAddCharacteristic, request)->status;
    }
    std::int32_t Start(std::int32_t handle)
    {
        return program_.Call(protocol::kGattServerStartService, {id_, handle})->status;
    }
    std::int32_t Stop(std::int32_t handle)
    {
        return program_.Call(protocol::kGattServerStopService, {id_, handle})->status;
    }
    std::int32_t Delete(std::int32_t handle)
    {
        return program_.Call(protocol::kGattServerDeleteService, {id_, handle})->status;
    }
    std::int32_t UnRegister()
    {
        return program_.Call(protocol::kGattServerUnRegister, {id_})->status;
    }
    std::int32_t Publish(std::int32_t handle, std::string_view uuid, const Bytes& value,
                         std::uint64_t peer)
    {
        protocol::GattPublishNotifyRequest request{};
        request.serverId = id_;
        request.serviceHandle = handle;
        PutText(request.charUuid, uuid);
        request.valueLen = static_cast<std::uint32_t>(value.size());
        PutBytes(request.value, value);
        request.peer = peer;
        return program_.Call(protocol::kGattServerPublishNotify, request)->status;
    }

    /// The peer that connected next, or that left.
    std::uint64_t Peer() { return Mine(program_.Next(protocol::kGattPeerConnected)).peer; }
    std::uint64_t PeerGone() { return Mine(program_.Next(protocol::kGattPeerDisconnected)).peer; }

    /// Peer and value of the next event.
    std::pair<std::uint64_t, std::uint32_t> Sent()
    {
        const auto record = Mine(program_.Next(protocol::kGattNotifySent));
        return {record.peer, record.value};
    }
    std::pair<std::uint64_t, std::uint32_t> Mtu()
    {
        const auto record = Mine(program_.Next(protocol::kGattMtuChanged));
        return {record.peer, record.value};
    }
    protocol::GattPeerRequestRecord ReadRequest()
    {
        return Mine(program_.Next(protocol::kGattPeerReads));
    }
    protocol::GattPeerRequestRecord WriteRequest()
    {
        return Mine(program_.Next(protocol::kGattPeerWrites));
    }

  private:
    template <typename Record>
    Record Mine(const Record& record) const
    {
        EXPECT_EQ(record.serverId, id_);
        return record;
    }

    TestClient& program_;
    std::int32_t id_ = 0;
};

inline Bytes DataOf(const protocol::GattPeerRequestRecord& record)
{
    return {record.data, record.data + record.dataLen};
}

/// 1, 2, 3, ... of that count.
inline Bytes CountingBytes(std::size_t count)
{
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(),
                  [next = std::uint8_t{1}]() mutable { return next++; });
    return bytes;
}

}  // namespace pelacon::service::tests
