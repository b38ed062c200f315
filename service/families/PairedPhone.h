// What is known of the phone that the soft AP is for, and the channels where both can meet.
#pragma once

#include <service/radio/Channels.h>
#include <service/radio/Wifi.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace pelacon::service {

struct PairedPhone {
    static constexpr std::size_t kLongestModel = 255;

    std::string model;
    std::vector<std::int32_t> channels24GHz;  ///< in the order in which they were told
    std::vector<std::int32_t> channels5GHz;
    std::int32_t connectionChannel = 0;  ///< 0: it has no Wi-Fi connection

    /// Notes that it supports this channel, if it is one of the band.
    void Add(radio::Band band, std::int32_t channel);

    /// Whether it supports a channel. One of which nothing is known supports all.
    bool Supports(std::int32_t channel) const;
};

/// The channel on which this machine and the phone meet best, in this band or in any: the one that
/// the phone's connection is on, or the machine's own, as neither needs to hop then; otherwise the
/// least busy; otherwise the lowest. 0 when there is none.
std::int32_t MeetingChannel(const radio::Wifi& wifi, const PairedPhone& phone, radio::Band band);

/// Decimal numbers separated by commas.
std::string ChannelText(const std::vector<std::int32_t>& channels);

}  // namespace pelacon::service
