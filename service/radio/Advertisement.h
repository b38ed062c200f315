// Advertisements.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pelacon::service::radio {

/// The values are those of BleScanEventType and BleAdvEventType in the public headers.
enum class AdvertisementKind : std::int32_t {
    kConnectable = 0,
    kScannable = 1,
    kNonConnectable = 2,
    kScanResponse = 3,  ///< received only; the radio sends it when it is asked
};

/// The largest advertisement or scan response, in bytes.
inline constexpr std::size_t kMostAdvertisingData = 31;

/// A received advertisement or scan response.
struct Heard {
    std::uint64_t address = 0;  ///< the sender's
    std::int32_t rssi = 0;      ///< dBm
    AdvertisementKind kind = AdvertisementKind::kConnectable;
    std::vector<std::uint8_t> data;
};

}  // namespace pelacon::service::radio
