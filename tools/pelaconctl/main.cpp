// pelaconctl: Bluetooth and Wi-Fi from the command line, through PelaconService.
#include <PelaconSDK/PelaconSDK.h>
#include <os/CommandLine.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Control.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/UntilInterrupt.h>
#include <tools/pelaconctl/commands/Commands.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <exception>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

namespace {

using pelacon::ctl::Console;
using pelacon::ctl::ExitStatus;
using pelacon::ctl::Failure;

constexpr auto kFooter = R"(Examples:
  pelaconctl bt on                   switch Bluetooth on, and wait until it is on
  pelaconctl bt status --json        show its state in JSON
  pelaconctl scan --seconds 10       show the devices that advertise
  pelaconctl monitor                 show all notifications to clients
  pelaconctl service status          show the state of the service
Each command has its own help: pelaconctl bt --help

Exit status:
  0    success
  1    the service refused, or something else failed
  2    the command line is not valid
  3    PelaconService is not running, or has ended
  4    no answer in time
  5    Bluetooth, or Wi-Fi for a Wi-Fi command, is off
  6    not allowed: only for the service's own user and root
  130  interrupted with Ctrl-C
)";

/// The last command on the command line, whose help is shown.
const CLI::App* LastCommand(const CLI::App* command)
{
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().back();
    }
    return command;
}

std::string FullName(const CLI::App* command)
{
    const CLI::App* const parent = command->get_parent();
    return (parent != nullptr ? FullName(parent) + " " : "") + command->get_name();
}

std::string UsageSentence(const CLI::App& program, const CLI::ParseError& error)
{
    const CLI::App* const command = LastCommand(&program);
    const std::string name = FullName(command);
    const auto subcommands = command->get_subcommands([](const CLI::App*) { return true; });
    if (subcommands.empty() ||
        error.get_exit_code() != static_cast<int>(CLI::ExitCodes::RequiredError)) {
        return std::string(error.what()) + ". See: " + name + " --help";
    }
    const std::vector<std::string> unknown = program.remaining(true);
    std::string sentence = unknown.empty() ? "\"" + name + "\" needs a subcommand:"
                                           : "\"" + name + "\" has no subcommand \"" +
                                                 unknown.front() + "\". Subcommands:";
    for (const CLI::App* subcommand : subcommands) {
        sentence += (subcommand == subcommands.front() ? " " : ", ") + subcommand->get_name();
    }
    return sentence + ". See: " + name + " --help";
}

std::string HelpText(const CLI::App& program)
{
    const CLI::App* const command = LastCommand(&program);
    const CLI::App* const parent = command->get_parent();
    const std::string text = command->help(parent != nullptr ? FullName(parent) : "");
    return text.substr(0, text.find_last_not_of('\n') + 1);
}

std::string HeaderVersion()
{
    return std::to_string(PELACON_VERSION_MAJOR) + "." + std::to_string(PELACON_VERSION_MINOR) +
           "." + std::to_string(PELACON_VERSION_PATCH);
}

/// The versions of this program, of the library that it runs with, and of the service.
void ReportVersions(const Console& console)
{
    nlohmann::ordered_json service;
    std::string line;
    try {
        service = pelacon::ctl::Control({{"command", "status"}})["version"];
        line = service.get<std::string>();
    } catch (const Failure& failure) {
        line = failure.what();
    }
    console.Report(
        {{"pelaconctl", HeaderVersion()}, {"library", PelaconGetVersion()}, {"service", service}},
        "pelaconctl " + HeaderVersion() +
            console.Rows({{"library", PelaconGetVersion()}, {"service", line}}));
}

int Fail(ExitStatus status, const std::string& sentence)
{
    std::cerr << "pelaconctl: " << sentence << '\n';
    return static_cast<int>(status);
}

int Run(std::vector<std::string> arguments)
{
    pelacon::ctl::HandleInterrupts();
    Console console;
    CLI::App program("Bluetooth and Wi-Fi from the command line, through PelaconService.",
                     "pelaconctl");
    program.require_subcommand(1);
    program.fallthrough();
    program.get_formatter()->column_width(30);
    program.footer(kFooter);
    program.add_flag_callback(
        "--json", [&console] { console.SetJson(true); },
        "Write JSON, one object per line; with any command, before or after it");

    program.set_version_flag("--version", std::string(),
                             "Show the versions of this program, the library and the service");

    pelacon::ctl::AddBtCommand(program, console);
    pelacon::ctl::AddScanCommand(program, console);
    pelacon::ctl::AddAdvertiseCommand(program, console);
    pelacon::ctl::AddTargetsCommand(program, console);
    pelacon::ctl::AddGattCommand(program, console);
    pelacon::ctl::AddGroupCommand(program, console);
    pelacon::ctl::AddApCommand(program, console);
    pelacon::ctl::AddWifiCommand(program, console);
    pelacon::ctl::AddErrorsCommand(program, console);
    pelacon::ctl::AddMonitorCommand(program, console);
    pelacon::ctl::AddServiceCommand(program, console);

    try {
        std::ranges::reverse(arguments);  // as the parser takes them
        program.parse(std::move(arguments));
        return static_cast<int>(ExitStatus::kDone);
    } catch (const CLI::CallForHelp&) {
        console.SetJson(false);  // help is text
        console.Say(HelpText(program));
        return static_cast<int>(ExitStatus::kDone);
    } catch (const CLI::CallForVersion&) {
        ReportVersions(console);
        return static_cast<int>(ExitStatus::kDone);
    } catch (const CLI::ParseError& error) {
        return Fail(ExitStatus::kUsage, UsageSentence(program, error));
    } catch (const Failure& failure) {
        return Fail(failure.Status(), failure.what());
    }
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return Run(pelacon::os::Arguments(argc, argv));
    } catch (const std::exception& exception) {
        return Fail(ExitStatus::kFailed, exception.what());
    }
}
