// pelaconctl monitor: every notification that the service sends, one line each.
#include <protocol/Operation.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Control.h>
#include <tools/pelaconctl/Interrupt.h>
#include <tools/pelaconctl/Mailbox.h>
#include <tools/pelaconctl/Notifications.h>
#include <tools/pelaconctl/OptionValues.h>
#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/commands/Commands.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace pelacon::ctl {

namespace {

/// How soon Ctrl-C and the end of the time are noticed.
constexpr auto kIdle = std::chrono::milliseconds(50);

/// Names in a column of their own, as wide as the longest of them.
constexpr std::size_t kNameWidth = 28;

void ShowNotification(const TagIPCMessageItem& item, const Console& console)
{
    const auto now = std::chrono::system_clock::now();
    const std::string name = NotificationName(item.msgId);
    const std::span<const std::uint8_t> payload(item.message, item.length);
    const nlohmann::ordered_json fields = NotificationFields(item.msgId, payload);
    const std::string bytes = FormatHex(payload);
    const std::string padding(name.size() < kNameWidth ? kNameWidth - name.size() : 1, ' ');
    console.Report({{"time", FormatTime(now)},
                    {"name", name},
                    {"id", FormatMessageId(item.msgId)},
                    {"fields", fields},
                    {"payload", bytes}},
                   console.Styled(Console::Style::kDim, FormatClock(now)) + "  " +
                       console.Styled(Console::Style::kBold, name) + padding +
                       (fields.is_null() ? bytes : FieldsLine(fields)));
}

void Monitor(std::optional<double> seconds, const Console& console)
{
    const UntilInterrupt interrupt;
    const std::optional<Deadline> end = After(seconds);
    const auto visit = [&](const TagIPCMessageItem* item) {
        if (item != nullptr) {
            ShowNotification(*item, console);
        }
        return !interrupt.Happened() && (!end || std::chrono::steady_clock::now() < *end);
    };
    IPCControlError error{};
    if (!IPCWatchNotifications(protocol::kServicePipe, kIdle, visit, error)) {
        throw FailureOf(error);
    }
}

}  // namespace

void AddMonitorCommand(CLI::App& program, Console& console)
{
    CLI::App* const monitor = program.add_subcommand(
        "monitor", "Watch what the service tells its clients, one line each, until Ctrl-C");
    monitor->footer(
        "Each line shows when, what and its fields; with --json the bytes as well. What is sent\n"
        "to several clients shows once for each of them.\n"
        "\n"
        "Examples:\n"
        "  pelaconctl monitor\n"
        "  pelaconctl monitor --seconds 10 | grep ScanResult\n"
        "  pelaconctl monitor --json | jq -r 'select(.name == \"BtStateChanged\") | .fields'\n");
    const auto seconds = std::make_shared<std::optional<double>>();
    monitor->add_option("--seconds", *seconds, "End after so many seconds")->check(NotNegative());
    monitor->callback([&console, seconds] { Monitor(*seconds, console); });
}

}  // namespace pelacon::ctl
