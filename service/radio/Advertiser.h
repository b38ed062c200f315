// The radio as it sends advertisements.
#pragma once

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
    std::vector<std::uint8_t> data;          ///< at most kMostAdvertisingData, as the next
    std::vector<std::uint8_t> scanResponse;  ///< not sent where the kind has none
};

/// Advertising that goes on for as long as this lives.
class Advertisement {
  public:
    Advertisement() = default;
    virtual ~Advertisement() = default;
    Advertisement(const Advertisement&) = delete;
    Advertisement& operator=(const Advertisement&) = delete;
};

/// One radio's sender. Called under the world's lock.
class Advertiser {
  public:
    Advertiser() = default;
    virtual ~Advertiser() = default;
    Advertiser(const Advertiser&) = delete;
    Advertiser& operator=(const Advertiser&) = delete;

    /// Sends at once, and then at each interval. Nothing is sent while the adapter is off.
    virtual std::unique_ptr<Advertisement> Start(const Advertising& advertising) = 0;
};

}  // namespace pelacon::service::radio
