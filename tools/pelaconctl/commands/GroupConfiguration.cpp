// pelaconctl group config, interface, hold.
#include <PelaconSDK/Vod2dApi.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Interrupt.h>
#include <tools/pelaconctl/Mailbox.h>
#include <tools/pelaconctl/OptionValues.h>
#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/WifiText.h>
#include <tools/pelaconctl/commands/GroupParts.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace pelacon::ctl {

namespace {

constexpr std::size_t kBlobSize = 512;

std::int32_t TypeOf(const std::string& role)
{
    return role == "owner" ? kSelfCfgGroupOwner : kSelfCfgStation;
}

void ShowConfiguration(const std::string& role, const Console& console)
{
    const Session session;
    std::uint8_t blob[kBlobSize];
    std::int32_t length = 0;
    const WifiErrorCode result =
        Vod2dGetSelfWifiCfgInfo(static_cast<SelfCfgType>(TypeOf(role)), blob, &length);
    if (result == kWifiNotFound) {
        throw Failure(ExitStatus::kFailed, "There is no such configuration.");
    }
    CheckWifi(result, "read the configuration");
    const std::span bytes(blob, static_cast<std::size_t>(length));
    const std::string text(bytes.begin(), bytes.end());
    const bool isText = Printable(text) == text;
    console.Report({{"role", role}, {"data", FormatHex(bytes)}}, isText ? text : FormatHex(bytes));
}

void SetConfiguration(const std::string& role, std::vector<std::uint8_t> bytes,
                      const Console& console)
{
    if (bytes.size() > kBlobSize) {
        throw Failure(ExitStatus::kUsage, "A configuration has 512 bytes at most; this one has " +
                                              std::to_string(bytes.size()) + ".");
    }
    const Session session;
    const auto length = static_cast<std::int32_t>(bytes.size());
    bytes.resize(kBlobSize);
    CheckWifi(Vod2dSetPeerWifiCfgInfo(static_cast<PeerCfgType>(TypeOf(role)), bytes.data(), length),
              "set the configuration");
    bytes.resize(static_cast<std::size_t>(length));
    console.Report({{"role", role}, {"data", FormatHex(bytes)}},
                   "Other programs read it as their own now.");
}

void ShowCoexistence(const Console& console)
{
    const Session session;
    char capability[256];
    std::int32_t length = 0;
    CheckWifi(Vod2dGetIfaceCoexistCap(capability, &length), "say what can work side by side");
    const std::string text = Printable({capability, static_cast<std::size_t>(length)});
    console.Report({{"coexistence", text}}, "Side by side: " + text);
}

void ShowInterface(const std::string& name, std::optional<std::int32_t> scene,
                   const Console& console)
{
    const Session session;
    const auto length = static_cast<std::int32_t>(name.size());
    char guid[39] = {};
    const WifiErrorCode result = GetGuidByInterfaceName(name.c_str(), length, sizeof guid, guid);
    if (result == kWifiNotFound) {
        throw Failure(ExitStatus::kFailed, "There is no interface \"" + Printable(name) + "\".");
    }
    CheckWifi(result, "find the interface");
    if (scene) {
        std::string copy = name;
        CheckWifi(Vod2dSetUpperScene(copy.data(), length, {{}, *scene}), "set the scene");
    }
    const std::string text = Printable(FieldText(guid));
    console.Report({{"name", name}, {"guid", text}}, text);
}

/// Nothing is posted here: it is only waited on.
Mailbox<int>& Ending()
{
    static auto& ending = *new Mailbox<int>;
    return ending;
}

void HoldLink(std::optional<double> seconds, const Console& console)
{
    const Session session;
    const UntilInterrupt interrupt([] { Ending().Close(); });
    CheckWifi(Vod2dOrvidSharedlinkIncrease(), "count one more use of the link");
    console.Report({{"holding", true}}, "Holding the link: the group is not removed by others.");
    Ending().Next(After(seconds));
    CheckWifi(Vod2dOrvidSharedlinkDecrease(), "count one use of the link less");
    console.Report({{"holding", false}}, "Let go.");
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
        "config", "Show this device's configuration, or set the one of the other programs");
    config->add_option("ROLE", options->role, "For whom: the group's owner, or a station")
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
        "interface", "Show an interface's GUID; without a name, what can work side by side");
    CLI::Option* const name = interfaces->add_option("NAME", options->name, "Such as wlan0");
    interfaces->add_option("--scene", options->scene, "Say what it is used for: a number")
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
        "hold", "Use the group's link until Ctrl-C, so that others do not remove it");
    hold->add_option("--seconds", *seconds, "End after so many seconds")->check(NotNegative());
    hold->callback([&console, seconds] { HoldLink(*seconds, console); });
}

}  // namespace pelacon::ctl
