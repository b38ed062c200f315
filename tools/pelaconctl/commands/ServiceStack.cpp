// pelaconctl service stack: how the simulated Bluetooth stack behaves.
#include <tools/pelaconctl/commands/Kit.h>

#include <utility>

namespace pelacon::ctl {

namespace {

/// The options of `stack set`: the fields of the behaviour.
struct StackOptions {
    std::string operation;
    std::optional<std::int64_t> ms;
    std::optional<std::string> why;
    std::optional<std::int64_t> endsAfterMs;
    std::optional<std::uint64_t> times;

    bool IsEmpty() const { return !ms && !why && !endsAfterMs && !times; }
};

void Set(const StackOptions& options, const Console& console)
{
    Json command{{"command", "stack.set"}, {"operation", options.operation}};
    if (options.ms) {
        command["ms"] = *options.ms;
    }
    if (options.why) {
        command["fails"] = *options.why;
    }
    if (options.endsAfterMs) {
        command["endsAfterMs"] = *options.endsAfterMs;
    }
    if (options.times) {
        command["times"] = *options.times;
    }
    Control(command);
    console.Report({{"operation", options.operation}},
                   options.IsEmpty()
                       ? "The stack does this at once again, and without failure."
                       : "The stack behaves like this now. End it with: pelaconctl service stack "
                         "set " +
                             options.operation);
}

void AddSet(CLI::App& stack, const Console& console)
{
    CLI::App* const set = stack.add_subcommand(
        "set", "Change how the stack does an operation; without options it does it at once again");
    const auto options = std::make_shared<StackOptions>();
    set->add_option("OPERATION", options->operation,
                    "What programs have the stack do:\n"
                    "switch       switch the adapter on or off\n"
                    "rename       change the adapter's name\n"
                    "advertise    start to advertise, also after a pause\n"
                    "scan         start a scan, or change its policy\n"
                    "showService  show a GATT service to peers")
        ->required();
    set->add_option("--ms", options->ms, "Milliseconds until it is done, or fails");
    set->add_option("--fails", options->why,
                    "Fail, for this reason: no-adapter, off, blocked, not-permitted, "
                    "limit-reached or failed");
    set->add_option("--ends-after", options->endsAfterMs,
                    "End by itself this many milliseconds after its start: advertise and scan");
    set->add_option("--times", options->times, "Only this many times; always by default");
    set->callback([&console, options] { Set(*options, console); });
}

void AddEnd(CLI::App& stack, const Console& console)
{
    CLI::App* const end =
        stack.add_subcommand("end", "End all advertising or all scans, as a stack does by itself");
    const auto operation = std::make_shared<std::string>();
    end->add_option("OPERATION", *operation, "advertise or scan")->required();
    end->callback([&console, operation] {
        const Json answer = Control({{"command", "stack.end"}, {"operation", *operation}});
        console.Report(answer, "Ended: " + answer.at("ended").dump());
    });
}

}  // namespace

void AddServiceStack(CLI::App& service, const Console& console)
{
    CLI::App* const stack = service.add_subcommand(
        "stack", "Make the simulated Bluetooth stack slow or fail, to test an application");
    stack->require_subcommand(1);
    stack->footer(
        "Examples:\n"
        "  pelaconctl service stack set advertise --fails limit-reached --times 1\n"
        "  pelaconctl service stack set scan --ms 2000 --ends-after 10000\n"
        "  pelaconctl service stack set switch --fails not-permitted\n"
        "  pelaconctl service stack set switch\n"
        "  pelaconctl service stack end advertise\n");
    AddSet(*stack, console);
    AddEnd(*stack, console);
}

}  // namespace pelacon::ctl
