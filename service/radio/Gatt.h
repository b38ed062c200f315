// What GATT clients and servers have in common.
#pragma once

#include <protocol/Uuid.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pelacon::service::radio {

using protocol::Uuid;

/// A characteristic's value, at most kMostGattValue bytes.
using GattValue = std::vector<std::uint8_t>;
inline constexpr std::size_t kMostGattValue = 1024;

/// What a characteristic can do; may be combined. The values are those of BleGattCharFlag in the
/// public headers.
inline constexpr std::int32_t kGattRead = 0x02;
inline constexpr std::int32_t kGattWriteWithoutResponse = 0x04;
inline constexpr std::int32_t kGattWrite = 0x08;
inline constexpr std::int32_t kGattNotify = 0x10;
inline constexpr std::int32_t kGattIndicate = 0x20;
inline constexpr std::int32_t kGattAnyWrite = kGattWriteWithoutResponse | kGattWrite;
inline constexpr std::int32_t kGattAnyNotify = kGattNotify | kGattIndicate;

/// The result of an operation. The values are those of protocol::ServiceStatus.
enum class GattStatus : std::int32_t {
    kDone = 0,
    kNotConnected = 6,
    kNotFound = 7,
    kNotPermitted = 8,
    kUnreachable = 9,
};

/// Why a connection ended or was not established. The values are those of BleGattReason in the
/// public headers.
enum class GattReason : std::int32_t {
    kNone = 0x00,
    kTimeout = 0x08,
    kRefused = 0x0D,
    kPeer = 0x13,
    kLocal = 0x16,
    kNotEstablished = 0x3E,
};

}  // namespace pelacon::service::radio
