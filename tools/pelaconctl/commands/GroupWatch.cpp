// pelaconctl group watch.
#include <PelaconSDK/Vod2dApi.h>
#include <tools/pelaconctl/Watch.h>
#include <tools/pelaconctl/WifiCommon.h>
#include <tools/pelaconctl/commands/Kit.h>

namespace pelacon::ctl {

namespace {

void OnGroup(Vod2dGroupChange change)
{
    const bool exists = change.state == kVod2dGroupExists;
    const std::string why =
        change.reason != 0 ? " (reason " + std::to_string(change.reason) + ")" : "";
    Events<WatchedEvent>().Post(
        {{{"event", "group"}, {"exists", exists}, {"reason", change.reason}},
         (exists ? "group was created" : "group was removed") + why});
}

void OnStation(const Vod2dStationChange* change)
{
    const bool joined = change->state == kVod2dStationJoined;
    const std::string address = FormatStation(protocol::TextIn(change->address));
    const std::string ipAddress = Printable(protocol::TextIn(change->ipAddress));
    Events<WatchedEvent>().Post(
        {{{"event", "station"}, {"address", address}, {"ipAddress", ipAddress}, {"joined", joined}},
         "station " + address + (joined ? " joined, " + ipAddress : " left")});
}

void OnConfiguration(const Vod2dWifiCfgEvent* event)
{
    const std::span bytes(event->blob, static_cast<std::size_t>(event->length));
    const std::string text(bytes.begin(), bytes.end());
    const std::string role = event->type == kPeerCfgGroupOwner ? "owner" : "station";
    Events<WatchedEvent>().Post(
        {{{"event", "config"}, {"role", role}, {"data", protocol::HexText(bytes)}},
         "configuration of " + role + ": " + Printable(text)});
}

void OnCard(const WifiCardStateEvent* event)
{
    const WifiCardStateInfo& card = event->cards[event->changed];
    const std::string state = StateName(
        card.state, {{kWifiCardAbsent, "absent"}, {kWifiCardOff, "off"}, {kWifiCardOn, "on"}});
    Events<WatchedEvent>().Post({{{"event", "card"}, {"card", card.card}, {"state", state}},
                                 "card " + std::to_string(card.card) + " is " + state});
}

/// Registers callbacks: the one for the group while it lives, the others for good, as they cannot
/// be unregistered.
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
    AddWatch<GroupListener>(
        group, "Show changes of the group, its stations, configurations and cards", console);
}

}  // namespace pelacon::ctl
