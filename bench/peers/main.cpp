// Compares the library with other ways to make requests of a process on the same machine: the same
// work, in the same run, on the same processor. scripts/bench --peers runs it.
#include <bench/Arrivals.h>
#include <bench/Durations.h>
#include <bench/Peer.h>
#include <bench/Processors.h>
#include <bench/Program.h>
#include <bench/Statistics.h>
#include <bench/peers/Caller.h>
#include <bench/roles/Roles.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::bench {

namespace {

constexpr std::size_t kSmall = 64;
constexpr std::size_t kLarge = 1108;
constexpr std::uint32_t kPushed = 72;
constexpr int kCalls = 2'000;
constexpr std::uint32_t kPushes = 20'000;

using Make = std::unique_ptr<Caller> (*)(const std::string& folder);

/// The first is what the others are compared with. A way whose package was missing when this
/// program was built is named in kMissing instead.
constexpr Make kWays[] = {
    &MakeBareCaller,      &MakeLibraryCaller,
#ifdef PELACON_BENCH_SD_BUS
    &MakeDirectBusCaller, &MakeDaemonBusCaller,
#endif
#ifdef PELACON_BENCH_GRPC
    &MakeGrpcCaller,
#endif
#ifdef PELACON_BENCH_ZEROMQ
    &MakeZeroMqCaller,
#endif
#ifdef PELACON_BENCH_NNG
    &MakeNngCaller,
#endif
};
constexpr auto kMissing = PELACON_BENCH_MISSING;

using Role = int (*)();
const std::map<std::string, Role> kRoles{
    {"bare", &RunBareRole},
    {"echo", &RunEchoRole},
    {"flood", &RunFloodRole},
#ifdef PELACON_BENCH_SD_BUS
    {"direct-bus", &RunDirectBusRole},
    {"daemon-bus", &RunDaemonBusRole},
#endif
#ifdef PELACON_BENCH_GRPC
    {"grpc", &RunGrpcRole},
#endif
#ifdef PELACON_BENCH_ZEROMQ
    {"zeromq", &RunZeroMqRole},
#endif
#ifdef PELACON_BENCH_NNG
    {"nng", &RunNngRole},
#endif
};

/// What was measured in each round.
struct Figures {
    std::array<std::vector<double>, 4> rounds;
};
constexpr std::array kColumns{"64 bytes, p50", "64 bytes, p99", "1108 bytes, p50",
                              "pushes of 72 bytes a second"};
constexpr std::size_t kRateColumn = 3;

std::vector<double> Calls(Caller& caller, std::size_t size)
{
    std::vector<std::uint8_t> message(size);
    return Durations(kCalls, [&](std::uint32_t number) {
        std::memcpy(message.data(), &number, sizeof number);
        caller.Call(message);
        if (message.size() != size || NumberOf(message.data()) != number) {
            throw std::runtime_error(caller.Name() + ": a message came back changed.");
        }
    });
}

void Measure(Caller& caller, Figures& figures)
{
    const auto small = Calls(caller, kSmall);
    figures.rounds[0].push_back(Median(small));
    figures.rounds[1].push_back(Percentile(small, 0.99));
    figures.rounds[2].push_back(Median(Calls(caller, kLarge)));
    Arrivals arrivals;
    arrivals.Expect(kPushes);
    caller.Receive(kPushed, kPushes, arrivals);
    figures.rounds[kRateColumn].push_back(arrivals.Rate());
}

/// "8.1 µs (1.05)": the median, and the median of the rounds' ratios to the bare socket.
std::string Cell(const Figures& figures, const Figures& bare, std::size_t column)
{
    const auto& values = figures.rounds[column];
    std::vector<double> ratios;
    for (std::size_t round = 0; round < values.size(); ++round) {
        ratios.push_back(values[round] / bare.rounds[column][round]);
    }
    std::array<char, 64> text{};
    const double value = Median(values);
    if (column == kRateColumn) {
        std::snprintf(text.data(), text.size(), "%.0f k (%.2f)", value / 1e3, Median(ratios));
    } else {
        std::snprintf(text.data(), text.size(), "%.1f us (%.2f)", value / 1e3, Median(ratios));
    }
    return text.data();
}

void Print(const std::vector<std::pair<std::string, Figures>>& all, int rounds)
{
    std::printf("| |");
    for (const char* column : kColumns) {
        std::printf(" %s |", column);
    }
    std::printf("\n| --- | --- | --- | --- | --- |\n");
    for (const auto& [name, figures] : all) {
        std::printf("| %s |", name.c_str());
        for (std::size_t column = 0; column < kColumns.size(); ++column) {
            std::printf(" %s |", Cell(figures, all.front().second, column).c_str());
        }
        std::printf("\n");
    }
    std::printf(
        "\nMedians of %d rounds, all processes on one processor; in parentheses the ratio to "
        "the bare socket\nof the same round: for times less is better, for rates more.\n",
        rounds);
    if (*kMissing != '\0') {
        std::printf("Not measured, as their packages were missing at the build: %s.\n", kMissing);
    }
}

int Run(int rounds)
{
    const Processors processors;
    processors.PinToOne();
    const TemporaryFolder folder;
    std::vector<std::unique_ptr<Caller>> callers;
    std::vector<std::pair<std::string, Figures>> all;
    for (const Make make : kWays) {
        const std::string own = folder.Path() + "/" + std::to_string(callers.size());
        std::filesystem::create_directories(own);
        callers.push_back(make(own));
        all.emplace_back(callers.back()->Name(), Figures());
    }
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t way = 0; way < callers.size(); ++way) {
            Measure(*callers[way], all[way].second);
        }
    }
    Print(all, rounds);
    return 0;
}

int Main(int argc, char** argv)
{
    CLI::App program(
        "Compares the library with other ways to make requests of a process on the same machine.",
        "pelacon_peer_bench");
    std::string role;
    int rounds = 11;
    bool quick = false;
    program.add_option("--rounds", rounds, "The number of rounds")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    program.add_flag("--quick", quick, "Three rounds");
    program.add_option("--role", role)->group("");
    program.footer("Prints a table in Markdown. Exit status: 0 measured, 2 not measured.");
    CLI11_PARSE(program, argc, argv);
    if (!role.empty()) {
        return kRoles.at(role)();
    }
    return Run(quick ? 3 : rounds);
}

}  // namespace

std::string RoleFolder()
{
    return std::getenv("PELACON_RUNTIME_DIR");
}

std::uint32_t NumberOf(const void* message)
{
    std::uint32_t number = 0;
    std::memcpy(&number, message, sizeof number);
    return number;
}

}  // namespace pelacon::bench

int main(int argc, char** argv)
{
    return pelacon::bench::RunProgram("pelacon_peer_bench", &pelacon::bench::Main, argc, argv);
}
