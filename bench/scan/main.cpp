// Measures the cost of scanning within the library: without service and pipe, with real threads.
#include <bench/Processors.h>
#include <bench/Program.h>
#include <bench/scan/Scenarios.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace pelacon::bench {

namespace {

int Run(const Effort& effort, bool onOneProcessor)
{
    if (onOneProcessor) {
        // A thread that runs on another processor than its creator costs the wake-up of that
        // processor; on one processor only the work is compared.
        Processors().PinToOne();
    }
    std::vector<std::unique_ptr<Scenario>> scenarios;
    scenarios.push_back(MakeDelivery());
    scenarios.push_back(MakeBurst());
    scenarios.push_back(MakeParsing());
    for (int round = 1; round <= effort.rounds; ++round) {
        const Turn turn = round % 2 == 0 ? Turn::kBareFirst : Turn::kOursFirst;
        for (const auto& scenario : scenarios) {
            scenario->Round(effort, turn);
        }
    }
    Table table(std::string("Scanning, on ") +
                (onOneProcessor ? "one processor" : "all processors") + ", medians of " +
                std::to_string(effort.rounds) + " rounds");
    for (const auto& scenario : scenarios) {
        table.Begin(scenario->Heading());
        for (Row& row : scenario->Rows()) {
            table.Add(std::move(row));
        }
    }
    table.Print();
    return table.Missed() == 0 ? 0 : 1;
}

int Main(int argc, char** argv)
{
    CLI::App program("Measures scanning against bare threads and copies.", "pelacon_scan_bench");
    bool quick = false;
    bool unpinned = false;
    std::optional<int> rounds;
    program.add_flag("--quick", quick, "Fewer and shorter rounds");
    program.add_flag("--unpinned", unpinned, "Measure on all processors instead");
    program.add_option("--rounds", rounds, "The number of rounds")->check(CLI::Range(1, 1000));
    program.footer("Exit status: 0 all targets met, 1 some missed, 2 not measured.");
    CLI11_PARSE(program, argc, argv);
    Effort effort = quick ? kQuick : kFull;
    effort.rounds = rounds.value_or(effort.rounds);
    return Run(effort, !unpinned);
}

}  // namespace

}  // namespace pelacon::bench

int main(int argc, char** argv)
{
    return pelacon::bench::RunProgram("pelacon_scan_bench", &pelacon::bench::Main, argc, argv);
}
