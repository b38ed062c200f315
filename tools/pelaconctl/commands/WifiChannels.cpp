// pelaconctl wifi channels, channel, phone.
#include <tools/pelaconctl/WifiCommon.h>
#include <tools/pelaconctl/commands/Kit.h>

#include <list>

namespace pelacon::ctl {

namespace {

/// The channels that one side supports, and its current channel.
struct Side {
    std::list<int> channels24G;
    std::list<int> channels5G;
    int current = 0;
};

Side ThisComputer()
{
    constexpr int kUnset = -1;  // the library leaves it so when there is no answer
    Side side;
    side.current = kUnset;
    Wifi().GetPCSupportChannelList(side.channels24G, side.channels5G, side.current);
    if (side.current == kUnset) {
        FailForNoAnswer("list the channels");
    }
    return side;
}

Side Phone()
{
    Side side{Wifi().GetRecordPhone24GChannelList(), Wifi().GetRecordPhoneChannelList(),
              Wifi().GetRecordPhoneChannel()};
    ProbeService();
    return side;
}

Json RecordOf(const Side& side)
{
    return {{"channels24G", side.channels24G},
            {"channels5G", side.channels5G},
            {"current", side.current != 0 ? Json(side.current) : Json()}};
}

std::string RowsOf(const Side& side)
{
    const auto row = [](const std::list<int>& channels) {
        return channels.empty() ? "none" : Listed(channels);
    };
    return "\n  2.4 GHz  " + row(side.channels24G) + "\n  5 GHz    " + row(side.channels5G) +
           "\n  current  " + (side.current != 0 ? std::to_string(side.current) : "none");
}

void ShowWifiChannels(const Console& console)
{
    const LibrarySession session;
    const Side computer = ThisComputer();
    const Side phone = Phone();
    const auto heading = [&](const char* text) {
        return console.Styled(Console::Style::kBold, text);
    };
    console.Report(
        {{"pc", RecordOf(computer)}, {"phone", RecordOf(phone)}},
        heading("This computer") + RowsOf(computer) + "\n" + heading("The phone") + RowsOf(phone));
}

/// The band of a channel. Throws Failure for a number that is not a channel.
WifiFrequenceType RequireChannel(int channel)
{
    const WifiFrequenceType type = Wifi().GetFrequenceType(channel);
    if (type == kWifiFrequenceUnknown) {
        ProbeService();
        throw Failure(ExitStatus::kFailed,
                      "There is no " + ChannelText(channel) + " in the 2.4 GHz or the 5 GHz band.");
    }
    return type;
}

void ShowChannel(int channel, const Console& console)
{
    const LibrarySession session;
    const std::string band = RequireChannel(channel) == kWifiFrequence5G ? "5" : "2.4";
    const int frequency = Wifi().GetFrequencyFromChannel(channel);
    console.Report(
        {{"channel", channel}, {"band", band}, {"frequency", frequency}},
        ChannelText(channel) + ": " + std::to_string(frequency) + " MHz, " + band + " GHz band");
}

/// The options of `wifi phone`.
struct PhoneOptions {
    bool clear = false;
    std::vector<int> added;
    std::optional<int> current;
    bool check5G = false;
};

void UpdatePhone(const PhoneOptions& options, const Console& console)
{
    const LibrarySession session;
    // All channels are checked before anything is changed.
    for (const int channel : options.added) {
        RequireChannel(channel);
    }
    if (options.current.value_or(0) != 0) {
        RequireChannel(*options.current);
    }
    if (options.clear) {
        Wifi().RemovePhoneSupportChannels();
    }
    for (const int channel : options.added) {
        if (Wifi().Is24GChannel(channel)) {
            Wifi().AddPhoneSupport24Channel(channel);
        } else {
            Wifi().AddPhoneSupportChannel(channel);
        }
    }
    if (options.current) {
        Wifi().SetPhoneCurrentChannel(*options.current);
    }
    if (options.check5G) {
        Wifi().CheckIsSet5GFailed();
    }
    const Side phone = Phone();
    console.Report({{"phone", RecordOf(phone)}},
                   console.Styled(Console::Style::kBold, "The phone") + RowsOf(phone));
}

}  // namespace

void AddWifiChannels(CLI::App& wifi, const Console& console)
{
    wifi.add_subcommand("channels", "List the channels of this computer and of the phone")
        ->callback([&console] { ShowWifiChannels(console); });

    const auto channel = std::make_shared<int>(0);
    CLI::App* const one = wifi.add_subcommand("channel", "Show a channel's band and frequency");
    one->add_option("CHANNEL", *channel, "The channel's number")->required();
    one->callback([&console, channel] { ShowChannel(*channel, console); });

    const auto options = std::make_shared<PhoneOptions>();
    CLI::App* const phone = wifi.add_subcommand(
        "phone", "Show or set the phone's channels, as recorded by the service");
    phone->add_flag("--clear", options->clear, "First remove all supported channels");
    phone->add_option("--add", options->added, "Add supported channels, such as 6,36,149")
        ->delimiter(',');
    phone->add_option("--current", options->current,
                      "The channel of the phone's own connection; 0 for none");
    phone->add_flag("--check-5g", options->check5G,
                    "Move the soft AP to the 2.4 GHz band if it failed to move to the 5 GHz band");
    phone->callback([&console, options] { UpdatePhone(*options, console); });
}

}  // namespace pelacon::ctl
