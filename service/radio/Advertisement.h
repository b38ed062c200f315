// Advertisements.
#pragma once

#include <PelaconSDK/BleAdvertiser.h>
#include <PelaconSDK/BleScanner.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pelacon::service::radio {

/// The kind of a received advertisement. A sent one has the same values.
enum class AdvertisementKind : std::int32_t {
    kConnectable = kBleScanConnectable,
    kScannable = kBleScanScannable,
    kNonConnectable = kBleScanNonConnectable,
    kScanResponse = kBleScanResponse,  ///< received only; the radio sends it when it is asked
};
static_assert(kBleAdvConnectable == +kBleScanConnectable);
static_assert(kBleAdvScannable == +kBleScanScannable);
static_assert(kBleAdvNonConnectable == +kBleScanNonConnectable);

/// The largest advertisement or scan response, in bytes.
inline constexpr std::size_t kMostAdvertisingData = sizeof BleScanResultC::data;

/// The strength of a signal that the radio does not know.
inline constexpr std::int32_t kUnknownRssi = 127;

/// A received advertisement or scan response.
struct Heard {
    std::uint64_t address = 0;  ///< the sender's
    std::int32_t rssi = 0;      ///< dBm, or kUnknownRssi
    AdvertisementKind kind = AdvertisementKind::kConnectable;
    std::vector<std::uint8_t> data;
};

}  // namespace pelacon::service::radio
