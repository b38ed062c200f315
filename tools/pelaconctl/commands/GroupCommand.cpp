// pelaconctl group: creating, showing and removing Wi-Fi Direct groups.
#include <PelaconSDK/Vod2dApi.h>
#include <tools/pelaconctl/Spinner.h>
#include <tools/pelaconctl/WifiCommon.h>
#include <tools/pelaconctl/commands/Kit.h>

namespace pelacon::ctl {

namespace {

/// Reports the group. `more` are further fields of the record, `moreRows` further lines.
void ReportGroup(const Vod2dSoftAPInfo& info, const Json& more,
                 const std::vector<Console::Row>& moreRows, const Console& console)
{
    const std::string ssid = Printable(protocol::TextIn(info.ssid));
    const std::string passPhrase = Printable(protocol::TextIn(info.pwd));
    const std::string address = protocol::AddressText(protocol::AddressOf(info.mac));
    const std::string ipAddress = Printable(protocol::TextIn(info.ipAddress));
    Json record{{"exists", info.active != 0}, {"ssid", ssid},           {"passPhrase", passPhrase},
                {"address", address},         {"ipAddress", ipAddress}, {"channel", info.channel}};
    record.update(more);
    const std::string where = info.active != 0
                                  ? "There is a group on " + ChannelText(info.channel) + "."
                                  : std::string("There is no group. The next one will use:");
    std::vector<Console::Row> rows{{"Name", ssid},
                                   {"Pass phrase", passPhrase},
                                   {"Address", address},
                                   {"IP address", ipAddress}};
    rows.insert(rows.end(), moreRows.begin(), moreRows.end());
    console.Report(record, console.Styled(Console::Style::kBold, where) + console.Rows(rows));
}

/// Removes a group that may still be under creation, so that it does not appear after this program
/// has ended, when its library can no longer remove it.
void CancelCreation(const Console& console)
{
    const Spinner spinner(console, "Cancelling the request");
    Vod2dRemoveGroup();
}

void Create(std::int32_t channel, const Console& console)
{
    const LibrarySession session;
    Vod2dSoftAPInfo info{};
    info.channel = channel;
    WifiErrorCode result = kWifiFailed;
    if (session.RunInterruptibly(console, "Creating a group",
                                 [&] { result = Vod2dCreateGroup(&info); })) {
        CancelCreation(console);
        throw Failure(ExitStatus::kInterrupted, "Interrupted: there is no group.");
    }
    if (result == kWifiNoReply) {
        ProbeService();
        CancelCreation(console);
        throw Failure(ExitStatus::kNoAnswer,
                      "PelaconService did not create a group in time; the request was cancelled.");
    }
    ResultSentences sentences{
        {kWifiBusy,
         "There is a group already, or one is being created. See: pelaconctl group info"}};
    if (channel != 0) {
        sentences.emplace_back(kWifiNotSupported,
                               "No group was created: the adapter may not use channel " +
                                   std::to_string(channel) + ", or the radio failed.");
    }
    CheckWifi(result, "create a group", sentences);
    ReportGroup(info, Json::object(), {}, console);
}

void Remove(const Console& console)
{
    const LibrarySession session;
    WifiErrorCode result = kWifiFailed;
    {
        const Spinner spinner(console, "Removing the group");
        result = Vod2dRemoveGroup();
    }
    CheckWifi(result, "remove the group",
              {{kWifiNotFound, "There is no group to remove."},
               {kWifiNotPermitted, "Other programs use the group's link, so it was not removed."}});
    console.Report({{"removed", true}}, "The group was removed.");
}

void ShowInfo(const Console& console)
{
    const LibrarySession session;
    Vod2dSoftAPInfo info{};
    CheckWifi(Vod2dGetGroupConfig(&info), "read the group's configuration");
    Vod2dLinkGroup link{};
    CheckWifi(Vod2dGetGroupInfoConnected(&link), "count the stations");
    bool active = false;
    CheckWifi(Vod2dIsWifiActive(&active), "read the state of Wi-Fi");
    const std::int32_t frequency = Vod2dGetFrequency();
    if (frequency < 0) {
        FailForNoAnswer("read the frequency");
    }
    char mac[6] = {};
    CheckWifi(Vod2dGetBaseMacAddress(mac, sizeof mac), "read the adapter's address");
    const std::string adapter = protocol::AddressText(
        protocol::AddressOf({reinterpret_cast<const std::uint8_t*>(mac), sizeof mac}));
    ReportGroup(
        info,
        {{"stations", link.stationCount},
         {"wifi", active},
         {"frequency", frequency},
         {"adapter", adapter}},
        {{"Stations", std::to_string(link.stationCount)},
         {"Adapter", adapter + ", " + (active ? "on" : "off") +
                         (frequency > 0 ? ", at " + std::to_string(frequency) + " MHz" : "")}},
        console);
}

/// The stations' addresses, which the service gives to its operator only; nothing for other users.
std::optional<Json> StationList()
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
    const LibrarySession session;
    Vod2dLinkGroup link{};
    CheckWifi(Vod2dGetGroupInfoConnected(&link), "count the stations");
    if (link.groupState != kVod2dGroupExists) {
        throw Failure(ExitStatus::kFailed,
                      "There is no group. Create one with: pelaconctl group create");
    }
    const std::optional<Json> stations = StationList();
    if (!stations) {
        console.Report({{"stations", link.stationCount}},
                       "Stations connected: " + std::to_string(link.stationCount));
        return;
    }
    if (stations->empty()) {
        console.Say("No station is connected.");
    }
    for (const Json& station : *stations) {
        const std::string address = FormatStation(station.value("address", ""));
        const std::string ipAddress = Printable(station.value("ipAddress", ""));
        console.Report({{"address", address}, {"ipAddress", ipAddress}},
                       std::string(address).append("  ").append(ipAddress));
    }
}

void AddGroupLife(CLI::App& group, const Console& console)
{
    const auto channel = std::make_shared<std::int32_t>(0);
    CLI::App* const create =
        group.add_subcommand("create", "Create a group, and wait up to 20 s until it is ready");
    create->add_option("--channel", *channel, "The channel; any by default")->check(NotNegative());
    create->callback([&console, channel] { Create(*channel, console); });

    group.add_subcommand("remove", "Remove the group, and wait until it is removed")
        ->callback([&console] { Remove(console); });
    group.add_subcommand("info", "Show the group and its adapter")->callback([&console] {
        ShowInfo(console);
    });
    group.add_subcommand("stations", "List the devices that have joined the group")
        ->callback([&console] { ShowStations(console); });
}

}  // namespace

void AddGroupCommand(CLI::App& program, const Console& console)
{
    CLI::App* const group = program.add_subcommand(
        "group", "Wi-Fi Direct groups, and the agreements that precede a link");
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
