#include <service/families/PairedPhone.h>

#include <algorithm>
#include <tuple>

namespace pelacon::service {

using radio::Band;
using radio::BandOf;
using radio::Wifi;

void PairedPhone::Add(Band band, std::int32_t channel)
{
    auto& channels = band == Band::k5GHz ? channels5GHz : channels24GHz;
    if (BandOf(channel) == band && std::ranges::find(channels, channel) == channels.end()) {
        channels.push_back(channel);
    }
}

bool PairedPhone::Supports(std::int32_t channel) const
{
    return (channels24GHz.empty() && channels5GHz.empty()) ||
           std::ranges::count(channels24GHz, channel) != 0 ||
           std::ranges::count(channels5GHz, channel) != 0;
}

std::int32_t MeetingChannel(const Wifi& wifi, const PairedPhone& phone, Band band)
{
    const auto connection = wifi.CurrentConnection();
    const auto rank = [&](const Wifi::Channel& channel) {
        return std::tuple(channel.number != phone.connectionChannel,
                          !connection || channel.number != connection->channel, channel.load);
    };
    const Wifi::Channel* best = nullptr;
    for (const Wifi::Channel& channel : wifi.Channels()) {
        const bool rightBand = band == Band::kNone || BandOf(channel.number) == band;
        if (rightBand && phone.Supports(channel.number) &&
            (best == nullptr || rank(channel) < rank(*best))) {
            best = &channel;
        }
    }
    return best != nullptr ? best->number : 0;
}

std::string ChannelText(const std::vector<std::int32_t>& channels)
{
    std::string text;
    for (const std::int32_t channel : channels) {
        text.append(text.empty() ? "" : ",").append(std::to_string(channel));
    }
    return text;
}

}  // namespace pelacon::service
