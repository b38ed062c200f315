// pelaconctl wifi channels, channel, phone.
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Control.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Session.h>
#include <tools/pelaconctl/WifiApi.h>
#include <tools/pelaconctl/WifiText.h>
#include <tools/pelaconctl/commands/WifiParts.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::ctl {

namespace {

using Json = nlohmann::ordered_json;

std::string Listed(const std::list<int>& channels)
{
    std::string text;
    for (const int channel : channels) {
        text += (text.empty() ? "" : " ") + std::to_string(channel);
    }
    return text.empty() ? "none" : text;
}

/// The channels that one side supports, and the one that it is on.
struct Side {
    std::list<int> channels24G;
    std::list<int> channels5G;
    int current = 0;
};

Side ThisComputer()
{
    constexpr int kUntouched = -1;
    Side side;
    side.current = kUntouched;
    Wifi().GetPCSupportChannelList(side.channels24G, side.channels5G, side.current);
    if (side.current == kUntouched) {
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
    return "\n  2.4 GHz  " + Listed(side.channels24G) + "\n  5 GHz    " + Listed(side.channels5G) +
           "\n  now on   " + (side.current != 0 ? std::to_string(side.current) : "none");
}

void ShowWifiChannels(const Console& console)
{
    const Session session;
    const Side computer = ThisComputer();
    const Side phone = Phone();
    const auto heading = [&](const char* text) {
        return console.Styled(Console::Style::kBold, text);
    };
    console.Report(
        {{"pc", RecordOf(computer)}, {"phone", RecordOf(phone)}},
        heading("This computer") + RowsOf(computer) + "\n" + heading("The phone") + RowsOf(phone));
}

/// The band of a channel. Throws for a number that is none.
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
    const Session session;
    const std::string band = RequireChannel(channel) == kWifiFrequence5G ? "5" : "2.4";
    const int frequency = Wifi().GetFrequencyFromChannel(channel);
    console.Report(
        {{"channel", channel}, {"band", band}, {"frequency", frequency}},
        ChannelText(channel) + ": " + std::to_string(frequency) + " MHz, " + band + " GHz band");
}

/// What is to be kept of the phone, as options say it.
struct PhoneOptions {
    bool clear = false;
    std::vector<int> added;
    std::optional<int> current;
    bool check5G = false;
};

void KeepPhone(const PhoneOptions& options, const Console& console)
{
    const Session session;
    // All are looked at before anything is changed.
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
    one->add_option("CHANNEL", *channel, "Its number")->required();
    one->callback([&console, channel] { ShowChannel(*channel, console); });

    const auto options = std::make_shared<PhoneOptions>();
    CLI::App* const phone =
        wifi.add_subcommand("phone", "Show what is kept of the phone's channels, or change it");
    phone->add_flag("--clear", options->clear, "First forget the channels that it supports");
    phone->add_option("--add", options->added, "Channels that it supports, such as 6,36,149")
        ->delimiter(',');
    phone->add_option("--current", options->current,
                      "The channel that its own connection is on; 0 for none");
    phone->add_flag("--check-5g", options->check5G,
                    "Have the soft AP keep to the 2.4 GHz band if it could not get to the other");
    phone->callback([&console, options] { KeepPhone(*options, console); });
}

}  // namespace pelacon::ctl
