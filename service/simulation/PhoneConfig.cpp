#include <protocol/SoftAp.h>
#include <service/simulation/PhoneConfig.h>
#include <service/simulation/WifiConfig.h>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;

namespace {

PhoneMove ReadMove(const json::Reader& reader)
{
    PhoneMove move;
    reader.Object([&](json::Fields& fields) {
        move.after = fields.Required("afterMs").Milliseconds(0ms, 24h);
        move.channel = ReadConnectionChannel(fields.Required("channel"));
    });
    return move;
}

}  // namespace

std::int32_t ReadConnectionChannel(const json::Reader& reader)
{
    return reader.Integer<std::int32_t>(0, 177) == 0 ? 0 : ReadChannelNumber(reader);
}

PhoneConfig ReadPhone(const json::Reader& reader)
{
    PhoneConfig config;
    reader.Object([&](json::Fields& fields) {
        fields.Read("model", config.model, 0, protocol::kLongestModelName);
        fields.Read("channels", config.channels, &ReadChannelNumber);
        fields.Read("connectionChannel", config.connectionChannel, &ReadConnectionChannel);
        fields.Read("moves", config.moves, &ReadMove);
    });
    return config;
}

}  // namespace pelacon::service::simulation
