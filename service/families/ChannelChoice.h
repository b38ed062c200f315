// Which channel suits best.
#pragma once

#include <protocol/Vod2dConfig.h>
#include <service/radio/Wifi.h>

#include <cstdint>
#include <optional>
#include <span>

namespace pelacon::service {

/// Whether a wish makes sense: a band that exists, a possible count of channels, no negative width.
bool IsValid(const protocol::ChannelWish& wish);

/// The channel of the adapter that satisfies most wishes. Of several the one that the adapter's own
/// connection is on, as it need not hop then; otherwise the least busy; otherwise the lowest.
/// Nothing when no channel satisfies any wish. Without wishes every channel will do.
std::optional<protocol::RecommendedChannel> RecommendChannel(
    const radio::Wifi& wifi, std::span<const protocol::ChannelWish> wishes);

}  // namespace pelacon::service
