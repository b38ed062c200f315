// Sending advertisements.
#pragma once

#include <service/base/Interface.h>
#include <service/radio/Advertisement.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

namespace pelacon::service::radio {

struct Advertising {
    std::chrono::milliseconds interval{100};
    AdvertisementKind kind = AdvertisementKind::kConnectable;
    std::int32_t txPower = 0;                ///< dBm
    std::vector<std::uint8_t> data;          ///< at most kMostAdvertisingData bytes
    std::vector<std::uint8_t> scanResponse;  ///< likewise; not sent if the kind has none
};

/// Advertising goes on while this exists.
class Advertisement : public Interface {};

/// The advertising part of a Bluetooth adapter.
class Advertiser : public Interface {
  public:
    /// Sends the first advertisement at once and further ones at each interval, except while the
    /// adapter is off.
    virtual std::unique_ptr<Advertisement> Start(const Advertising& advertising) = 0;
};

}  // namespace pelacon::service::radio
