// pelaconctl service: the state of the service, its faults and other commands of its operator.
#include <tools/pelaconctl/Notifications.h>
#include <tools/pelaconctl/commands/Kit.h>

#include <cctype>
#include <thread>

namespace pelacon::ctl {

namespace {

constexpr auto kRetryInterval = std::chrono::milliseconds(50);

std::string Duration(std::int64_t milliseconds)
{
    const std::int64_t seconds = milliseconds / 1000;
    if (seconds < 60) {
        return std::to_string(seconds) + " s";
    }
    const std::int64_t minutes = seconds / 60;
    return minutes < 60
               ? std::to_string(minutes) + " min"
               : std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " min";
}

/// "softAp" -> "Soft ap"
std::string TitleOf(const std::string& name)
{
    std::string title;
    for (const char letter : name) {
        const auto code = static_cast<unsigned char>(letter);
        const bool isUpper = std::isupper(code) != 0;
        title += isUpper && !title.empty() ? " " : "";
        title += static_cast<char>(title.empty() ? std::toupper(code) : std::tolower(code));
    }
    return title;
}

/// The rows of one radio: which stack it is, how it is used, and what is missing.
void AddRadioRows(std::vector<Console::Row>& rows, const std::string& title, const Json& radio)
{
    std::string text = radio.value("kind", "");
    if (radio.contains("stack")) {
        text += ": " + radio.value("stack", "") + ", adapter " + radio.value("adapter", "");
    } else if (radio.contains("state")) {
        text += ": " + radio.value("state", "");
    }
    rows.emplace_back(title, text);
    for (const char* const way : {"reports", "advertising", "switch", "groups"}) {
        if (radio.contains(way)) {
            rows.emplace_back("", std::string(way) + ": " + radio.value(way, ""));
        }
    }
    for (const Json& missing : radio.value("missing", Json::array())) {
        rows.emplace_back("", "missing: " + missing.get<std::string>());
    }
}

/// A row for each part of the status, whatever the parts are: the radios add their own.
std::vector<Console::Row> StatusRows(const Json& status)
{
    std::vector<Console::Row> rows{
        {"Process", std::to_string(status.value("pid", 0)) + ", up for " +
                        Duration(status.value("uptimeMs", std::int64_t{0}))},
        {"World", status.value("world", "") + ", seed " +
                      std::to_string(status.value("seed", std::uint64_t{0}))}};
    const Json radios = status.value("radios", Json::object());
    AddRadioRows(rows, "Bluetooth radio", radios.value("bluetooth", Json::object()));
    AddRadioRows(rows, "Wi-Fi radio", radios.value("wifi", Json::object()));
    for (const auto& [name, value] : status.items()) {
        if (name == "radios") {
            continue;
        }
        if (value.is_object()) {
            rows.emplace_back(TitleOf(name), FieldsLine(value));
        } else if (value.is_array()) {
            rows.emplace_back(TitleOf(name), value.empty() ? "none" : std::to_string(value.size()));
            for (const Json& entry : value) {
                rows.emplace_back("", FieldsLine(entry));
            }
        }
    }
    return rows;
}

Json StatusWithin(std::optional<double> seconds)
{
    const std::optional<Deadline> deadline = After(seconds);
    for (;;) {
        try {
            return Control({{"command", "status"}});
        } catch (const Failure& failure) {
            if (failure.Status() != ExitStatus::kNoService || !deadline ||
                std::chrono::steady_clock::now() > *deadline) {
                throw;
            }
        }
        std::this_thread::sleep_for(kRetryInterval);
    }
}

void AddStatus(CLI::App& service, const Console& console)
{
    CLI::App* const status =
        service.add_subcommand("status", "Show the service's clients, counters, faults and radios");
    const auto wait = std::make_shared<std::optional<double>>();
    status->add_option("--wait", *wait, "Wait up to this many seconds for the service to start")
        ->check(NotNegative());
    status->callback([&console, wait] {
        const Json answer = StatusWithin(*wait);
        const auto width = static_cast<std::size_t>(console.Size().columns);
        console.Report(answer, "PelaconService " + answer.value("version", "") + " is running." +
                                   console.Rows(StatusRows(answer), width));
    });
}

void AddRestart(CLI::App& service, const Console& console)
{
    service.add_subcommand("restart", "Restart: close all connections and discard all state")
        ->callback([&console] {
            Control({{"command", "restart"}});
            console.Report({{"restarted", true}}, "PelaconService has restarted.");
        });
}

void SetFault(const Json& fault, const Console& console)
{
    const Json answer = Control({{"command", "fault.add"}, {"fault", fault}});
    const std::string number = std::to_string(answer.value("number", std::uint64_t{0}));
    console.Report(answer, "Fault " + number +
                               " is in force. End it with: pelaconctl service "
                               "fault clear " +
                               number);
}

void AddFaultSet(CLI::App& fault, const Console& console)
{
    CLI::App* const set = fault.add_subcommand("set", "Make requests fail from now on");
    const auto fields = std::make_shared<Json>();
    AddField<std::string>(*set, "REQUEST", *fields, "request",
                          "An operation's name such as BtEnable, its id such as 0xD7005C, or any")
        ->required();
    AddField<std::string>(*set, "WHAT", *fields, "do",
                          "What happens to the request:\n"
                          "delay       answered after --ms milliseconds\n"
                          "never       not answered\n"
                          "empty       answered without payload\n"
                          "status      refused with the code --status\n"
                          "disconnect  the connection is closed instead\n"
                          "malformed   answered with bytes that are not a frame")
        ->required();
    AddField<std::int64_t>(*set, "--ms", *fields, "ms",
                           "Milliseconds to wait first, with any WHAT");
    AddField<std::int32_t>(*set, "--status", *fields, "status", "The code of the refusal");
    AddField<std::uint64_t>(*set, "--after", *fields, "after", "Skip this many requests first");
    AddField<std::uint64_t>(*set, "--times", *fields, "times",
                            "End after this many failures; never by default");
    AddField<double>(*set, "--probability", *fields, "probability",
                     "Probability for each request, 0 to 1");
    AddField<std::uint64_t>(*set, "--seed", *fields, "seed",
                            "Seed of the probability, to repeat a run");
    set->add_flag_callback(
        "--perform", [fields] { (*fields)["perform"] = true; },
        "Perform the request; only the answer fails");
    set->callback([&console, fields] { SetFault(*fields, console); });
}

void AddFault(CLI::App& service, const Console& console)
{
    CLI::App* const fault = service.add_subcommand(
        "fault", "Make the service answer late, wrongly or not at all, to test an application");
    fault->require_subcommand(1);
    fault->footer(
        "Examples:\n"
        "  pelaconctl service fault set BtEnable never --times 1\n"
        "  pelaconctl service fault set any delay --ms 300 --probability 0.1 --seed 7\n"
        "  pelaconctl service fault set StartBleScan status --status=-7\n"
        "  pelaconctl service fault clear 2\n");
    AddFaultSet(*fault, console);

    fault->add_subcommand("list", "Show the faults in force")->callback([&console] {
        const Json faults = Control({{"command", "fault.list"}}).at("faults");
        if (faults.empty()) {
            console.Say("No faults are in force.");
        }
        for (const Json& entry : faults) {
            console.Report(entry, FieldsLine(entry));
        }
    });

    CLI::App* const clear = fault->add_subcommand("clear", "End one fault, or all of them");
    const auto number = std::make_shared<std::optional<std::uint64_t>>();
    clear->add_option("NUMBER", *number, "The number shown by `fault list`; all by default");
    clear->callback([&console, number] {
        if (*number) {
            Control({{"command", "fault.remove"}, {"number", **number}});
        } else {
            Control({{"command", "fault.clear"}});
        }
        console.Report({{"cleared", true}},
                       *number ? "Fault " + std::to_string(**number) + " has ended."
                               : "No faults are in force any more.");
    });
}

/// Adds a command that acts on clients. Its options add to `fields`. The answer's field `counted`
/// says how many notifications or clients there were, and `line` what they are.
CLI::App* AddClientCommand(CLI::App& service, const std::string& name,
                           const std::string& description, const char* counted,
                           const std::string& line, const std::shared_ptr<Json>& fields,
                           const Console& console)
{
    CLI::App* const command = service.add_subcommand(name, description);
    CLI::Option* const client =
        AddField<std::uint64_t>(*command, "--client", *fields, "client",
                                "Only this client, numbered as in `service status`");
    AddField<std::uint32_t>(*command, "--pid", *fields, "pid", "Only the clients of this process")
        ->excludes(client);
    command->callback([&console, name, counted, line, fields] {
        (*fields)["command"] = name;
        const Json answer = Control(*fields);
        console.Report(answer, line + ": " + answer.at(counted).dump());
    });
    return command;
}

void AddNotificationOptions(CLI::App& command, Json& fields)
{
    AddField<std::string>(command, "NOTIFICATION", fields, "id",
                          "Its name such as BtStateChanged, or its id such as 0xD80062")
        ->required();
    AddField<std::string>(command, "--payload", fields, "payload",
                          "Its bytes in hexadecimal; by default its record filled with zeros");
}

void AddClientCommands(CLI::App& service, const Console& console)
{
    const auto fields = std::make_shared<Json>();  // only one of these commands is run
    AddNotificationOptions(
        *AddClientCommand(service, "notify", "Send clients a notification without a cause", "sent",
                          "Notifications sent", fields, console),
        *fields);

    CLI::App* const flood =
        AddClientCommand(service, "flood", "Send clients many notifications at once", "sent",
                         "Notifications sent", fields, console);
    AddNotificationOptions(*flood, *fields);
    AddField<std::uint64_t>(*flood, "COUNT", *fields, "count", "How many")->required();
    flood->add_flag_callback(
        "--droppable", [fields] { (*fields)["droppable"] = true; },
        "Drop them when a client does not keep up, as with scan results");

    AddClientCommand(service, "malformed", "Send clients bytes that are not a message", "sent",
                     "Clients that were sent malformed bytes", fields, console);
    AddClientCommand(service, "disconnect", "Close the connections of clients", "disconnected",
                     "Clients disconnected", fields, console);
}

void AddSend(CLI::App& service, const Console& console)
{
    CLI::App* const send = service.add_subcommand(
        "send", "Send a command in JSON and show the answer (see docs/faults.md)");
    const auto text = std::make_shared<std::string>("help");
    send->add_option("COMMAND", *text,
                     "A JSON object, or the name of a command without fields, such as status; the "
                     "default lists all commands")
        ->capture_default_str();
    send->callback([&console, text] {
        const Json answer = Control(ParseCommand(*text));
        console.Report(answer, answer.dump(2));
    });
}

}  // namespace

void AddServiceCommand(CLI::App& program, const Console& console)
{
    CLI::App* const service =
        program.add_subcommand("service", "The service itself: its state, and faults for tests");
    service->require_subcommand(1);
    service->footer(
        "The service accepts these commands only from its own user and from root.\n"
        "\n"
        "Examples:\n"
        "  pelaconctl service status --wait 10\n"
        "  pelaconctl service fault set IsBtEnabled never && my-application\n"
        "  pelaconctl service notify BtStateChanged --payload 02000000\n");
    AddStatus(*service, console);
    AddRestart(*service, console);
    AddFault(*service, console);
    AddServiceStack(*service, console);
    AddClientCommands(*service, console);
    AddSend(*service, console);
}

}  // namespace pelacon::ctl
