// pelaconctl service stack: how the simulated stack behaves.
#include <tools/pelaconctl/commands/Kit.h>

namespace pelacon::ctl {

namespace {

/// `fields` are those of the command: the operation, and how the stack does it.
void Set(Json& fields, const Console& console)
{
    const std::string operation = fields.value("operation", "");
    const bool isReset = fields.size() == 1;
    fields["command"] = "stack.set";
    Control(fields);
    console.Report({{"operation", operation}},
                   isReset
                       ? "The stack does this at once again, and without failure."
                       : "The stack behaves like this now. End it with: pelaconctl service stack "
                         "set " +
                             operation);
}

void AddSet(CLI::App& stack, const Console& console)
{
    CLI::App* const set = stack.add_subcommand(
        "set", "Change how the stack does an operation; without options it does it at once again");
    const auto fields = std::make_shared<Json>();
    AddField<std::string>(*set, "OPERATION", *fields, "operation",
                          "What programs have the stack do:\n"
                          "switch       switch the adapter on or off\n"
                          "rename       change the adapter's name\n"
                          "advertise    start to advertise, also after a pause\n"
                          "scan         start a scan, or change its policy\n"
                          "showService  show a GATT service to peers\n"
                          "switchWifi   switch Wi-Fi on or off\n"
                          "createGroup  create a group or the soft AP\n"
                          "moveGroup    move it to another channel")
        ->required();
    AddField<std::int64_t>(*set, "--ms", *fields, "ms", "Milliseconds until it is done, or fails");
    AddField<std::string>(*set, "--fails", *fields, "fails",
                          "Fail, for this reason: no-adapter, off, blocked, not-permitted, "
                          "limit-reached or failed");
    AddField<std::int64_t>(*set, "--ends-after", *fields, "endsAfterMs",
                           "End by itself this many milliseconds after its start: advertise and "
                           "scan");
    AddField<std::uint64_t>(*set, "--times", *fields, "times",
                            "Only this many times; always by default");
    set->callback([&console, fields] { Set(*fields, console); });
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
        "stack",
        "Make the simulated Bluetooth or Wi-Fi stack slow or fail, to test an application");
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
