// What goes through the air from one device to all that listen.
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
    kScanResponse = 3,  ///< heard only, never sent by itself
};

/// The most that one advertisement or scan response holds.
inline constexpr std::size_t kMostAdvertisingData = 31;

/// One advertisement or scan response as it was heard.
struct Heard {
    std::uint64_t address = 0;  ///< the sender's
    std::int32_t rssi = 0;      ///< dBm
    AdvertisementKind kind = AdvertisementKind::kConnectable;
    std::vector<std::uint8_t> data;
};

}  // namespace pelacon::service::radio
