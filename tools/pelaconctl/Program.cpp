#include <PelaconSDK/Version.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Program.h>
#include <tools/pelaconctl/commands/Commands.h>

#include <CLI/CLI.hpp>

namespace pelacon::ctl {

namespace {

constexpr auto kFooter = R"(Examples:
  pelaconctl bt on                   switch Bluetooth on, and wait until it is on
  pelaconctl bt status --json        show its state in JSON
  pelaconctl scan --seconds 10       show the devices that advertise
  pelaconctl monitor                 show all notifications to clients
  pelaconctl service status          show the state of the service
  pelaconctl doctor                  find out why the service cannot be used
Each command has its own help: pelaconctl bt --help

Exit status:
  0    success
  1    the service refused, or something else failed
  2    the command line is not valid
  3    PelaconService is not running, or has ended
  4    no answer in time
  5    Bluetooth, or Wi-Fi for a Wi-Fi command, is off
  6    not allowed: this user may not use the service, or not this command
  130  interrupted with Ctrl-C
)";

}  // namespace

std::unique_ptr<CLI::App> MakeProgram(Console& console)
{
    auto program = std::make_unique<CLI::App>(
        "Bluetooth and Wi-Fi from the command line, through PelaconService.", "pelaconctl");
    program->require_subcommand(1);
    program->fallthrough();
    program->get_formatter()->column_width(30);
    program->footer(kFooter);
    program->add_flag_callback(
        "--json", [&console] { console.SetJson(true); },
        "Write JSON, one object per line; with any command, before or after it");
    program->set_version_flag("--version", std::string(),
                              "Show the versions of this program, the library and the service");

    AddBtCommand(*program, console);
    AddScanCommand(*program, console);
    AddAdvertiseCommand(*program, console);
    AddTargetsCommand(*program, console);
    AddGattCommand(*program, console);
    AddGroupCommand(*program, console);
    AddApCommand(*program, console);
    AddWifiCommand(*program, console);
    AddErrorsCommand(*program, console);
    AddMonitorCommand(*program, console);
    AddServiceCommand(*program, console);
    AddDoctorCommand(*program, console);
    return program;
}

std::string FullName(const CLI::App& command)
{
    const CLI::App* const parent = command.get_parent();
    return (parent != nullptr ? FullName(*parent) + " " : "") + command.get_name();
}

std::string ProgramVersion()
{
    return std::to_string(PELACON_VERSION_MAJOR) + "." + std::to_string(PELACON_VERSION_MINOR) +
           "." + std::to_string(PELACON_VERSION_PATCH);
}

}  // namespace pelacon::ctl
