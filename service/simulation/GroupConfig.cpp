#include <service/simulation/GroupConfig.h>

#include <charconv>
#include <string_view>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;

namespace {

constexpr std::size_t kShortestPassPhrase = 8;
constexpr std::size_t kLongestPassPhrase = 63;
constexpr std::size_t kLongestIpAddress = 15;

/// Whether the text is four numbers from 0 to 255 with dots between them.
bool IsIpAddress(std::string_view text)
{
    const char* position = text.data();
    const char* const end = position + text.size();
    for (int part = 0; part < 4; ++part) {
        if (part > 0 && (position == end || *position++ != '.')) {
            return false;
        }
        unsigned value = 0;
        const auto read = std::from_chars(position, end, value);
        if (read.ec != std::errc() || read.ptr - position > 3 || value > 255) {
            return false;
        }
        position = read.ptr;
    }
    return position == end;
}

void ReadCreation(json::Fields& fields, CreationConfig& creation)
{
    fields.Read("ms", creation.delay, 0ms, 10min);
    bool fails = false;
    fields.Read("fails", fails);
    if (fails) {
        creation.outcome = radio::GroupOutcome::kFailed;
    }
}

void ReadStation(json::Fields& fields, StationConfig& station)
{
    station.address = fields.Required("address").Address();
    fields.Read("ipAddress", station.ipAddress, &ReadIpAddress);
    fields.Read("joinMs", station.joinAfter, 0ms, 24h);
    fields.Read("stayMs", station.stay, 0ms, 24h);
}

}  // namespace

std::string ReadIpAddress(const json::Reader& reader)
{
    std::string text = reader.Text(1, kLongestIpAddress);
    if (!IsIpAddress(text)) {
        reader.Fail("must be an IPv4 address such as \"192.168.137.1\"");
    }
    return text;
}

GroupConfig UsualSoftAp()
{
    GroupConfig config;
    config.ssid = "Pelacon-AP";
    config.address = 0x02'00'00'00'00'12;
    config.ipAddress = "192.168.173.1";
    return config;
}

void ReadGroup(json::Fields& fields, GroupConfig& config)
{
    fields.Read("ssid", config.ssid, &json::Reader::Ssid);
    fields.Read("passPhrase", config.passPhrase, kShortestPassPhrase, kLongestPassPhrase);
    fields.Read("address", config.address, &json::Reader::Address);
    fields.Read("ipAddress", config.ipAddress, &ReadIpAddress);
    fields.Read("creation", config.creation, &ReadCreation);
    fields.Read("firstCreations", config.firstCreations, &ReadCreation);
    fields.Read("removeMs", config.removeDelay, 0ms, 10min);
    fields.Read("stations", config.stations, &ReadStation);
}

}  // namespace pelacon::service::simulation
