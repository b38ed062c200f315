// pelaconctl group watch.
#include <PelaconSDK/Vod2dApi.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Happenings.h>
#include <tools/pelaconctl/OptionValues.h>
#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/WifiText.h>
#include <tools/pelaconctl/commands/GroupParts.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <span>
#include <string>

namespace pelacon::ctl {

namespace {

void OnGroup(Vod2dGroupChange change)
{
    const bool exists = change.state == kVod2dGroupExists;
    const std::string why =
        change.reason != 0 ? " (reason " + std::to_string(change.reason) + ")" : "";
    Happenings().Post({{{"event", "group"}, {"exists", exists}, {"reason", change.reason}},
                       (exists ? "group is there" : "group is gone") + why});
}

void OnStation(const Vod2dStationChange* change)
{
    const bool joined = change->state == kVod2dStationJoined;
    const std::string address = StationAddress(FieldText(change->address));
    const std::string ipAddress = Printable(FieldText(change->ipAddress));
    Happenings().Post(
        {{{"event", "station"}, {"address", address}, {"ipAddress", ipAddress}, {"joined", joined}},
         "station " + address + (joined ? " joined, " + ipAddress : " left")});
}

void OnConfiguration(const Vod2dWifiCfgEvent* event)
{
    const std::span bytes(event->blob, static_cast<std::size_t>(event->length));
    const std::string text(bytes.begin(), bytes.end());
    const std::string role = event->type == kPeerCfgGroupOwner ? "owner" : "station";
    Happenings().Post({{{"event", "config"}, {"role", role}, {"data", FormatHex(bytes)}},
                       "configuration of " + role + ": " + Printable(text)});
}

std::string StateName(std::int32_t state)
{
    switch (state) {
        case kWifiCardAbsent:
            return "absent";
        case kWifiCardOff:
            return "off";
        case kWifiCardOn:
            return "on";
        default:
            return "in state " + std::to_string(state);
    }
}

void OnCard(const WifiCardStateEvent* event)
{
    const WifiCardStateInfo& card = event->cards[event->changed];
    const std::string state = StateName(card.state);
    Happenings().Post({{{"event", "card"}, {"card", card.card}, {"state", state}},
                       "card " + std::to_string(card.card) + " is " + state});
}

/// Hears of the group as long as it lives; of the rest for ever, as there is no way back.
class GroupListener {
  public:
    GroupListener()
    {
        static Vod2dWifiCfgCallback configurations{&OnConfiguration};
        static WifiCardStateCallback cards{&OnCard};
        CheckWifi(Vod2dRegisterSoftAPStateChangedCallback(&Table()), "watch the group");
        CheckWifi(Vod2dRegisterWifiCfgCallback(&configurations), "watch configurations");
        WifiCardStateInfo first{};
        std::int32_t count = 0;
        CheckWifi(Vod2dSetWifiCardStateNotify(&first, &count, &cards), "watch cards");
    }
    ~GroupListener() { Vod2dUnRegisterSoftAPStateChangedCallback(&Table()); }
    GroupListener(const GroupListener&) = delete;
    GroupListener& operator=(const GroupListener&) = delete;

  private:
    static Vod2dWifiBroadcastRecvCb& Table()
    {
        static Vod2dWifiBroadcastRecvCb table{&OnGroup, &OnStation};
        return table;
    }
};

}  // namespace

void AddGroupWatch(CLI::App& group, const Console& console)
{
    const auto seconds = std::make_shared<std::optional<double>>();
    CLI::App* const watch = group.add_subcommand(
        "watch", "Show what happens to the group, its stations, configurations and cards");
    watch->add_option("--seconds", *seconds, "End after so many seconds")->check(NotNegative());
    watch->callback([&console, seconds] { Watch<GroupListener>(*seconds, console); });
}

}  // namespace pelacon::ctl
