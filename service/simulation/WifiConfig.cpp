#include <service/simulation/WifiConfig.h>

#include <algorithm>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;

namespace {

constexpr std::int32_t kWidest = 160;

void ReadChannel(json::Fields& fields, radio::Wifi::Channel& channel)
{
    channel.number = ReadChannelNumber(fields.Required("channel"));
    channel.bandwidth = radio::BandOf(channel.number) == radio::Band::k5GHz ? 80 : 20;
    fields.Read("load", channel.load, 0, 100);
    fields.Read("bandwidth", channel.bandwidth, 20, kWidest);
}

std::vector<radio::Wifi::Channel> ReadChannels(const json::Reader& reader)
{
    std::vector<radio::Wifi::Channel> channels = reader.List(&ReadChannel);
    const auto number = [](const radio::Wifi::Channel& channel) { return channel.number; };
    std::ranges::sort(channels, {}, number);
    if (std::ranges::adjacent_find(channels, {}, number) != channels.end()) {
        reader.Fail("names a channel twice");
    }
    return channels;
}

}  // namespace

std::vector<radio::Wifi::Channel> UsualChannels()
{
    // Loads as in a residential building.
    return {{1, 60, 40},   {2, 45, 20},   {3, 40, 20},   {4, 35, 20},  {5, 35, 20},  {6, 70, 40},
            {7, 40, 20},   {8, 30, 20},   {9, 30, 20},   {10, 35, 20}, {11, 55, 40}, {12, 20, 20},
            {13, 15, 20},  {36, 25, 80},  {40, 20, 80},  {44, 15, 80}, {48, 10, 80}, {149, 5, 80},
            {153, 10, 80}, {157, 10, 80}, {161, 15, 80}, {165, 20, 20}};
}

void ReadConnection(json::Fields& fields, radio::Wifi::Connection& connection)
{
    connection.ssid = fields.Required("ssid").Ssid();
    connection.channel = ReadChannelNumber(fields.Required("channel"));
}

std::int32_t ReadChannelNumber(const json::Reader& reader)
{
    const auto number = reader.Integer<std::int32_t>(1, 177);
    if (radio::BandOf(number) == radio::Band::kNone) {
        reader.Fail("is no channel of the 2.4 GHz or the 5 GHz band");
    }
    return number;
}

void ReadWifi(json::Fields& fields, WifiConfig& config)
{
    fields.Read("address", config.address, &json::Reader::Address);
    fields.Read("on", config.on);
    fields.Read("switchMs", config.switchDelay, 0ms, 1min);
    fields.Read("channels", config.channels, &ReadChannels);
    fields.Read("connected", config.connected, &ReadConnection);
}

}  // namespace pelacon::service::simulation
