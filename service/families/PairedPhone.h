// What is known about the phone that the soft AP is for, and the channels that both can use.
#pragma once

#include <protocol/SoftAp.h>
#include <service/radio/Channels.h>
#include <service/radio/Wifi.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace pelacon::service {

struct PairedPhone {
    static constexpr std::size_t kLongestModel = protocol::kLongestModelName;

    std::string model;
    std::vector<std::int32_t> channels24GHz;  ///< in the order in which they became known
    std::vector<std::int32_t> channels5GHz;
    std::int32_t connectionChannel = 0;  ///< 0: it has no Wi-Fi connection

    /// Adds a supported channel, if it belongs to a band.
    void Add(radio::Band band, std::int32_t channel);

    /// Whether it supports a channel. If nothing is known, it supports all.
    bool Supports(std::int32_t channel) const;
};

/// The best channel for this machine and the phone, in this band or in any: the one of the phone's
/// connection, or of the machine's own, since that need not change channels then; otherwise the
/// least busy; otherwise the lowest. 0 if there is none.
std::int32_t MeetingChannel(const radio::Wifi& wifi, const PairedPhone& phone, radio::Band band);

/// Decimal numbers separated by commas.
std::string ChannelText(const std::vector<std::int32_t>& channels);

}  // namespace pelacon::service
