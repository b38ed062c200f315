// pelaconctl bt: the Bluetooth adapter.
#include <PelaconSDK/BleManager.h>
#include <tools/pelaconctl/RadioSwitch.h>
#include <tools/pelaconctl/commands/Kit.h>

namespace pelacon::ctl {

namespace {

constexpr std::size_t kLongestName = sizeof(BtInfo::name);

/// The adapter, for RadioSwitch.h.
class BluetoothRadio {
  public:
    static constexpr const char* kName = "Bluetooth";
    static constexpr std::int32_t kOn = kBtStateOn;
    static constexpr std::int32_t kOff = kBtStateOff;

    static std::int32_t State()
    {
        const BtRunningState state = GetBtRunningState();
        if (state == kBtStateUnknown) {
            FailForNoAnswer("read the adapter's state");
        }
        return state;
    }
    static std::string StateName(std::int32_t state) { return BtStateName(state); }
    static void Request(bool on)
    {
        Check(on ? BtEnable() : BtDisable(),
              std::string("switch Bluetooth ") + (on ? "on" : "off"));
    }

    BluetoothRadio()
    {
        Check(RegisterBtStateChangeCallbacks(&table_), "follow the adapter's state");
    }
    ~BluetoothRadio() { UnRegisterBtStateChangeCallbacks(&table_); }

    BluetoothRadio(const BluetoothRadio&) = delete;
    BluetoothRadio& operator=(const BluetoothRadio&) = delete;

  private:
    BtManagerCallbacksC table_{
        [](std::int32_t state) { Events<RadioState>().Post(RadioState{state}); }};
};

void ShowBluetooth(const Console& console)
{
    const LibrarySession session;
    BtInfo info{};
    Check(GetBtMacAndName(&info), "read the adapter's address and name");
    const std::string name(protocol::TextIn(info.name));
    const std::string state = BtStateName(BluetoothRadio::State());
    console.Report({{"state", state}, {"name", name}, {"address", protocol::AddressText(info.mac)}},
                   "Bluetooth is " + console.Styled(Console::Style::kBold, state) + "." +
                       console.Rows({{"Name", Printable(name)},
                                     {"Address", protocol::AddressText(info.mac)}}));
}

void ShowName(const Console& console)
{
    const LibrarySession session;
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
    const LibrarySession session;
    Check(BleManager::SetBtName(name), "name the adapter");
    console.Report({{"name", name}}, "The adapter is now called \"" + name + "\".");
}

void ShowConnected(const std::string& addressText, bool classic, const Console& console)
{
    const std::uint64_t address = ParseAddress(addressText);
    const LibrarySession session;
    const DeviceConnectStatus status =
        IsDeviceConnected(address, classic ? kBluetoothClassic : kBluetoothLe);
    if (status == kDeviceConnectUnknown) {
        FailForNoAnswer("check the connection");
    }
    const bool connected = status == kDeviceConnected;
    console.Report(
        {{"address", protocol::AddressText(address)}, {"connected", connected}},
        protocol::AddressText(address) + (connected ? " is connected." : " is not connected."));
}

}  // namespace

void AddBtCommand(CLI::App& program, const Console& console)
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

    AddSwitch<BluetoothRadio>(*bt, "the adapter", console);

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
        bt->add_subcommand("connected", "Show whether a device is connected");
    connected->add_option("ADDRESS", *address, "The device, such as 5C:F3:70:8B:12:34")->required();
    connected->add_flag("--classic", *classic,
                        "A connection over Bluetooth Classic, not Low Energy");
    connected->callback(
        [&console, address, classic] { ShowConnected(*address, *classic, console); });
}

}  // namespace pelacon::ctl
