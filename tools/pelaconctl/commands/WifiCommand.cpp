// pelaconctl wifi: on and off, the connection, the scan for networks.
#include <tools/pelaconctl/RadioSwitch.h>
#include <tools/pelaconctl/Watch.h>
#include <tools/pelaconctl/WifiCommon.h>
#include <tools/pelaconctl/commands/Kit.h>

namespace pelacon::ctl {

namespace {

/// The Wi-Fi adapter, for RadioSwitch.h.
class WifiRadio {
  public:
    static constexpr const char* kName = "Wi-Fi";
    static constexpr std::int32_t kOn = kWifiStateOn;
    static constexpr std::int32_t kOff = kWifiStateOff;

    static std::int32_t State()
    {
        const SystemApiWifiState state = Wifi().GetWifiState();
        if (state == kWifiStateUnknown) {
            FailForNoAnswer("read the state of Wi-Fi");
        }
        return state;
    }
    static std::string StateName(std::int32_t state)
    {
        return ctl::StateName(state, {{kWifiStateOff, "off"}, {kWifiStateOn, "on"}});
    }
    static void Request(bool on)
    {
        const SystemApiEnableWifiResult result = Wifi().EnableWifi(on);
        if (result == kEnableWifiNoAdapter) {
            throw Failure(ExitStatus::kFailed, "There is no Wi-Fi adapter.");
        }
        if (result == kEnableWifiFailed) {
            return;  // not yet: a slow radio may still get there
        }
        const std::string request = std::string("switch Wi-Fi ") + (on ? "on" : "off");
        if (result == kEnableWifiNoAnswer) {
            FailForNoAnswer(request);
        }
        CheckResult(kPelaconStatusWifi, result, request);
    }

    WifiRadio()
    {
        if (!Wifi().RegistWifiStateChangeCallback(&Observer())) {
            FailForNoAnswer("follow the state of Wi-Fi");
        }
    }
    ~WifiRadio() { Wifi().UnRegistWifiStateChangeCallback(&Observer()); }

    WifiRadio(const WifiRadio&) = delete;
    WifiRadio& operator=(const WifiRadio&) = delete;

  private:
    static IWifiStateChangeNotification& Observer()
    {
        class Poster : public IWifiStateChangeNotification {
          public:
            void OnWifiStateChanged(int32_t state) override
            {
                Events<RadioState>().Post(RadioState{state});
            }
        };
        static Poster& observer = *new Poster;
        return observer;
    }
};

void ShowWifi(const Console& console)
{
    const LibrarySession session;
    const std::string state = WifiRadio::StateName(WifiRadio::State());
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

// Works without the service, and with the library not started.
void Scan(const Console& console)
{
    if (!Wifi().Scan()) {
        throw Failure(ExitStatus::kFailed, "The system has no Wi-Fi interface.");
    }
    console.Report({{"requested", true}},
                   "A scan was requested on the system's first Wi-Fi interface. Its outcome is not "
                   "known here; scanning may need the right to administer networks.");
}

class WifiPoster : public IWifiStateChangeNotification, public WifiRealMonitorStateCallBack {
  public:
    void OnWifiStateChanged(int32_t state) override
    {
        const std::string name = WifiRadio::StateName(state);
        Events<WatchedEvent>().Post({{{"event", "switch"}, {"state", name}}, "Wi-Fi is " + name});
    }
    void OnConnectChannel(int32_t channel) override
    {
        Events<WatchedEvent>().Post({{{"event", "phone"}, {"channel", channel}},
                                     channel != 0
                                         ? "the phone's connection is on " + ChannelText(channel)
                                         : "the phone has no connection"});
    }
};

/// Registers a poster that is never destroyed, as a listener for the channel cannot be
/// unregistered.
struct WifiListener {
    WifiListener()
    {
        static WifiPoster& poster = *new WifiPoster;
        if (!Wifi().RegistWifiStateChangeCallback(&poster)) {
            FailForNoAnswer("watch Wi-Fi");
        }
        Wifi().RegistWifiStateChangeCallBack(&poster);
    }
};

}  // namespace

void AddWifiCommand(CLI::App& program, const Console& console)
{
    CLI::App* const wifi =
        program.add_subcommand("wifi", "Wi-Fi: on and off, its channels and those of the phone");
    wifi->require_subcommand(1);
    wifi->footer(
        "Examples:\n"
        "  pelaconctl wifi off && pelaconctl wifi on --wait 30\n"
        "  pelaconctl wifi channels --json | jq '.pc.channels5G'\n"
        "  pelaconctl wifi phone --clear --add 1,6,36,149 --current 36\n"
        "  pelaconctl wifi watch\n");
    wifi->add_subcommand("status",
                         "Show whether Wi-Fi is on, and the network that it is connected to")
        ->callback([&console] { ShowWifi(console); });
    AddSwitch<WifiRadio>(*wifi, "Wi-Fi", console);
    AddWifiChannels(*wifi, console);
    wifi->add_subcommand("scan", "Request a scan from the system, without the service")
        ->callback([&console] { Scan(console); });
    AddWatch<WifiListener>(*wifi, "Show changes of the Wi-Fi state and of the phone's channel",
                           console);
}

}  // namespace pelacon::ctl
