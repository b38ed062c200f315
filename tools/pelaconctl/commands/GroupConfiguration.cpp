// pelaconctl group config, interface, hold.
#include <PelaconSDK/Vod2dApi.h>
#include <tools/pelaconctl/WifiCommon.h>
#include <tools/pelaconctl/commands/Kit.h>

namespace pelacon::ctl {

namespace {

constexpr std::size_t kBlobSize = sizeof Vod2dWifiCfgEvent::blob;

std::int32_t TypeOf(const std::string& role)
{
    return role == "owner" ? kSelfCfgGroupOwner : kSelfCfgStation;
}

void ShowConfiguration(const std::string& role, const Console& console)
{
    const LibrarySession session;
    std::uint8_t blob[kBlobSize];
    std::int32_t length = 0;
    CheckWifi(Vod2dGetSelfWifiCfgInfo(static_cast<SelfCfgType>(TypeOf(role)), blob, &length),
              "read the configuration", {{kWifiNotFound, "There is no such configuration."}});
    const std::span bytes(blob, static_cast<std::size_t>(length));
    const std::string text(bytes.begin(), bytes.end());
    const bool isText = Printable(text) == text;
    console.Report({{"role", role}, {"data", protocol::HexText(bytes)}},
                   isText ? text : protocol::HexText(bytes));
}

void SetConfiguration(const std::string& role, std::vector<std::uint8_t> bytes,
                      const Console& console)
{
    if (bytes.size() > kBlobSize) {
        throw Failure(ExitStatus::kUsage, "A configuration has at most 512 bytes; this one has " +
                                              std::to_string(bytes.size()) + ".");
    }
    const LibrarySession session;
    const auto length = static_cast<std::int32_t>(bytes.size());
    bytes.resize(kBlobSize);
    CheckWifi(Vod2dSetPeerWifiCfgInfo(static_cast<PeerCfgType>(TypeOf(role)), bytes.data(), length),
              "set the configuration");
    bytes.resize(static_cast<std::size_t>(length));
    console.Report({{"role", role}, {"data", protocol::HexText(bytes)}},
                   "Other programs now read it as their own configuration.");
}

void ShowCoexistence(const Console& console)
{
    const LibrarySession session;
    char capability[256];
    std::int32_t length = 0;
    CheckWifi(Vod2dGetIfaceCoexistCap(capability, &length), "read the coexistence capability");
    const std::string text = Printable({capability, static_cast<std::size_t>(length)});
    console.Report({{"coexistence", text}}, "Coexistence: " + text);
}

void ShowInterface(const std::string& name, std::optional<std::int32_t> scene,
                   const Console& console)
{
    const LibrarySession session;
    const auto length = static_cast<std::int32_t>(name.size());
    char guid[39] = {};
    CheckWifi(GetGuidByInterfaceName(name.c_str(), length, sizeof guid, guid), "find the interface",
              {{kWifiNotFound, "There is no interface \"" + Printable(name) + "\"."}});
    if (scene) {
        std::string copy = name;
        CheckWifi(Vod2dSetUpperScene(copy.data(), length, {{}, *scene}), "set the scene");
    }
    const std::string text = Printable(protocol::TextIn(guid));
    console.Report({{"name", name}, {"guid", text}}, text);
}

/// No event is ever posted: the command waits for Ctrl-C or the end of its time.
struct NoEvent {};

void HoldLink(std::optional<double> seconds, const Console& console)
{
    const LibrarySession session;
    const UntilInterrupt interrupt([] { Events<NoEvent>().Close(); });
    CheckWifi(Vod2dOrvidSharedlinkIncrease(), "count one more user of the link");
    console.Report(
        {{"holding", true}},
        "Holding the link: other programs cannot remove the group. Press Ctrl-C to stop.");
    Events<NoEvent>().Next(After(seconds));
    CheckWifi(Vod2dOrvidSharedlinkDecrease(), "count one user of the link less");
    console.Report({{"holding", false}}, "The link was released.");
}

void AddConfig(CLI::App& group, const Console& console)
{
    struct Options {
        std::string role;
        std::optional<std::string> text;
        std::optional<std::string> hex;
    };
    const auto options = std::make_shared<Options>();
    CLI::App* const config = group.add_subcommand(
        "config", "Show this device's configuration, or set that of the peers");
    config
        ->add_option("ROLE", options->role,
                     "The role that the configuration is for: owner or station")
        ->required()
        ->check(CLI::IsMember({"owner", "station"}));
    CLI::Option* const text = config->add_option("--set", options->text, "Set it to this text");
    config->add_option("--set-hex", options->hex, "Set it to these bytes, in hexadecimal")
        ->excludes(text);
    config->callback([&console, options] {
        if (options->text) {
            SetConfiguration(options->role, {options->text->begin(), options->text->end()},
                             console);
        } else if (options->hex) {
            SetConfiguration(options->role, ParseHex(*options->hex), console);
        } else {
            ShowConfiguration(options->role, console);
        }
    });
}

void AddInterface(CLI::App& group, const Console& console)
{
    struct Options {
        std::optional<std::string> name;
        std::optional<std::int32_t> scene;
    };
    const auto options = std::make_shared<Options>();
    CLI::App* const interfaces = group.add_subcommand(
        "interface", "Show an interface's GUID; without a name, the interfaces' coexistence");
    CLI::Option* const name =
        interfaces->add_option("NAME", options->name, "The interface, such as wlan0");
    interfaces
        ->add_option("--scene", options->scene,
                     "Set the number of the scene that the interface is used for")
        ->needs(name);
    interfaces->callback([&console, options] {
        if (options->name) {
            ShowInterface(*options->name, options->scene, console);
        } else {
            ShowCoexistence(console);
        }
    });
}

}  // namespace

void AddGroupConfiguration(CLI::App& group, const Console& console)
{
    AddConfig(group, console);
    AddInterface(group, console);

    const auto seconds = std::make_shared<std::optional<double>>();
    CLI::App* const hold = group.add_subcommand(
        "hold", "Use the group's link until Ctrl-C, so that others cannot remove the group");
    AddSeconds(*hold, *seconds);
    hold->callback([&console, seconds] { HoldLink(*seconds, console); });
}

}  // namespace pelacon::ctl
