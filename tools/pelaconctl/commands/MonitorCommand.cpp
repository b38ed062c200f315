// pelaconctl monitor: every notification that the service sends, one line each.
#include <IPCMessage/IPCControl.h>
#include <protocol/Operation.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Interrupt.h>
#include <tools/pelaconctl/Mailbox.h>
#include <tools/pelaconctl/Session.h>
#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/commands/Commands.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>

namespace pelacon::ctl {

namespace {

constexpr auto kLookAround = std::chrono::milliseconds(100);

void ShowNotification(const TagIPCMessageItem& item, const Console& console)
{
    const std::string id = FormatMessageId(item.msgId);
    const std::string payload = FormatHex({item.message, item.length});
    console.Report({{"id", id}, {"payload", payload}}, id + "  " + payload);
}

void Monitor(std::optional<double> seconds, const Console& console)
{
    const UntilInterrupt interrupt;
    const auto end = After(seconds);
    const auto visit = [&](const TagIPCMessageItem* item) {
        if (item != nullptr) {
            ShowNotification(*item, console);
        }
        return !interrupt.Happened() && (!end || std::chrono::steady_clock::now() < *end);
    };
    IPCControlError error{};
    if (!IPCWatchNotifications(protocol::kServicePipe, kLookAround, visit, error)) {
        throw FailureOf(error);
    }
}

}  // namespace

void AddMonitorCommand(CLI::App& program, Console& console)
{
    CLI::App* const monitor = program.add_subcommand(
        "monitor", "Watch what the service tells its clients, one line each, until Ctrl-C");
    monitor->footer(
        "Examples:\n"
        "  pelaconctl monitor\n"
        "  pelaconctl monitor --seconds 10 --json | jq .id\n");
    const auto seconds = std::make_shared<std::optional<double>>();
    monitor->add_option("--seconds", *seconds, "End after so many seconds")
        ->check(CLI::NonNegativeNumber);
    monitor->callback([&console, seconds] { Monitor(*seconds, console); });
}

}  // namespace pelacon::ctl
