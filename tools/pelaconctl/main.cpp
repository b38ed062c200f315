// pelaconctl: Bluetooth and Wi-Fi from the command line, through PelaconService.
#include <PelaconSDK/PelaconSDK.h>
#include <os/CommandLine.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Control.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Program.h>
#include <tools/pelaconctl/UntilInterrupt.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using pelacon::ctl::Console;
using pelacon::ctl::ExitStatus;
using pelacon::ctl::Failure;
using pelacon::ctl::FullName;

/// The last command on the command line, whose help is shown.
const CLI::App* LastCommand(const CLI::App* command)
{
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().back();
    }
    return command;
}

std::string UsageSentence(const CLI::App& program, const CLI::ParseError& error)
{
    const CLI::App* const command = LastCommand(&program);
    const std::string name = FullName(*command);
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
    const std::string text = command->help(parent != nullptr ? FullName(*parent) : "");
    return text.substr(0, text.find_last_not_of('\n') + 1);
}

/// The versions of this program, of the library that it runs with, and of the service.
void ReportVersions(const Console& console)
{
    const std::string program = pelacon::ctl::ProgramVersion();
    nlohmann::ordered_json service;
    std::string line;
    try {
        line = pelacon::ctl::ServiceVersion();
        service = line;
    } catch (const Failure& failure) {
        line = failure.what();
    }
    console.Report(
        {{"pelaconctl", program}, {"library", PelaconGetVersion()}, {"service", service}},
        "pelaconctl " + program +
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
    const std::unique_ptr<CLI::App> program = pelacon::ctl::MakeProgram(console);
    try {
        std::ranges::reverse(arguments);  // as the parser takes them
        program->parse(std::move(arguments));
        return static_cast<int>(ExitStatus::kDone);
    } catch (const CLI::CallForHelp&) {
        console.SetJson(false);  // help is text
        console.Say(HelpText(*program));
        return static_cast<int>(ExitStatus::kDone);
    } catch (const CLI::CallForVersion&) {
        ReportVersions(console);
        return static_cast<int>(ExitStatus::kDone);
    } catch (const CLI::ParseError& error) {
        return Fail(ExitStatus::kUsage, UsageSentence(*program, error));
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
