// Wi-Fi channels, their bands and frequencies.
#pragma once

#include <PelaconSDK/Vod2dConfig.h>

#include <cstdint>

namespace pelacon::service::radio {

enum class Band : std::int32_t {
    kNone = kVod2dBandAny,
    k24GHz = kVod2dBand24GHz,
    k5GHz = kVod2dBand5GHz,
};

/// The band of a channel; kNone if there is no such channel.
constexpr Band BandOf(std::int32_t channel)
{
    if (channel >= 1 && channel <= 14) {
        return Band::k24GHz;
    }
    const bool isLow = channel >= 32 && channel <= 68 && channel % 4 == 0;
    const bool isMiddle = channel >= 96 && channel <= 144 && channel % 4 == 0;
    const bool isHigh = channel >= 149 && channel <= 177 && channel % 4 == 1;
    return isLow || isMiddle || isHigh ? Band::k5GHz : Band::kNone;
}

/// The centre frequency of a channel in MHz; 0 if there is no such channel.
constexpr std::int32_t FrequencyOf(std::int32_t channel)
{
    constexpr std::int32_t kStep = 5;
    switch (BandOf(channel)) {
        case Band::k24GHz:
            return channel == 14 ? 2484 : 2407 + kStep * channel;
        case Band::k5GHz:
            return 5000 + kStep * channel;
        case Band::kNone:
            break;
    }
    return 0;
}

}  // namespace pelacon::service::radio
