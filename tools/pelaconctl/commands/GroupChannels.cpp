// pelaconctl group channels, recommend.
#include <PelaconSDK/Vod2dApi.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/OptionValues.h>
#include <tools/pelaconctl/WifiText.h>
#include <tools/pelaconctl/commands/GroupParts.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <array>
#include <charconv>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace pelacon::ctl {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kMostSides = 10;

void ShowChannels(const Console& console)
{
    const Session session;
    std::array<std::int32_t, 1020> channels{};  // any list fits: see Vod2dGetChannelListFor5G
    CheckWifi(Vod2dGetChannelListFor5G(channels.data(), static_cast<std::int32_t>(channels.size())),
              "list the channels");
    Json list = Json::array();
    std::string line;
    for (const std::int32_t channel : channels) {
        if (channel != 0) {
            list.push_back(channel);
            line += (line.empty() ? "" : " ") + std::to_string(channel);
        }
    }
    console.Report({{"channels", list}},
                   line.empty() ? "No channel of the 5 GHz band may be used." : line);
}

/// What one side of a link can do, as options say it.
struct Wishes {
    std::string band = "any";
    std::int32_t bandwidth = 0;
    std::vector<std::string> sides;
};

RecommendChannelRequest ReadSide(std::string_view text)
{
    RecommendChannelRequest side{};
    const char* position = text.data();
    const char* const end = position + text.size();
    const auto refuse = [&]() -> void {
        throw Failure(ExitStatus::kUsage, "\"" + std::string(text) +
                                              "\" is no list of channels: up to 14 numbers with "
                                              "commas between them, such as 36,40,44.");
    };
    while (position != end) {
        if (side.channelCount == static_cast<std::int32_t>(std::size(side.channels))) {
            refuse();
        }
        std::int32_t& channel = side.channels[side.channelCount++];
        const auto read = std::from_chars(position, end, channel);
        const bool more = read.ptr != end;
        if (read.ec != std::errc() || (more && (*read.ptr != ',' || read.ptr + 1 == end))) {
            refuse();
        }
        position = read.ptr + (more ? 1 : 0);
    }
    return side;
}

std::vector<RecommendChannelRequest> RequestsOf(const Wishes& wishes)
{
    if (wishes.sides.size() > kMostSides) {
        throw Failure(ExitStatus::kUsage, "A link has ten sides at most.");
    }
    std::vector<RecommendChannelRequest> requests;
    for (const std::string& side : wishes.sides) {
        requests.push_back(ReadSide(side));
    }
    if (requests.empty()) {
        requests.emplace_back();
    }
    for (RecommendChannelRequest& request : requests) {
        request.band = wishes.band == "5"     ? kVod2dBand5GHz
                       : wishes.band == "2.4" ? kVod2dBand24GHz
                                              : kVod2dBandAny;
        request.bandwidth = wishes.bandwidth;
    }
    return requests;
}

void Recommend(const Wishes& wishes, const Console& console)
{
    const std::vector<RecommendChannelRequest> requests = RequestsOf(wishes);
    const Session session;
    RecommendChannelResponse best{};
    const WifiErrorCode result = Vod2dGetRecommendChannel(
        requests.data(), static_cast<std::int32_t>(requests.size()), &best);
    if (result == kWifiNotFound) {
        throw Failure(ExitStatus::kFailed, "No channel of this adapter suits any side.");
    }
    CheckWifi(result, "recommend a channel");
    const std::string suits = wishes.sides.empty() ? ""
                                                   : ", suits " + std::to_string(best.satisfied) +
                                                         " of " + std::to_string(requests.size());
    console.Report({{"channel", best.channel},
                    {"frequency", best.frequency},
                    {"bandwidth", best.bandwidth},
                    {"load", best.load},
                    {"satisfied", best.satisfied},
                    {"sides", requests.size()}},
                   console.Styled(Console::Style::kBold, ChannelText(best.channel)) + "  " +
                       std::to_string(best.frequency) + " MHz, " + std::to_string(best.bandwidth) +
                       " MHz wide, " + std::to_string(best.load) + " % busy" + suits);
}

}  // namespace

void AddGroupChannels(CLI::App& group, const Console& console)
{
    group.add_subcommand("channels", "List the channels of the 5 GHz band that may be used")
        ->callback([&console] { ShowChannels(console); });

    const auto wishes = std::make_shared<Wishes>();
    CLI::App* const recommend = group.add_subcommand(
        "recommend", "Recommend a channel that suits all sides of a link, or most of them");
    recommend->add_option("SIDE", wishes->sides,
                          "The channels that one side can use, such as 36,40,44; up to ten sides. "
                          "Without any, all channels");
    recommend->add_option("--band", wishes->band, "Only this band: 2.4, 5 or any")
        ->check(CLI::IsMember({"any", "2.4", "5"}))
        ->capture_default_str();
    recommend->add_option("--bandwidth", wishes->bandwidth, "No wider than so many MHz")
        ->check(NotNegative());
    recommend->callback([&console, wishes] { Recommend(*wishes, console); });
}

}  // namespace pelacon::ctl
