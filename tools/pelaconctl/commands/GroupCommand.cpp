// pelaconctl group: Wi-Fi Direct groups, made, described and removed.
#include <PelaconSDK/PelaconSvc.h>
#include <PelaconSDK/Vod2dApi.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Control.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Interrupt.h>
#include <tools/pelaconctl/OptionValues.h>
#include <tools/pelaconctl/Session.h>
#include <tools/pelaconctl/Spinner.h>
#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/WifiText.h>
#include <tools/pelaconctl/commands/Commands.h>
#include <tools/pelaconctl/commands/GroupParts.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace pelacon::ctl {

namespace {

using Json = nlohmann::ordered_json;

/// The group as people and programs read it.
void ReportGroup(const Vod2dSoftAPInfo& info, const Json& more, const std::string& rows,
                 const Console& console)
{
    const std::string ssid = Printable(FieldText(info.ssid));
    const std::string passPhrase = Printable(FieldText(info.pwd));
    const std::string address = FormatAddress(AddressOf(info.mac));
    const std::string ipAddress = Printable(FieldText(info.ipAddress));
    Json record{{"exists", info.active != 0}, {"ssid", ssid},           {"passPhrase", passPhrase},
                {"address", address},         {"ipAddress", ipAddress}, {"channel", info.channel}};
    record.update(more);
    const std::string where = info.active != 0
                                  ? "There is a group on " + ChannelText(info.channel) + "."
                                  : std::string("There is no group. One would be:");
    console.Report(record, console.Styled(Console::Style::kBold, where) + "\nName         " + ssid +
                               "\nPass phrase  " + passPhrase + "\nAddress      " + address +
                               "\nIP address   " + ipAddress + rows);
}

/// A group that nobody waits for any more is not to appear after this program has ended, when its
/// library cannot remove it.
void AbandonCreation(const Console& console)
{
    const Spinner spinner(console, "Taking the request back");
    Vod2dRemoveGroup();
}

void Create(std::int32_t channel, const Console& console)
{
    const Session session;
    Vod2dSoftAPInfo info{};
    info.channel = channel;
    WifiErrorCode result = kWifiFailed;
    bool interrupted = false;
    {
        // Stopping the library ends the wait.
        const UntilInterrupt interrupt([] { PelaconSvcStop(); });
        const Spinner spinner(console, "Making a group");
        result = Vod2dCreateGroup(&info);
        interrupted = interrupt.Happened();
    }
    if (interrupted) {
        PelaconSvcStart();
        AbandonCreation(console);
        throw Failure(ExitStatus::kInterrupted, "Interrupted: there is no group.");
    }
    if (result == kWifiNoReply) {
        ProbeService();
        AbandonCreation(console);
        throw Failure(ExitStatus::kNoAnswer,
                      "PelaconService did not make a group in time; it was told to give up.");
    }
    if (result == kWifiBusy) {
        throw Failure(ExitStatus::kFailed,
                      "There is a group already, or one is being made. See: pelaconctl group info");
    }
    if (result == kWifiNotSupported && channel != 0) {
        throw Failure(ExitStatus::kFailed, "No group was made: the adapter may not use channel " +
                                               std::to_string(channel) + ", or the radio failed.");
    }
    CheckWifi(result, "make a group");
    ReportGroup(info, Json::object(), "", console);
}

void Remove(const Console& console)
{
    const Session session;
    WifiErrorCode result = kWifiFailed;
    {
        const Spinner spinner(console, "Removing the group");
        result = Vod2dRemoveGroup();
    }
    if (result == kWifiNotFound) {
        throw Failure(ExitStatus::kFailed, "There is no group to remove.");
    }
    if (result == kWifiNotPermitted) {
        throw Failure(ExitStatus::kFailed,
                      "Other programs use the group's link, so it was not removed.");
    }
    CheckWifi(result, "remove the group");
    console.Report({{"removed", true}}, "The group is removed.");
}

void ShowInfo(const Console& console)
{
    const Session session;
    Vod2dSoftAPInfo info{};
    CheckWifi(Vod2dGetGroupConfig(&info), "describe the group");
    Vod2dLinkGroup link{};
    CheckWifi(Vod2dGetGroupInfoConnected(&link), "count the stations");
    bool active = false;
    CheckWifi(Vod2dIsWifiActive(&active), "say whether Wi-Fi is on");
    const std::int32_t frequency = Vod2dGetFrequency();
    if (frequency < 0) {
        FailForNoAnswer("read the frequency");
    }
    char mac[6] = {};
    CheckWifi(Vod2dGetBaseMacAddress(mac, sizeof mac), "read the adapter's address");
    const std::string adapter = FormatAddress(AddressOf(mac));
    ReportGroup(info,
                {{"stations", link.stationCount},
                 {"wifi", active},
                 {"frequency", frequency},
                 {"adapter", adapter}},
                "\nStations     " + std::to_string(link.stationCount) + "\nAdapter      " +
                    adapter + ", " + (active ? "on" : "off") +
                    (frequency > 0 ? ", at " + std::to_string(frequency) + " MHz" : ""),
                console);
}

/// The stations by name, as the service tells its operator only; nothing for others.
std::optional<Json> NamedStations()
{
    try {
        return Control({{"command", "status"}}).at("group").at("stations");
    } catch (const Failure& failure) {
        if (failure.Status() == ExitStatus::kNotAllowed) {
            return std::nullopt;
        }
        throw;
    }
}

void ShowStations(const Console& console)
{
    const Session session;
    Vod2dLinkGroup link{};
    CheckWifi(Vod2dGetGroupInfoConnected(&link), "count the stations");
    if (link.groupState != kVod2dGroupExists) {
        throw Failure(ExitStatus::kFailed,
                      "There is no group. Make one with: pelaconctl group create");
    }
    const std::optional<Json> stations = NamedStations();
    if (!stations) {
        console.Report({{"stations", link.stationCount}},
                       "Stations connected: " + std::to_string(link.stationCount));
        return;
    }
    if (stations->empty()) {
        console.Say("No station is connected.");
    }
    for (const Json& station : *stations) {
        const std::string address = StationAddress(station.value("address", ""));
        const std::string ipAddress = Printable(station.value("ipAddress", ""));
        std::string line = address;
        line.append("  ").append(ipAddress);
        console.Report({{"address", address}, {"ipAddress", ipAddress}}, line);
    }
}

void AddGroupLife(CLI::App& group, const Console& console)
{
    const auto channel = std::make_shared<std::int32_t>(0);
    CLI::App* const create =
        group.add_subcommand("create", "Make a group, and wait up to 20 s until it is there");
    create->add_option("--channel", *channel, "The channel wished for; without it, any")
        ->check(NotNegative());
    create->callback([&console, channel] { Create(*channel, console); });

    group.add_subcommand("remove", "Remove the group, and wait until it is gone")
        ->callback([&console] { Remove(console); });
    group.add_subcommand("info", "Describe the group, and the adapter that it is on")
        ->callback([&console] { ShowInfo(console); });
    group.add_subcommand("stations", "List the devices that have joined the group")
        ->callback([&console] { ShowStations(console); });
}

}  // namespace

std::string StationAddress(std::string_view digits)
{
    try {
        return FormatAddress(ParseAddress(digits));
    } catch (const Failure&) {
        return Printable(digits);
    }
}

void AddGroupCommand(CLI::App& program, Console& console)
{
    CLI::App* const group =
        program.add_subcommand("group", "Wi-Fi Direct groups: made, watched, and what goes before");
    group->require_subcommand(1);
    group->footer(
        "Examples:\n"
        "  pelaconctl group create --channel 149\n"
        "  pelaconctl group watch --json | jq -c 'select(.event == \"station\")'\n"
        "  pelaconctl group recommend 36,40,44 40,149 --band 5\n"
        "  pelaconctl group config station --set 'role=station'\n");
    AddGroupLife(*group, console);
    AddGroupChannels(*group, console);
    AddGroupConfiguration(*group, console);
    AddGroupWatch(*group, console);
}

}  // namespace pelacon::ctl
