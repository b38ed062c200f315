// pelaconctl service: the service itself.
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Session.h>
#include <tools/pelaconctl/commands/Commands.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace pelacon::ctl {

void AddServiceCommand(CLI::App& program, Console& console)
{
    CLI::App* const service = program.add_subcommand("service", "The service itself");
    service->require_subcommand(1);
    service->add_subcommand("status", "Show how the service is doing")->callback([&console] {
        const std::string answer = SendControl("status");
        console.Report({{"status", answer}}, answer);
    });
}

}  // namespace pelacon::ctl
