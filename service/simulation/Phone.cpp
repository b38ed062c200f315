#include <protocol/SoftAp.h>
#include <service/simulation/Phone.h>
#include <service/simulation/WifiConfig.h>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;

namespace {

void ReadMove(json::Fields& fields, PhoneMove& move)
{
    move.after = fields.Required("afterMs").Milliseconds(0ms, 24h);
    move.channel = ReadConnectionChannel(fields.Required("channel"));
}

}  // namespace

std::int32_t ReadConnectionChannel(const json::Reader& reader)
{
    return reader.Integer<std::int32_t>(0, 177) == 0 ? 0 : ReadChannelNumber(reader);
}

void ReadPhone(json::Fields& fields, PhoneConfig& config)
{
    fields.Read("model", config.model, 0, protocol::kLongestModelName);
    fields.Read("channels", config.channels, &ReadChannelNumber);
    fields.Read("connectionChannel", config.connectionChannel, &ReadConnectionChannel);
    fields.Read("moves", config.moves, &ReadMove);
}

Phone::Phone(Scheduler& scheduler, const PhoneConfig& config) : config_(config)
{
    for (const PhoneMove& move : config_.moves) {
        moves_.push_back(scheduler.After(move.after, [this, move] { Connect(move.channel); }));
    }
}

void Phone::Connect(std::int32_t channel)
{
    if (config_.connectionChannel == channel) {
        return;
    }
    config_.connectionChannel = channel;
    channelObservers_(channel);
}

}  // namespace pelacon::service::simulation
