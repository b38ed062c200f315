// Compares the library with bare blocking stream sockets between the same two processes, in the
// same run, and checks the ratios against targets.
#include <PelaconSDK/PelaconSDK.h>
#include <bench/Bluetooth.h>
#include <bench/Processors.h>
#include <bench/Program.h>
#include <bench/Scenarios.h>
#include <bench/roles/Roles.h>
#include <os/Terminal.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace pelacon::bench {

namespace {

void ShowProgress(const std::string& text)
{
    if (os::OutputIsTerminal()) {
        std::cout << "\r\033[K" << text << std::flush;
    }
}

/// The options of a run.
struct Options {
    Effort effort = kFull;
    std::string only;
    bool unpinned = false;
};

/// Whether a heading contains the text, ignoring case.
bool Contains(const std::string& heading, const std::string& text)
{
    const auto same = [](unsigned char left, unsigned char right) {
        return std::tolower(left) == std::tolower(right);
    };
    return text.empty() || std::search(heading.begin(), heading.end(), text.begin(), text.end(),
                                       same) != heading.end();
}

Table Measure(const std::string& title, const Options& options, bool pinned)
{
    const Effort& effort = options.effort;
    const TemporaryFolder folder;
    Peers peers(folder.Path());
    std::vector<std::unique_ptr<Scenario>> scenarios;
    for (const auto make : {&MakeRoundTrips, &MakeThroughput, &MakeNotificationRate,
                            &MakeNotificationLatency, &MakeBursts, &MakeFanOut, &MakeLifecycle}) {
        auto scenario = make(peers);
        if (Contains(scenario->Heading(), options.only)) {
            scenarios.push_back(std::move(scenario));
        }
    }
    if (scenarios.empty()) {
        throw std::runtime_error("There is no such measurement: " + options.only);
    }
    for (int round = 1; round <= effort.rounds; ++round) {
        const Turn turn = round % 2 == 0 ? Turn::kBareFirst : Turn::kOursFirst;
        for (const auto& scenario : scenarios) {
            ShowProgress("round " + std::to_string(round) + " of " + std::to_string(effort.rounds) +
                         ": " + scenario->Heading());
            scenario->Round(effort, turn);
        }
    }
    ShowProgress("");

    Table table(title);
    for (const auto& scenario : scenarios) {
        table.Begin(scenario->Heading());
        for (Row row : scenario->Rows()) {
            if (!pinned) {
                row.UseUnpinnedTarget();
            }
            table.Add(std::move(row));
        }
    }
    return table;
}

int Run(const Options& options)
{
    const Processors processors;
    const std::string rounds = "medians of " + std::to_string(options.effort.rounds) + " rounds";
    const std::string cpu = std::to_string(processors.PinToOne());
    const Table pinned =
        Measure("Both processes on processor " + cpu + ", " + rounds, options, true);
    pinned.Print();
    int missed = pinned.Missed();
    if (options.unpinned) {
        processors.UseAll();
        const Table unpinned = Measure("On all processors, " + rounds, options, false);
        unpinned.Print();
        missed += unpinned.Missed();
    }
    std::cout << (missed == 0 ? "All targets are met."
                              : "Targets missed: " + std::to_string(missed) + ".")
              << '\n';
    return missed == 0 ? 0 : 1;
}

int RunRole(const std::string& role)
{
    if (role == "bare") {
        return RunBareRole();
    }
    if (role == "echo") {
        return RunEchoRole();
    }
    if (role == "flood") {
        return RunFloodRole();
    }
    return RunIdleRole();
}

int Main(int argc, char** argv)
{
    CLI::App program("Measures the library against bare sockets.", "pelacon_bench");
    Options options;
    std::string role;
    bool quick = false;
    std::optional<int> rounds;
    program.add_flag("--quick", quick, "Fewer and shorter rounds");
    program.add_flag("--unpinned", options.unpinned, "Measure on all processors as well");
    program.add_option("--only", options.only, "Only measurements with this text in their heading");
    program.add_option("--rounds", rounds, "The number of rounds")->check(CLI::Range(1, 1000));
    program.add_option("--role", role)->group("");
    program.footer(
        "Each figure is measured in every round, next to the bare one. The ratio is the median of\n"
        "the rounds' ratios, followed by the smallest and the largest of them.\n"
        "Exit status: 0 all targets met, 1 some missed, 2 not measured.");
    CLI11_PARSE(program, argc, argv);
    if (!role.empty()) {
        return RunRole(role);
    }
    options.effort = quick ? kQuick : kFull;
    options.effort.rounds = rounds.value_or(options.effort.rounds);
    return Run(options);
}

}  // namespace

Peers::Peers(const std::string& folder)
    : echoFolder(folder + "/echo"),
      serviceFolder(folder + "/service"),
      floodFolder(folder + "/flood"),
      barePath(folder + "/bare.sock"),
      bare(Peer::InRole("bare", folder)),
      echo(Peer::InRole("echo", echoFolder)),
      flood(Peer::InRole("flood", floodFolder)),
      service(ServicePath(), {"--log", "warning"}, serviceFolder)
{
    for (Peer* peer : {&bare, &echo, &flood, &service}) {
        peer->Hear();
    }
    UseRuntimeFolder(serviceFolder);
    PelaconSvcStart();
    SwitchBluetoothOn();
    PelaconSvcStop();
}

}  // namespace pelacon::bench

int main(int argc, char** argv)
{
    return pelacon::bench::RunProgram("pelacon_bench", &pelacon::bench::Main, argc, argv);
}
