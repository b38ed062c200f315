// The choice of a channel.
#pragma once

#include <protocol/Vod2dConfig.h>
#include <service/radio/Wifi.h>

#include <optional>
#include <span>

namespace pelacon::service {

/// Whether a wish is valid: an existing band, a possible number of channels, no negative width.
bool IsValid(const protocol::ChannelWish& wish);

/// The adapter's channel that satisfies the most wishes. Of several, the one of the adapter's own
/// connection, since it need not change channels then; otherwise the least busy; otherwise the
/// lowest. Nothing if no channel satisfies any wish. Without wishes, every channel is possible.
std::optional<protocol::RecommendedChannel> RecommendChannel(
    const radio::Wifi& wifi, std::span<const protocol::ChannelWish> wishes);

}  // namespace pelacon::service
