// Targeted advertisements: meant for the applications of one business.
#pragma once

#include <PelaconSDK/BleScanner.h>
#include <protocol/Operation.h>

#include <cstddef>

namespace pelacon::protocol {

using namespace std::chrono_literals;

struct TargetAdvBusinessRequest {
    std::int32_t business;
};
static_assert(sizeof(TargetAdvBusinessRequest) == 4);

using TargetAdvRecord = TargetAdvInfo;
static_assert(sizeof(TargetAdvRecord) == 40);
static_assert(offsetof(TargetAdvRecord, data) == 4);

inline constexpr Operation<Nothing, StatusReply> kRegisterTargetAdv{
    0xD7007C, "BleRegisterTargetAdvCallback", 5000ms};

/// Shares its id with the coexistence query, which has no payload.
inline constexpr Operation<TargetAdvBusinessRequest, StatusReply> kUnregisterTargetAdv{
    0xD7007D, "BleUnRegisterTargetAdvCallback", 5000ms};

/// A request, although its number lies among those of the notifications.
inline constexpr Operation<TargetAdvRecord, StatusReply> kPushTargetAdv{
    0xD8007B, "BleOnRecvVoviewData", 5000ms};

inline constexpr Notification<TargetAdvRecord> kTargetAdvReceived{0xD8007E, "TargetAdvReceived"};

}  // namespace pelacon::protocol
