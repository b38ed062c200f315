// What GATT clients and servers have in common.
#pragma once

#include <PelaconSDK/BleGattClient.h>
#include <PelaconSDK/BleGattServer.h>
#include <protocol/Gatt.h>
#include <protocol/ServiceStatus.h>
#include <protocol/Uuid.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pelacon::service::radio {

using protocol::Uuid;

/// A characteristic's value, at most kMostGattValue bytes.
using GattValue = std::vector<std::uint8_t>;
inline constexpr std::size_t kMostGattValue = protocol::kGattValueSize;

/// What a characteristic can do; may be combined.
inline constexpr std::int32_t kGattRead = kBleGattCharRead;
inline constexpr std::int32_t kGattWriteWithoutResponse = kBleGattCharWriteWithoutResponse;
inline constexpr std::int32_t kGattWrite = kBleGattCharWrite;
inline constexpr std::int32_t kGattNotify = kBleGattCharNotify;
inline constexpr std::int32_t kGattIndicate = kBleGattCharIndicate;
inline constexpr std::int32_t kGattAnyWrite = kGattWriteWithoutResponse | kGattWrite;
inline constexpr std::int32_t kGattAnyNotify = kGattNotify | kGattIndicate;

/// The result of an operation.
enum class GattStatus : std::int32_t {
    kDone = protocol::kStatusDone,
    kBusy = protocol::kStatusBusy,                     ///< another operation has to end first
    kInvalidValue = protocol::kStatusInvalidArgument,  ///< too long for the stack or the peer
    kNotConnected = protocol::kStatusNotConnected,
    kNotFound = protocol::kStatusNotFound,
    kNotPermitted = protocol::kStatusNotPermitted,
    kUnreachable = protocol::kStatusPeerUnreachable,
    kNotSupported = protocol::kStatusNotSupported,
};

/// Why a connection ended or was not established.
enum class GattReason : std::int32_t {
    kNone = kBleGattReasonNone,
    kTimeout = kBleGattReasonTimeout,
    kRefused = kBleGattReasonRefused,
    kPeer = kBleGattReasonPeer,
    kLocal = kBleGattReasonLocal,
    kNotEstablished = kBleGattReasonNotEstablished,
};

}  // namespace pelacon::service::radio
