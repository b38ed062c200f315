// The GATT client: connecting to peers, reading and writing their characteristics.
#pragma once

#include <protocol/Gatt.h>
#include <protocol/Operation.h>

#include <cstddef>

namespace pelacon::protocol {

using namespace std::chrono_literals;

struct GattClientRequest {
    std::int32_t clientId;
};
static_assert(sizeof(GattClientRequest) == 4);

struct GattConnectRequest {
    std::int32_t clientId;
    std::uint8_t padding[4];
    std::uint64_t address;
};
static_assert(sizeof(GattConnectRequest) == 16);
static_assert(offsetof(GattConnectRequest, address) == 8);

struct GattServiceRequest {
    std::int32_t clientId;
    char serviceUuid[kUuidFieldSize];
    std::uint8_t padding[3];
};
static_assert(sizeof(GattServiceRequest) == 44);
static_assert(offsetof(GattServiceRequest, serviceUuid) == 4);

/// A characteristic to read, or to be notified of.
struct GattCharacteristicRequest {
    std::int32_t clientId;
    char serviceUuid[kUuidFieldSize];
    char charUuid[kUuidFieldSize];
    std::uint8_t enable;  // of a notification's registration; zero elsewhere
    std::uint8_t padding;
};
static_assert(sizeof(GattCharacteristicRequest) == 80);
static_assert(offsetof(GattCharacteristicRequest, serviceUuid) == 4);
static_assert(offsetof(GattCharacteristicRequest, charUuid) == 41);
static_assert(offsetof(GattCharacteristicRequest, enable) == 78);

/// A characteristic and its value.
struct GattValueRequest {
    std::int32_t clientId;
    char serviceUuid[kUuidFieldSize];
    char charUuid[kUuidFieldSize];
    std::uint8_t value[kGattValueSize];
    std::uint8_t padding[2];
    std::uint32_t dataLen;
};
static_assert(sizeof(GattValueRequest) == 1108);
static_assert(offsetof(GattValueRequest, value) == 78);
static_assert(offsetof(GattValueRequest, dataLen) == 1104);

/// The same with a word behind it: the status of a read, or the detail of a notification.
struct GattValueRecord {
    std::int32_t clientId;
    char serviceUuid[kUuidFieldSize];
    char charUuid[kUuidFieldSize];
    std::uint8_t value[kGattValueSize];
    std::uint8_t padding[2];
    std::uint32_t dataLen;
    std::int32_t status;
};
static_assert(sizeof(GattValueRecord) == 1112);
static_assert(offsetof(GattValueRecord, serviceUuid) == 4);
static_assert(offsetof(GattValueRecord, charUuid) == 41);
static_assert(offsetof(GattValueRecord, value) == 78);
static_assert(offsetof(GattValueRecord, dataLen) == 1104);
static_assert(offsetof(GattValueRecord, status) == 1108);

struct GattConnectionState {
    std::int32_t clientId;
    std::int32_t state;
    std::int32_t reason;
};
static_assert(sizeof(GattConnectionState) == 12);
static_assert(offsetof(GattConnectionState, state) == 4);
static_assert(offsetof(GattConnectionState, reason) == 8);

inline constexpr Operation<Nothing, ValueStatusReply> kGattClientRegister{
    0xD70046, "BleGattClientRegister", 10000ms};
inline constexpr Operation<GattClientRequest, StatusReply> kGattClientUnRegister{
    0xD70047, "BleGattClientUnRegister", 10000ms};
/// Posted: it has no reply, and its sender does not wait.
inline constexpr Operation<GattConnectRequest, Nothing> kGattClientConnect{
    0xD70048, "BleGattClientConnect", 0ms};
inline constexpr Operation<GattClientRequest, StatusReply> kGattClientDisconnect{
    0xD70049, "BleGattClientDisconnect", 10000ms};
inline constexpr Operation<GattClientRequest, StatusReply> kGattClientSearchServices{
    0xD7004A, "BleGattClientSearchServices", 10000ms};
inline constexpr Operation<GattServiceRequest, StatusReply> kGattClientGetService{
    0xD7004C, "BleGattClientGetService", 10000ms};
inline constexpr Operation<GattCharacteristicRequest, GattValueRecord> kGattClientRead{
    0xD7004E, "BleGattClientReadCharacteristic", 10000ms};
inline constexpr Operation<GattValueRequest, StatusReply> kGattClientWrite{
    0xD70050, "BleGattClientWriteCharacteristic", 10000ms};
inline constexpr Operation<GattCharacteristicRequest, StatusReply> kGattClientRegisterNotification{
    0xD70052, "BleGattClientRegisterNotification", 10000ms};
inline constexpr Operation<GattClientRequest, ValueStatusReply> kGattClientGetMtu{
    0xD70053, "BleGattClientGetMtu", 10000ms};

/// What became of a connect, and the end of a connection. The library treats them alike.
inline constexpr Notification<GattConnectionState> kGattConnectionState{0xD80048,
                                                                        "GattConnectionState"};
inline constexpr Notification<GattConnectionState> kGattConnectionEnd{0xD80049,
                                                                      "GattConnectionEnd"};
/// A characteristic's value, from a peer where the client subscribed to it.
inline constexpr Notification<GattValueRecord> kGattNotification{0xD80053, "GattNotification"};

}  // namespace pelacon::protocol
