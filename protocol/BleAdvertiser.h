// The advertiser: what an application sends to all devices around.
#pragma once

#include <PelaconSDK/BleAdvertiser.h>
#include <protocol/BleScanner.h>
#include <protocol/Operation.h>

#include <cstddef>

namespace pelacon::protocol {

using namespace std::chrono_literals;

struct AdvertiserRequest {
    std::int32_t advertiserId;
};
static_assert(sizeof(AdvertiserRequest) == 4);

/// One field of advertising bytes and how many of them count.
struct AdvertisingField {
    std::uint8_t bytes[kMostAdvData];
    std::uint8_t reserved;
    std::uint32_t length;
};
static_assert(sizeof(AdvertisingField) == 36);
static_assert(offsetof(AdvertisingField, length) == 32);

struct StartAdvertiseRequest {
    std::int32_t advertiserId;
    BleAdvertiseParamsC params;
    AdvertisingField advData;
    AdvertisingField scanResp;
};
static_assert(sizeof(StartAdvertiseRequest) == 104);
static_assert(offsetof(StartAdvertiseRequest, params) == 4);
static_assert(offsetof(BleAdvertiseParamsC, advEventType) == 12);
static_assert(offsetof(BleAdvertiseParamsC, sendTotalTime) == 20);
static_assert(offsetof(BleAdvertiseParamsC, sendPartTime) == 24);
static_assert(offsetof(StartAdvertiseRequest, advData) == 32);
static_assert(offsetof(StartAdvertiseRequest, scanResp) == 68);

struct AdvertiserStatusRecord {
    std::int32_t advertiserId;
    std::int32_t status;
};
static_assert(sizeof(AdvertiserStatusRecord) == 8);

inline constexpr Operation<Nothing, ValueStatusReply> kRegisterAdvertiser{
    0xD7003C, "BleAdvRegisterCallbacks", 5000ms};
inline constexpr Operation<AdvertiserRequest, StatusReply> kUnregisterAdvertiser{
    0xD7003D, "BleAdvUnRegisterCallbacks", 5000ms};
inline constexpr Operation<StartAdvertiseRequest, StatusReply> kStartAdvertise{
    0xD7003F, "BleStartAdvertise", 5000ms};
inline constexpr Operation<AdvertiserRequest, StatusReply> kStopAdvertise{
    0xD70041, "BleStopAdvertise", 5000ms};

/// An advertiser went silent by itself.
inline constexpr Notification<AdvertiserStatusRecord> kAdvertiseDisabled{0xD80044,
                                                                         "AdvertiseDisabled"};

}  // namespace pelacon::protocol
