// pelaconctl ap rename, move, refresh, restart, device.
#include <protocol/SoftAp.h>
#include <tools/pelaconctl/Spinner.h>
#include <tools/pelaconctl/WifiCommon.h>
#include <tools/pelaconctl/commands/Kit.h>

#include <list>

namespace pelacon::ctl {

namespace {

constexpr std::size_t kMaxModel = protocol::kLongestModelName;

void RequireSoftAp()
{
    if (!Wifi().CheckMySoftAPExist()) {
        ProbeService();
        throw Failure(ExitStatus::kFailed,
                      "There is no soft AP. Create one with: pelaconctl ap create");
    }
}

void Rename(const Console& console)
{
    const LibrarySession session;
    Wifi().ChangeSSIDAndPasswd();
    const bool exists = Wifi().CheckMySoftAPExist();
    const std::string ssid = Printable(Wifi().GetSSID());
    if (ssid.empty()) {
        FailForNoAnswer("rename the soft AP");
    }
    console.Report({{"ssid", ssid}, {"fromNow", !exists}},
                   exists ? "The soft AP keeps its name, " + ssid + ", until it is created again."
                          : "The soft AP will be called " + ssid + ".");
}

void ReportChannel(int channel, const std::string& line, const Console& console)
{
    if (channel == 0) {
        ProbeService();
        throw Failure(ExitStatus::kFailed, "No channel is possible.");
    }
    console.Report({{"channel", channel}, {"frequency", Wifi().GetFrequencyFromChannel(channel)}},
                   line + ChannelText(channel) + ".");
}

void Move(const std::string& band, bool onlyShow, const Console& console)
{
    const LibrarySession session;
    const bool want5G = band == "5";
    if (onlyShow) {
        ReportChannel(Wifi().RepickChannelWithoutEffect(want5G), "The soft AP would be on ",
                      console);
        return;
    }
    RequireSoftAp();
    const int channel = Wifi().SetAPFrequence(want5G);
    if (channel != 0 && Wifi().Is5GChannel(channel) != want5G) {
        throw Failure(ExitStatus::kFailed,
                      "No channel is possible in that band: the soft AP is still on " +
                          ChannelText(channel) + ".");
    }
    ReportChannel(channel, "The soft AP is on ", console);
}

void Refresh(const Console& console)
{
    const LibrarySession session;
    RequireSoftAp();
    ReportChannel(Wifi().SystemRefreshSoftAPChannel(), "The soft AP is on ", console);
}

void Restart(bool afterWakeUp, const Console& console)
{
    const LibrarySession session;
    bool restarted = false;
    {
        const Spinner spinner(console, "Restarting the adapter");
        restarted = Wifi().RestartWiFiDirectVirtualAdapter(afterWakeUp);
    }
    if (!restarted) {
        ProbeService();
        throw Failure(ExitStatus::kAdapterOff,
                      "The adapter did not restart. Is Wi-Fi on? See: pelaconctl wifi status");
    }
    const unsigned restarts = Wifi().GetRestartCount();
    const unsigned wakeUps = Wifi().GetWakeUpRestartCount();
    console.Report({{"restarts", restarts}, {"wakeUpRestarts", wakeUps}},
                   "The adapter was restarted. Restarts so far: " + std::to_string(restarts) +
                       ", " + std::to_string(wakeUps) + " of them after a wake-up.");
}

void ResetWakeUps(const Console& console)
{
    const LibrarySession session;
    Wifi().ResetWakeUpCount();
    const unsigned wakeUps = Wifi().GetWakeUpRestartCount();
    ProbeService();
    console.Report({{"wakeUpRestarts", wakeUps}},
                   "The count of restarts after a wake-up was reset.");
}

/// The options of `ap device`.
struct Device {
    std::optional<std::string> model;
    std::vector<std::string> types;
    std::optional<std::string> restartHotspot;
};

void SetDevice(const Device& device)
{
    if (device.model && !Wifi().SetPairDeviceModelName(*device.model)) {
        FailForNoAnswer("set the model's name");
    }
    if (!device.types.empty() &&
        !Wifi().SetListProductType({device.types.begin(), device.types.end()})) {
        ProbeService();
        throw Failure(ExitStatus::kFailed, "PelaconService did not accept these product types.");
    }
    if (device.restartHotspot) {
        Wifi().SetRestartMobileHotpotFlag(*device.restartHotspot == "on");
    }
}

void ShowDevice(const Device& device, const Console& console)
{
    if (device.model && device.model->size() > kMaxModel) {
        throw Failure(ExitStatus::kUsage, "A model's name has at most 255 bytes.");
    }
    const LibrarySession session;
    SetDevice(device);
    std::string model;
    const bool known = Wifi().GetPairDeviceModelName(model);
    const bool restart = Wifi().GetRestartMobileHotpotFlag();
    ProbeService();
    console.Report(
        {{"model", known ? Json(Printable(model)) : Json()}, {"restartHotspot", restart}},
        "The paired device:" + console.Rows({{"Model", known ? Printable(model) : "not known"},
                                             {"Restart hotspot", restart ? "on" : "off"}}));
}

void AddDevice(CLI::App& ap, const Console& console)
{
    const auto device = std::make_shared<Device>();
    CLI::App* const command =
        ap.add_subcommand("device", "Show or set what the service records about the paired device");
    command->add_option("--model", device->model, "Its model's name, at most 255 bytes");
    command
        ->add_option("--types", device->types,
                     "The product types that the soft AP is for, separated by commas")
        ->delimiter(',');
    command
        ->add_option("--restart-hotspot", device->restartHotspot,
                     "Whether the mobile hotspot must be restarted: on or off")
        ->check(CLI::IsMember({"on", "off"}));
    command->callback([&console, device] { ShowDevice(*device, console); });
}

void AddChannel(CLI::App& ap, const Console& console)
{
    const auto band = std::make_shared<std::string>();
    const auto onlyShow = std::make_shared<bool>(false);
    CLI::App* const move = ap.add_subcommand("move", "Move the soft AP to the other band");
    move->add_option("BAND", *band, "2.4 or 5")->required()->check(CLI::IsMember({"2.4", "5"}));
    move->add_flag("--dry-run", *onlyShow, "Only show the channel that it would use");
    move->callback([&console, band, onlyShow] { Move(*band, *onlyShow, console); });

    ap.add_subcommand("refresh", "Choose the soft AP's channel again, in the same band")
        ->callback([&console] { Refresh(console); });
}

void AddAdapter(CLI::App& ap, const Console& console)
{
    const auto afterWakeUp = std::make_shared<bool>(false);
    const auto reset = std::make_shared<bool>(false);
    CLI::App* const restart =
        ap.add_subcommand("restart", "Restart the adapter, which ends the soft AP");
    CLI::Option* const wakeUp =
        restart->add_flag("--wake-up", *afterWakeUp, "Count it as a restart after a wake-up");
    restart
        ->add_flag("--reset-count", *reset,
                   "Do not restart; reset the count of restarts after a wake-up")
        ->excludes(wakeUp);
    restart->callback([&console, afterWakeUp, reset] {
        *reset ? ResetWakeUps(console) : Restart(*afterWakeUp, console);
    });
}

}  // namespace

void AddApSettings(CLI::App& ap, const Console& console)
{
    ap.add_subcommand("rename", "Choose a new name and pass phrase for the soft AP")
        ->callback([&console] { Rename(console); });
    AddChannel(ap, console);
    AddAdapter(ap, console);
    AddDevice(ap, console);
}

}  // namespace pelacon::ctl
