// The scanner: listeners, their filters, and their results.
#pragma once

#include <PelaconSDK/BleScanner.h>
#include <protocol/Operation.h>

#include <cstddef>

namespace pelacon::protocol {

using namespace std::chrono_literals;

inline constexpr std::size_t kMostScanFilters = 5;

/// The most that an advertisement or a scan response holds.
inline constexpr std::size_t kMostAdvData = sizeof BleScanResultC::data;

struct ScanListenerRequest {
    std::int32_t listenerId;
};
static_assert(sizeof(ScanListenerRequest) == 4);

struct StartScanRequest {
    std::int32_t listenerId;
    std::int32_t policy;
};
static_assert(sizeof(StartScanRequest) == 8);

/// As the application gave it: patternLength may be more than there is room.
using ScanFilter = BleScanFilter;
static_assert(sizeof(ScanFilter) == 40);
static_assert(offsetof(ScanFilter, patternLength) == 4);
static_assert(offsetof(ScanFilter, patternData) == 8);

struct SetScanFilterRequest {
    std::int32_t listenerId;
    ScanFilter filters[kMostScanFilters];  // unused ones are zero
    std::int32_t filterSize;               // as the application gave it: it may be negative
    std::uint32_t reserved;
};
static_assert(sizeof(SetScanFilterRequest) == 212);
static_assert(offsetof(SetScanFilterRequest, filters) == 4);
static_assert(offsetof(SetScanFilterRequest, filterSize) == 204);

struct ScanStatusRecord {
    std::int32_t listenerId;
    std::int32_t status;
};
static_assert(sizeof(ScanStatusRecord) == 8);

/// One advertisement or scan response as it was heard.
using ScanResult = BleScanResultC;
static_assert(sizeof(ScanResult) == 64);
static_assert(offsetof(ScanResult, rssi) == 8);
static_assert(offsetof(ScanResult, eventType) == 12);
static_assert(offsetof(ScanResult, dataLen) == 16);
static_assert(offsetof(ScanResult, data) == 20);

struct ScanResultRecord {
    std::uint64_t reserved;  // no reader looks at it
    ScanResult result;
};
static_assert(sizeof(ScanResultRecord) == 72);
static_assert(offsetof(ScanResultRecord, result) == 8);

inline constexpr Operation<Nothing, ValueStatusReply> kRegisterScanListener{
    0xD70064, "BleScanRegisterCallbacks", 5000ms};
inline constexpr Operation<ScanListenerRequest, StatusReply> kUnregisterScanListener{
    0xD70065, "BleScanUnRegisterCallbacks", 5000ms};
inline constexpr Operation<StartScanRequest, StatusReply> kStartBleScan{0xD70066, "StartBleScan",
                                                                        5000ms};
inline constexpr Operation<ScanListenerRequest, StatusReply> kStopBleScan{0xD70068, "StopBleScan",
                                                                          5000ms};
inline constexpr Operation<SetScanFilterRequest, StatusReply> kSetScanFilter{
    0xD70076, "SetScanFilter", 5000ms};
inline constexpr Operation<ScanListenerRequest, StatusReply> kRemoveScanFilter{
    0xD70077, "RemoveScanFilter", 5000ms};

/// A listener's scan started or stopped.
inline constexpr Notification<ScanStatusRecord> kScanStatus{0xD8006A, "ScanStatus"};

/// Something was heard that at least one of the client's listeners wants.
inline constexpr Notification<ScanResultRecord> kScanResult{0xD8006B, "ScanResult"};

}  // namespace pelacon::protocol
