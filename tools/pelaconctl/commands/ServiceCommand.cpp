// pelaconctl service: the service itself, as its operator sees it.
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Control.h>
#include <tools/pelaconctl/Mailbox.h>
#include <tools/pelaconctl/Notifications.h>
#include <tools/pelaconctl/OptionValues.h>
#include <tools/pelaconctl/commands/Commands.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace pelacon::ctl {

namespace {

using Json = nlohmann::ordered_json;

constexpr auto kBetweenTries = std::chrono::milliseconds(50);

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

/// What a status says, by title.
using Table = std::vector<std::pair<std::string, std::string>>;

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

/// A line for each thing that the service speaks of: what the radios say is up to them.
Table StatusTable(const Json& status)
{
    Table table{{"Process", std::to_string(status.value("pid", 0)) + ", up for " +
                                Duration(status.value("uptimeMs", std::int64_t{0}))},
                {"World", status.value("world", "") + ", seed " +
                              std::to_string(status.value("seed", std::uint64_t{0}))}};
    for (const auto& [name, value] : status.items()) {
        if (value.is_object()) {
            table.emplace_back(TitleOf(name), FieldsLine(value));
        } else if (value.is_array()) {
            table.emplace_back(TitleOf(name),
                               value.empty() ? "none" : std::to_string(value.size()));
            for (const Json& entry : value) {
                table.emplace_back("", FieldsLine(entry));
            }
        }
    }
    return table;
}

/// Breaks contents at blanks, so that lines keep within the width; what follows is indented.
std::string Wrapped(const std::string& contents, std::size_t indent, std::size_t width)
{
    std::string text;
    std::size_t column = indent;
    std::istringstream words(contents);
    for (std::string word; words >> word; column += word.size() + 1) {
        if (column != indent && column + word.size() > width) {
            text += "\n" + std::string(indent, ' ');
            column = indent;
        }
        text += (column != indent ? " " : "") + word;
    }
    return text;
}

std::string StatusText(const Json& status, const Console& console)
{
    const Table table = StatusTable(status);
    std::size_t indent = 0;
    for (const auto& [title, contents] : table) {
        indent = std::max(indent, title.size() + 2);
    }
    std::string text = "PelaconService " + status.value("version", "") + " is running.";
    for (const auto& [title, contents] : table) {
        text += "\n" + console.Styled(Console::Style::kBold, title) +
                std::string(indent - title.size(), ' ') +
                Wrapped(contents, indent, static_cast<std::size_t>(console.Width()));
    }
    return text;
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
        std::this_thread::sleep_for(kBetweenTries);
    }
}

void AddStatus(CLI::App& service, const Console& console)
{
    CLI::App* const status =
        service.add_subcommand("status", "Show the service's clients, counters, faults and radios");
    const auto wait = std::make_shared<std::optional<double>>();
    status->add_option("--wait", *wait, "Wait so many seconds for the service to come up")
        ->check(NotNegative());
    status->callback([&console, wait] {
        const Json answer = StatusWithin(*wait);
        console.Report(answer, StatusText(answer, console));
    });
}

void AddRestart(CLI::App& service, const Console& console)
{
    service
        .add_subcommand("restart", "Drop all connections and forget everything, as a restart would")
        ->callback([&console] {
            Control({{"command", "restart"}});
            console.Report({{"restarted", true}}, "PelaconService has restarted.");
        });
}

/// The options of `fault set` that go into the fault as they are.
struct FaultOptions {
    std::string request;
    std::string kind;
    std::optional<std::int64_t> ms;
    std::optional<std::int32_t> status;
    std::optional<std::uint64_t> after;
    std::optional<std::uint64_t> times;
    std::optional<double> probability;
    std::optional<std::uint64_t> seed;
    bool perform = false;
};

template <typename Value>
void PutIfGiven(Json& object, const char* name, const std::optional<Value>& value)
{
    if (value) {
        object[name] = *value;
    }
}

void SetFault(const FaultOptions& options, const Console& console)
{
    Json fault{{"request", options.request}, {"do", options.kind}};
    PutIfGiven(fault, "ms", options.ms);
    PutIfGiven(fault, "status", options.status);
    PutIfGiven(fault, "after", options.after);
    PutIfGiven(fault, "times", options.times);
    PutIfGiven(fault, "probability", options.probability);
    PutIfGiven(fault, "seed", options.seed);
    if (options.perform) {
        fault["perform"] = true;
    }
    const Json answer = Control({{"command", "fault.add"}, {"fault", fault}});
    const std::string number = std::to_string(answer.value("number", std::uint64_t{0}));
    console.Report(answer, "Fault " + number +
                               " is in force. End it with: pelaconctl service "
                               "fault clear " +
                               number);
}

void AddFaultSet(CLI::App& fault, const Console& console)
{
    CLI::App* const set = fault.add_subcommand("set", "Have requests go wrong from now on");
    const auto options = std::make_shared<FaultOptions>();
    set->add_option("REQUEST", options->request,
                    "Which: an operation's name such as BtEnable, its id such as 0xD7005C, or any")
        ->required();
    set->add_option("WHAT", options->kind,
                    "What becomes of it:\n"
                    "delay       answered after --ms milliseconds\n"
                    "never       not answered at all\n"
                    "empty       answered without payload\n"
                    "status      refused with the code --status\n"
                    "disconnect  the connection is closed instead\n"
                    "malformed   answered with bytes that are no frame")
        ->required();
    set->add_option("--ms", options->ms, "Milliseconds to wait before anything else happens");
    set->add_option("--status", options->status, "The code that the request is refused with");
    set->add_option("--after", options->after, "Let so many requests pass first");
    set->add_option("--times", options->times, "Strike so often, then end; else again and again");
    set->add_option("--probability", options->probability, "Chance for each request, 0 to 1");
    set->add_option("--seed", options->seed, "Start of that chance, so that a run repeats");
    set->add_flag("--perform", options->perform,
                  "Do what is asked all the same; only the answer goes wrong");
    set->footer(
        "Examples:\n"
        "  pelaconctl service fault set BtEnable never --times 1\n"
        "  pelaconctl service fault set any delay --ms 300 --probability 0.1 --seed 7\n"
        "  pelaconctl service fault set StartBleScan status --status=-7\n");
    set->callback([&console, options] { SetFault(*options, console); });
}

void AddFault(CLI::App& service, const Console& console)
{
    CLI::App* const fault = service.add_subcommand(
        "fault", "Have the service answer late, wrongly or not at all, to try an application");
    fault->require_subcommand(1);
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
    clear->add_option("NUMBER", *number, "Which, as `fault list` shows it; without it: all");
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

/// A command that goes to chosen clients: which, and how it reads when it is done.
struct ClientOptions {
    std::optional<std::uint64_t> client;
    std::optional<std::uint32_t> processId;
    std::string id;
    std::string payload;
    std::uint64_t count = 0;
    bool droppable = false;
};

void AddClientOptions(CLI::App& command, ClientOptions& options)
{
    CLI::Option* const client =
        command.add_option("--client", options.client, "Only this client, numbered as in status");
    command.add_option("--pid", options.processId, "Only the clients of this process")
        ->excludes(client);
}

Json ToClients(const char* command, const ClientOptions& options)
{
    Json object{{"command", command}};
    PutIfGiven(object, "client", options.client);
    PutIfGiven(object, "pid", options.processId);
    if (!options.id.empty()) {
        object["id"] = options.id;
    }
    if (!options.payload.empty()) {
        object["payload"] = options.payload;
    }
    return object;
}

void AddNotification(CLI::App& command, ClientOptions& options)
{
    command
        .add_option("NOTIFICATION", options.id,
                    "Its name such as BtStateChanged, or its id such as 0xD80062")
        ->required();
    command.add_option("--payload", options.payload,
                       "Its bytes in hexadecimal; without them, its record filled with zeros");
}

void AddProvocations(CLI::App& service, const Console& console)
{
    const auto notifyOptions = std::make_shared<ClientOptions>();
    CLI::App* const notify =
        service.add_subcommand("notify", "Send a notification that has no cause");
    AddNotification(*notify, *notifyOptions);
    AddClientOptions(*notify, *notifyOptions);
    notify->callback([&console, notifyOptions] {
        const Json answer = Control(ToClients("notify", *notifyOptions));
        console.Report(answer, "Notifications sent: " + answer.at("sent").dump());
    });

    const auto floodOptions = std::make_shared<ClientOptions>();
    CLI::App* const flood = service.add_subcommand("flood", "Send many of them at once");
    AddNotification(*flood, *floodOptions);
    flood->add_option("COUNT", floodOptions->count, "How many")->required();
    flood->add_flag("--droppable", floodOptions->droppable,
                    "Like scan results: dropped where a client does not keep up");
    AddClientOptions(*flood, *floodOptions);
    flood->callback([&console, floodOptions] {
        Json command = ToClients("flood", *floodOptions);
        command["count"] = floodOptions->count;
        command["droppable"] = floodOptions->droppable;
        const Json answer = Control(command);
        console.Report(answer, "Notifications sent: " + answer.at("sent").dump());
    });

    const auto malformedOptions = std::make_shared<ClientOptions>();
    CLI::App* const malformed =
        service.add_subcommand("malformed", "Send clients bytes that are no message");
    AddClientOptions(*malformed, *malformedOptions);
    malformed->callback([&console, malformedOptions] {
        const Json answer = Control(ToClients("malformed", *malformedOptions));
        console.Report(answer, "Clients sent nonsense: " + answer.at("sent").dump());
    });

    const auto disconnectOptions = std::make_shared<ClientOptions>();
    CLI::App* const disconnect =
        service.add_subcommand("disconnect", "Drop clients, as if the line had failed");
    AddClientOptions(*disconnect, *disconnectOptions);
    disconnect->callback([&console, disconnectOptions] {
        const Json answer = Control(ToClients("disconnect", *disconnectOptions));
        console.Report(answer, "Clients disconnected: " + answer.at("disconnected").dump());
    });
}

void AddSend(CLI::App& service, const Console& console)
{
    CLI::App* const send = service.add_subcommand(
        "send", "Send a command as it is, and show the answer (see docs/faults.md)");
    const auto text = std::make_shared<std::string>(R"({"command": "help"})");
    send->add_option("COMMAND", *text, "A JSON object; the one shown lists all commands")
        ->capture_default_str();
    send->callback([&console, text] {
        const Json answer = Control(ParseCommand(*text));
        console.Report(answer, answer.dump(2));
    });
}

}  // namespace

void AddServiceCommand(CLI::App& program, Console& console)
{
    CLI::App* const service =
        program.add_subcommand("service", "The service itself: its state, and its faults at will");
    service->require_subcommand(1);
    service->footer(
        "The service takes these from its own user and from root only.\n"
        "\n"
        "Examples:\n"
        "  pelaconctl service status --wait 10\n"
        "  pelaconctl service fault set IsBtEnabled never && my-application\n"
        "  pelaconctl service notify BtStateChanged --payload 02000000\n");
    AddStatus(*service, console);
    AddRestart(*service, console);
    AddFault(*service, console);
    AddProvocations(*service, console);
    AddSend(*service, console);
}

}  // namespace pelacon::ctl
