// The GATT server: publishing services, and what peers do with them.
#pragma once

#include <PelaconSDK/BleGattServer.h>
#include <protocol/Gatt.h>
#include <protocol/Operation.h>

#include <cstddef>

namespace pelacon::protocol {

using namespace std::chrono_literals;

struct GattServerRequest {
    std::int32_t serverId;
};
static_assert(sizeof(GattServerRequest) == 4);

struct GattAddServiceRequest {
    std::int32_t serverId;
    char serviceUuid[kUuidFieldSize];
    std::uint8_t padding[3];
};
static_assert(sizeof(GattAddServiceRequest) == 44);
static_assert(offsetof(GattAddServiceRequest, serviceUuid) == 4);

struct GattServiceHandleRequest {
    std::int32_t serverId;
    std::int32_t serviceHandle;
};
static_assert(sizeof(GattServiceHandleRequest) == 8);
static_assert(offsetof(GattServiceHandleRequest, serviceHandle) == 4);

struct GattAddCharacteristicRequest {
    std::int32_t serverId;
    std::int32_t serviceHandle;
    char charUuid[kUuidFieldSize];
    std::uint8_t padding[3];
    std::int32_t flags;
    std::uint8_t reserved[12];
    std::uint8_t value[kGattValueSize];
    std::uint32_t valueLen;
    std::uint8_t padding2[4];
};
static_assert(sizeof(GattAddCharacteristicRequest) == 1096);
static_assert(offsetof(GattAddCharacteristicRequest, charUuid) == 8);
static_assert(offsetof(GattAddCharacteristicRequest, flags) == 48);
static_assert(offsetof(GattAddCharacteristicRequest, reserved) == 52);
static_assert(offsetof(GattAddCharacteristicRequest, value) == 64);
static_assert(offsetof(GattAddCharacteristicRequest, valueLen) == 1088);

using GattPublishNotifyRequest = BleGattNotifyInfoC;
static_assert(sizeof(GattPublishNotifyRequest) == 1088);
static_assert(offsetof(GattPublishNotifyRequest, charUuid) == 8);
static_assert(offsetof(GattPublishNotifyRequest, value) == 45);
static_assert(offsetof(GattPublishNotifyRequest, valueLen) == 1072);
static_assert(offsetof(GattPublishNotifyRequest, peer) == 1080);

/// A peer came or went.
struct GattPeerRecord {
    std::int32_t serverId;
    std::uint8_t padding[4];
    std::uint64_t peer;
};
static_assert(sizeof(GattPeerRecord) == 16);
static_assert(offsetof(GattPeerRecord, peer) == 8);

#pragma pack(push, 4)  // the two records end without padding
struct GattPeerValueRecord {
    std::int32_t serverId;
    std::uint8_t padding[4];
    std::uint64_t peer;
    std::uint32_t value;
};

/// A peer reads or writes a characteristic.
struct GattPeerRequestRecord {
    std::int32_t serverId;
    std::int32_t serviceHandle;
    std::uint64_t peer;
    char charUuid[kUuidFieldSize];
    std::uint8_t data[kGattValueSize];
    std::uint8_t padding[3];
    std::uint32_t dataLen;
};
#pragma pack(pop)
static_assert(sizeof(GattPeerValueRecord) == 20);
static_assert(offsetof(GattPeerValueRecord, peer) == 8);
static_assert(offsetof(GattPeerValueRecord, value) == 16);
static_assert(sizeof(GattPeerRequestRecord) == 1084);
static_assert(offsetof(GattPeerRequestRecord, serviceHandle) == 4);
static_assert(offsetof(GattPeerRequestRecord, peer) == 8);
static_assert(offsetof(GattPeerRequestRecord, charUuid) == 16);
static_assert(offsetof(GattPeerRequestRecord, data) == 53);
static_assert(offsetof(GattPeerRequestRecord, dataLen) == 1080);

inline constexpr Operation<Nothing, ValueStatusReply> kGattServerRegister{
    0xD7006E, "BleGattServerRegister", 10000ms};
inline constexpr Operation<GattServerRequest, StatusReply> kGattServerUnRegister{
    0xD7006F, "BleGattServerUnRegister", 10000ms};
inline constexpr Operation<GattAddServiceRequest, ValueStatusReply> kGattServerAddService{
    0xD70070, "BleGattServerAddService", 10000ms};
inline constexpr Operation<GattServiceHandleRequest, StatusReply> kGattServerDeleteService{
    0xD70071, "BleGattServerDeleteService", 10000ms};
inline constexpr Operation<GattAddCharacteristicRequest, StatusReply> kGattServerAddCharacteristic{
    0xD70072, "BleGattServerAddCharacteristic", 10000ms};
inline constexpr Operation<GattServiceHandleRequest, StatusReply> kGattServerStartService{
    0xD70073, "BleGattServerStartService", 10000ms};
inline constexpr Operation<GattServiceHandleRequest, StatusReply> kGattServerStopService{
    0xD70074, "BleGattServerStopService", 10000ms};
inline constexpr Operation<GattPublishNotifyRequest, StatusReply> kGattServerPublishNotify{
    0xD70075, "BleGattServerPublishNotify", 10000ms};

inline constexpr Notification<GattPeerRecord> kGattPeerConnected{0xD80075, "GattPeerConnected"};
inline constexpr Notification<GattPeerRecord> kGattPeerDisconnected{0xD80076,
                                                                    "GattPeerDisconnected"};
/// A notification has reached its peer, or not.
inline constexpr Notification<GattPeerValueRecord> kGattNotifySent{0xD80077, "GattNotifySent"};
inline constexpr Notification<GattPeerValueRecord> kGattMtuChanged{0xD80078, "GattMtuChanged"};
inline constexpr Notification<GattPeerRequestRecord> kGattPeerReads{0xD80079, "GattPeerReads"};
inline constexpr Notification<GattPeerRequestRecord> kGattPeerWrites{0xD8007A, "GattPeerWrites"};

}  // namespace pelacon::protocol
