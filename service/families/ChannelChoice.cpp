#include <service/families/ChannelChoice.h>

#include <algorithm>
#include <tuple>

namespace pelacon::service {

using protocol::ChannelWish;
using protocol::RecommendedChannel;
using radio::Wifi;

namespace {

std::span<const std::int32_t> ChannelsOf(const ChannelWish& wish)
{
    return std::span(wish.channels).first(static_cast<std::size_t>(wish.channelCount));
}

bool Satisfies(const Wifi::Channel& channel, const ChannelWish& wish)
{
    const bool rightBand = wish.band == kVod2dBandAny ||
                           wish.band == static_cast<std::int32_t>(radio::BandOf(channel.number));
    const auto channels = ChannelsOf(wish);
    return rightBand &&
           (channels.empty() || std::ranges::find(channels, channel.number) != channels.end());
}

/// A channel and what the choice depends on.
RecommendedChannel Judged(const Wifi::Channel& channel, std::span<const ChannelWish> wishes)
{
    RecommendedChannel judged{channel.number,
                              radio::FrequencyOf(channel.number),
                              static_cast<std::int32_t>(radio::BandOf(channel.number)),
                              channel.bandwidth,
                              channel.load,
                              0};
    for (const ChannelWish& wish : wishes) {
        if (Satisfies(channel, wish)) {
            ++judged.satisfied;
            if (wish.bandwidth > 0) {
                judged.bandwidth = std::min(judged.bandwidth, wish.bandwidth);
            }
        }
    }
    return judged;
}

}  // namespace

bool IsValid(const ChannelWish& wish)
{
    return wish.band >= kVod2dBandAny &&
           wish.band <= static_cast<std::int32_t>(radio::Band::k5GHz) && wish.bandwidth >= 0 &&
           wish.channelCount >= 0 &&
           wish.channelCount <= static_cast<std::int32_t>(std::size(wish.channels));
}

std::optional<RecommendedChannel> RecommendChannel(const Wifi& wifi,
                                                   std::span<const ChannelWish> wishes)
{
    const auto connection = wifi.CurrentConnection();
    const auto isConnected = [&](const RecommendedChannel& channel) {
        return connection && connection->channel == channel.channel;
    };
    // The channels are in ascending order, and only a better one replaces another.
    const auto isBetter = [&](const RecommendedChannel& one, const RecommendedChannel& other) {
        return std::tuple(one.satisfied, isConnected(one), -one.load) >
               std::tuple(other.satisfied, isConnected(other), -other.load);
    };
    std::optional<RecommendedChannel> best;
    for (const Wifi::Channel& channel : wifi.Channels()) {
        const RecommendedChannel judged = Judged(channel, wishes);
        if ((judged.satisfied > 0 || wishes.empty()) && (!best || isBetter(judged, *best))) {
            best = judged;
        }
    }
    return best;
}

}  // namespace pelacon::service
