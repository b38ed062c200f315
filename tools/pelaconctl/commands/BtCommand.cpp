// pelaconctl bt: the Bluetooth adapter.
#include <PelaconSDK/BleManager.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Mailbox.h>
#include <tools/pelaconctl/OptionValues.h>
#include <tools/pelaconctl/Session.h>
#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/commands/Commands.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>
#include <string>

namespace pelacon::ctl {

namespace {

constexpr std::size_t kLongestName = sizeof(BtInfo::name);

BtRunningState State()
{
    const BtRunningState state = GetBtRunningState();
    if (state == kBtStateUnknown) {
        FailForNoAnswer("read the adapter's state");
    }
    return state;
}

void ShowBluetooth(const Console& console)
{
    const Session session;
    BtInfo info{};
    Check(GetBtMacAndName(&info), "read the adapter's address and name");
    const std::string_view field(info.name, sizeof info.name);
    const std::string name(field.substr(0, field.find('\0')));
    const std::string state = BtStateName(State());
    console.Report({{"state", state}, {"name", name}, {"address", FormatAddress(info.mac)}},
                   "Bluetooth is " + console.Styled(Console::Style::kBold, state) + ".\n" +
                       "Name     " + Printable(name) + "\n" + "Address  " +
                       FormatAddress(info.mac));
}

/// Where state changes go while a command waits for one.
Mailbox<std::int32_t>& StateChanges()
{
    static auto& changes = *new Mailbox<std::int32_t>;
    return changes;
}

/// Hears of state changes as long as it lives.
class StateWatch {
  public:
    StateWatch() { Check(RegisterBtStateChangeCallbacks(&table_), "follow the adapter's state"); }
    ~StateWatch() { UnRegisterBtStateChangeCallbacks(&table_); }

    StateWatch(const StateWatch&) = delete;
    StateWatch& operator=(const StateWatch&) = delete;

  private:
    BtManagerCallbacksC table_{[](std::int32_t state) { StateChanges().Post(state); }};
};

struct Switch {
    BtRunningState wanted;
    BleStatusC (*request)();
    const char* name;
};

constexpr Switch kOn{kBtStateOn, &BtEnable, "on"};
constexpr Switch kOff{kBtStateOff, &BtDisable, "off"};

/// Asks for the change and waits until the adapter has made it.
void SwitchTo(const Switch& change, double seconds, const Console& console)
{
    const Session session;
    const auto report = [&](const std::string& line) {
        console.Report({{"state", change.name}}, "Bluetooth is " + line + ".");
    };
    const std::string name = change.name;
    if (State() == change.wanted) {
        return report(name + " already");
    }
    const StateWatch watch;
    Check(change.request(), "switch Bluetooth " + name);
    const auto deadline = After(seconds);
    std::int32_t state = State();
    while (state != change.wanted) {
        const auto next = StateChanges().Next(deadline);
        if (!next) {
            throw Failure(ExitStatus::kNoAnswer, "Bluetooth is still " + BtStateName(state) +
                                                     ", though the request to switch it " + name +
                                                     " was accepted.");
        }
        state = *next;
    }
    report(name);
}

void ShowName(const Console& console)
{
    const Session session;
    std::string name;
    Check(BleManager::GetBtName(name), "read the adapter's name");
    console.Report({{"name", name}}, Printable(name));
}

void SetName(const std::string& name, const Console& console)
{
    if (name.empty() || name.size() > kLongestName) {
        throw Failure(ExitStatus::kUsage, "A name has 1 to 64 bytes; this one has " +
                                              std::to_string(name.size()) + ".");
    }
    const Session session;
    Check(BleManager::SetBtName(name), "name the adapter");
    console.Report({{"name", name}}, "The adapter is now called \"" + name + "\".");
}

void ShowConnected(const std::string& addressText, bool classic, const Console& console)
{
    const std::uint64_t address = ParseAddress(addressText);
    const Session session;
    const DeviceConnectStatus status =
        IsDeviceConnected(address, classic ? kBluetoothClassic : kBluetoothLe);
    if (status == kDeviceConnectUnknown) {
        FailForNoAnswer("look for a connection");
    }
    const bool connected = status == kDeviceConnected;
    console.Report({{"address", FormatAddress(address)}, {"connected", connected}},
                   FormatAddress(address) + (connected ? " is connected." : " is not connected."));
}

}  // namespace

void AddBtCommand(CLI::App& program, Console& console)
{
    CLI::App* const bt = program.add_subcommand("bt", "The Bluetooth adapter: state and name");
    bt->require_subcommand(1);
    bt->footer(
        "Examples:\n"
        "  pelaconctl bt status\n"
        "  pelaconctl bt on && pelaconctl bt name \"Front desk\"\n"
        "  pelaconctl bt connected 5C:F3:70:8B:12:34\n");

    bt->add_subcommand("status", "Show whether the adapter is on, its name and its address")
        ->callback([&console] { ShowBluetooth(console); });

    for (const Switch* change : {&kOn, &kOff}) {
        const auto seconds = std::make_shared<double>(10.0);
        CLI::App* const command =
            bt->add_subcommand(change->name, std::string("Switch the adapter ") + change->name +
                                                 " and wait until it is");
        command->add_option("--wait", *seconds, "Seconds to wait for the change")
            ->capture_default_str()
            ->check(NotNegative());
        command->callback([&console, change, seconds] { SwitchTo(*change, *seconds, console); });
    }

    const auto name = std::make_shared<std::string>();
    CLI::App* const nameCommand = bt->add_subcommand("name", "Show the adapter's name, or set it");
    const CLI::Option* const newName =
        nameCommand->add_option("NEW", *name, "The new name: 1 to 64 bytes of UTF-8");
    nameCommand->callback([&console, name, newName] {
        newName->count() > 0 ? SetName(*name, console) : ShowName(console);
    });

    const auto address = std::make_shared<std::string>();
    const auto classic = std::make_shared<bool>(false);
    CLI::App* const connected =
        bt->add_subcommand("connected", "Tell whether a device is connected");
    connected->add_option("ADDRESS", *address, "The device, such as 5C:F3:70:8B:12:34")->required();
    connected->add_flag("--classic", *classic, "Ask about Bluetooth Classic, not Low Energy");
    connected->callback(
        [&console, address, classic] { ShowConnected(*address, *classic, console); });
}

}  // namespace pelacon::ctl
