// pelaconctl wifi: the switch, the connection, the scan for networks.
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Happenings.h>
#include <tools/pelaconctl/Mailbox.h>
#include <tools/pelaconctl/OptionValues.h>
#include <tools/pelaconctl/Session.h>
#include <tools/pelaconctl/Spinner.h>
#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/WifiApi.h>
#include <tools/pelaconctl/WifiText.h>
#include <tools/pelaconctl/commands/Commands.h>
#include <tools/pelaconctl/commands/WifiParts.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>

namespace pelacon::ctl {

namespace {

using Json = nlohmann::ordered_json;

std::string WifiStateName(std::int32_t state)
{
    switch (state) {
        case kWifiStateOff:
            return "off";
        case kWifiStateOn:
            return "on";
        default:
            return "in state " + std::to_string(state);
    }
}

SystemApiWifiState WifiState()
{
    const SystemApiWifiState state = Wifi().GetWifiState();
    if (state == kWifiStateUnknown) {
        FailForNoAnswer("read the state of Wi-Fi");
    }
    return state;
}

void ShowWifi(const Console& console)
{
    const Session session;
    const std::string state = WifiStateName(WifiState());
    int channel = 0;
    std::string ssid;
    const bool connected = Wifi().IsAPConnected(channel, ssid);
    Json record{{"state", state}, {"connected", connected}};
    std::string line =
        "Wi-Fi is " + console.Styled(Console::Style::kBold, state) + ", and not connected.";
    if (connected) {
        const int frequency = Wifi().GetFrequencyFromChannel(channel);
        record.update(
            Json{{"ssid", Printable(ssid)}, {"channel", channel}, {"frequency", frequency}});
        line = "Wi-Fi is " + console.Styled(Console::Style::kBold, state) + ".\nConnected to  " +
               Printable(ssid) + ", on " + ChannelText(channel) + " (" + std::to_string(frequency) +
               " MHz)";
    }
    console.Report(record, line);
}

/// Where changes of the switch go while a command waits for one.
Mailbox<std::int32_t>& WifiStateChanges()
{
    static auto& changes = *new Mailbox<std::int32_t>;
    return changes;
}

/// Hears of the switch as long as it lives.
class SwitchWatch {
  public:
    SwitchWatch()
    {
        if (!Wifi().RegistWifiStateChangeCallback(&Observer())) {
            FailForNoAnswer("follow the state of Wi-Fi");
        }
    }
    ~SwitchWatch() { Wifi().UnRegistWifiStateChangeCallback(&Observer()); }

    SwitchWatch(const SwitchWatch&) = delete;
    SwitchWatch& operator=(const SwitchWatch&) = delete;

  private:
    static IWifiStateChangeNotification& Observer()
    {
        class Poster : public IWifiStateChangeNotification {
          public:
            void OnWifiStateChanged(int32_t state) override { WifiStateChanges().Post(state); }
        };
        static Poster& observer = *new Poster;
        return observer;
    }
};

void CheckEnabled(SystemApiEnableWifiResult result, const std::string& request)
{
    if (result == kEnableWifiNoAdapter) {
        throw Failure(ExitStatus::kFailed, "There is no Wi-Fi adapter.");
    }
    CheckResult(result, kEnableWifiNoAnswer, request);
}

/// Asks for the change and waits until the adapter has made it.
void SwitchTo(bool on, double seconds, const Console& console)
{
    const Session session;
    const SystemApiWifiState wanted = on ? kWifiStateOn : kWifiStateOff;
    const std::string name = WifiStateName(wanted);
    const auto report = [&](const std::string& line) {
        console.Report({{"state", name}}, "Wi-Fi is " + line + ".");
    };
    if (WifiState() == wanted) {
        return report(name + " already");
    }
    const SwitchWatch watch;
    CheckEnabled(Wifi().EnableWifi(on), "switch Wi-Fi " + name);
    const auto deadline = After(seconds);
    std::int32_t state = WifiState();
    while (state != wanted) {
        const auto next = WifiStateChanges().Next(deadline);
        if (!next) {
            throw Failure(ExitStatus::kNoAnswer, "Wi-Fi is still " + WifiStateName(state) +
                                                     ", though the request to switch it " + name +
                                                     " was accepted.");
        }
        state = *next;
    }
    report(name);
}

// The library need not be started for this one, nor the service be there.
void Scan(const Console& console)
{
    if (!Wifi().Scan()) {
        throw Failure(ExitStatus::kFailed,
                      "This machine has no Wi-Fi interface that the system knows of.");
    }
    console.Report({{"requested", true}},
                   "The system was asked to scan on its first Wi-Fi interface. What becomes of it "
                   "is not known here; it may take the right to administer networks.");
}

/// Posts what it is told.
class WifiEars : public IWifiStateChangeNotification, public WifiRealMonitorStateCallBack {
  public:
    void OnWifiStateChanged(int32_t state) override
    {
        Happenings().Post({{{"event", "switch"}, {"state", WifiStateName(state)}},
                           "Wi-Fi is " + WifiStateName(state)});
    }
    void OnConnectChannel(int32_t channel) override
    {
        Happenings().Post({{{"event", "phone"}, {"channel", channel}},
                           channel != 0 ? "the phone's connection is on " + ChannelText(channel)
                                        : "the phone has no connection"});
    }
};

/// Registers ears for good, as the one for the channel cannot be taken back.
struct WifiListener {
    WifiListener()
    {
        static WifiEars& ears = *new WifiEars;
        if (!Wifi().RegistWifiStateChangeCallback(&ears)) {
            FailForNoAnswer("watch Wi-Fi");
        }
        Wifi().RegistWifiStateChangeCallBack(&ears);
    }
};

void AddSwitch(CLI::App& wifi, const Console& console)
{
    for (const bool on : {true, false}) {
        const std::string name = WifiStateName(on ? kWifiStateOn : kWifiStateOff);
        const auto seconds = std::make_shared<double>(10.0);
        CLI::App* const command =
            wifi.add_subcommand(name, "Switch Wi-Fi " + name + " and wait until it is");
        command->add_option("--wait", *seconds, "Seconds to wait for the change")
            ->capture_default_str()
            ->check(NotNegative());
        command->callback([&console, on, seconds] { SwitchTo(on, *seconds, console); });
    }
}

void AddWatch(CLI::App& wifi, const Console& console)
{
    const auto seconds = std::make_shared<std::optional<double>>();
    CLI::App* const watch =
        wifi.add_subcommand("watch", "Show changes of the switch and of the phone's channel");
    watch->add_option("--seconds", *seconds, "End after so many seconds")->check(NotNegative());
    watch->callback([&console, seconds] { Watch<WifiListener>(*seconds, console); });
}

}  // namespace

void AddWifiCommand(CLI::App& program, Console& console)
{
    CLI::App* const wifi =
        program.add_subcommand("wifi", "Wi-Fi: its switch, its channels and those of the phone");
    wifi->require_subcommand(1);
    wifi->footer(
        "Examples:\n"
        "  pelaconctl wifi off && pelaconctl wifi on --wait 30\n"
        "  pelaconctl wifi channels --json | jq '.pc.channels5G'\n"
        "  pelaconctl wifi phone --clear --add 1,6,36,149 --current 36\n"
        "  pelaconctl wifi watch\n");
    wifi->add_subcommand("status", "Show whether Wi-Fi is on, and what it is connected to")
        ->callback([&console] { ShowWifi(console); });
    AddSwitch(*wifi, console);
    AddWifiChannels(*wifi, console);
    wifi->add_subcommand("scan", "Have the system scan for networks; the service is not asked")
        ->callback([&console] { Scan(console); });
    AddWatch(*wifi, console);
}

}  // namespace pelacon::ctl
