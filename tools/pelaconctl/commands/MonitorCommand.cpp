// pelaconctl monitor: every notification that the service sends, one line each.
#include <protocol/Operation.h>
#include <tools/pelaconctl/Notifications.h>
#include <tools/pelaconctl/commands/Kit.h>

namespace pelacon::ctl {

namespace {

/// How often Ctrl-C and the end of the time are checked.
constexpr auto kIdle = std::chrono::milliseconds(50);

/// The column of names: as wide as the longest name, and a gap.
constexpr std::size_t kNameWidth = 28;

void ShowNotification(const TagIPCMessageItem& item, const Console& console)
{
    const auto now = std::chrono::system_clock::now();
    const std::string name = NotificationName(item.msgId);
    const std::span<const std::uint8_t> payload(item.message, item.length);
    const Json fields = NotificationFields(item.msgId, payload);
    const std::string bytes = protocol::HexText(payload);
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

void AddMonitorCommand(CLI::App& program, const Console& console)
{
    CLI::App* const monitor = program.add_subcommand(
        "monitor", "Show each notification that the service sends to a client, until Ctrl-C");
    monitor->footer(
        "Each line shows the time, the name and the fields; with --json the bytes as well. A\n"
        "notification to several clients is shown once for each of them.\n"
        "\n"
        "Examples:\n"
        "  pelaconctl monitor\n"
        "  pelaconctl monitor --seconds 10 | grep ScanResult\n"
        "  pelaconctl monitor --json | jq -r 'select(.name == \"BtStateChanged\") | .fields'\n");
    const auto seconds = std::make_shared<std::optional<double>>();
    AddSeconds(*monitor, *seconds);
    monitor->callback([&console, seconds] { Monitor(*seconds, console); });
}

}  // namespace pelacon::ctl
