// pelaconctl group channels, recommend.
#include <PelaconSDK/Vod2dApi.h>
#include <protocol/Vod2dConfig.h>
#include <tools/pelaconctl/WifiCommon.h>
#include <tools/pelaconctl/commands/Kit.h>

#include <charconv>
#include <iterator>

namespace pelacon::ctl {

namespace {

constexpr std::size_t kMaxSides = protocol::kMostWishes;

void ShowChannels(const Console& console)
{
    const LibrarySession session;
    std::vector<std::int32_t> channels(1020);  // enough for any list: see Vod2dGetChannelListFor5G
    CheckWifi(Vod2dGetChannelListFor5G(channels.data(), static_cast<std::int32_t>(channels.size())),
              "list the channels");
    std::erase(channels, 0);
    console.Report({{"channels", channels}}, channels.empty()
                                                 ? "No channel of the 5 GHz band is allowed."
                                                 : Listed(channels));
}

/// The options of `group recommend`.
struct RecommendOptions {
    std::int32_t band = kVod2dBandAny;
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
                                              "\" is not a list of channels: up to 14 numbers "
                                              "separated by commas, such as 36,40,44.");
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

std::vector<RecommendChannelRequest> RequestsOf(const RecommendOptions& options)
{
    if (options.sides.size() > kMaxSides) {
        throw Failure(ExitStatus::kUsage, "A link has at most ten sides.");
    }
    std::vector<RecommendChannelRequest> requests;
    for (const std::string& side : options.sides) {
        requests.push_back(ReadSide(side));
    }
    if (requests.empty()) {
        requests.emplace_back();
    }
    for (RecommendChannelRequest& request : requests) {
        request.band = options.band;
        request.bandwidth = options.bandwidth;
    }
    return requests;
}

void Recommend(const RecommendOptions& options, const Console& console)
{
    const std::vector<RecommendChannelRequest> requests = RequestsOf(options);
    const LibrarySession session;
    RecommendChannelResponse best{};
    CheckWifi(Vod2dGetRecommendChannel(requests.data(), static_cast<std::int32_t>(requests.size()),
                                       &best),
              "recommend a channel",
              {{kWifiNotFound, "This adapter has no channel that suits any side."}});
    const std::string suits = options.sides.empty() ? ""
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
    group.add_subcommand("channels", "List the allowed channels of the 5 GHz band")
        ->callback([&console] { ShowChannels(console); });

    const auto options = std::make_shared<RecommendOptions>();
    CLI::App* const recommend = group.add_subcommand(
        "recommend", "Recommend a channel that suits all sides of a link, or most sides");
    recommend->add_option("SIDE", options->sides,
                          "The channels that one side can use, such as 36,40,44; up to ten sides.\n"
                          "Without sides, all channels are considered");
    recommend->add_option("--band", options->band, "Only this band: 2.4, 5 or any (default)")
        ->transform(OneOf<std::int32_t>(
            {{"any", kVod2dBandAny}, {"2.4", kVod2dBand24GHz}, {"5", kVod2dBand5GHz}}))
        ->type_name("BAND");
    recommend->add_option("--bandwidth", options->bandwidth, "At most this many MHz wide")
        ->check(NotNegative());
    recommend->callback([&console, options] { Recommend(*options, console); });
}

}  // namespace pelacon::ctl
