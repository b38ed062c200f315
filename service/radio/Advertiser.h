// Sending advertisements.
#pragma once

#include <service/base/Interface.h>
#include <service/radio/Advertisement.h>
#include <service/radio/Outcome.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

namespace pelacon::service::radio {

/// The three advertising channels, one bit for each: 37, 38, 39.
inline constexpr std::int32_t kAllAdvertisingChannels = 0b111;

struct Advertising {
    std::chrono::milliseconds shortestInterval{100};
    std::chrono::milliseconds longestInterval{100};   ///< no less than the shortest
    std::int32_t channels = kAllAdvertisingChannels;  ///< at least one of them
    AdvertisementKind kind = AdvertisementKind::kConnectable;
    std::int32_t txPower = 0;                ///< dBm
    std::vector<std::uint8_t> data;          ///< at most kMostAdvertisingData bytes
    std::vector<std::uint8_t> scanResponse;  ///< likewise; not sent if the kind has none
};

/// Observes one advertisement. Each member may destroy the advertisement, except during
/// Advertiser::Start.
class AdvertisementObserver : public Interface {
  public:
    /// It is on air. Called once, in Advertiser::Start or later.
    virtual void Started() = 0;

    /// It could not be started, or has ended by itself. The last call, always after
    /// Advertiser::Start.
    virtual void Ended(Outcome why) = 0;
};

/// Advertising goes on while this exists, or until it ends by itself. Its destructor ends it
/// without calling the observer.
class Advertisement : public Interface {};

/// The advertising part of a Bluetooth adapter.
class Advertiser : public Interface {
  public:
    /// Begins to advertise as soon as it can. How many advertisements an adapter sends at a time is
    /// its own affair. The observer must outlive the advertisement.
    virtual std::unique_ptr<Advertisement> Start(const Advertising& advertising,
                                                 AdvertisementObserver& observer) = 0;
};

}  // namespace pelacon::service::radio
