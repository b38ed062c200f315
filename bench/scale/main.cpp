// Measures what grows with what: requests over threads, clients and idle connections, notifications
// over clients and listeners, memory over all of these. scripts/scale runs it and draws the
// results.
#include <IPCMessage/IPCControl.h>
#include <PelaconSDK/PelaconSDK.h>
#include <bench/Bare.h>
#include <bench/Bluetooth.h>
#include <bench/Durations.h>
#include <bench/Peer.h>
#include <bench/Program.h>
#include <bench/Statistics.h>
#include <bench/scale/Roles.h>
#include <bench/scale/Series.h>
#include <protocol/Operation.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace pelacon::bench {

namespace {

using Clients = std::vector<std::unique_ptr<Peer>>;
using Counts = std::initializer_list<std::size_t>;

/// How long each point is measured, and how often: the median counts.
constexpr std::chrono::milliseconds kDuration{500};
constexpr int kRounds = 3;
/// How many notifications each listener receives in a row.
constexpr int kNotifications = 200;

/// The service, with Bluetooth on, and its clients.
class World {
  public:
    World() : service(ServicePath(), {"--log", "warning"}, folder_.Path())
    {
        service.Hear();
        UseRuntimeFolder(folder_.Path());
        PelaconSvcStart();
        SwitchBluetoothOn();
    }
    ~World() { PelaconSvcStop(); }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    /// Starts clients until there are `count`. Returns when each of them has a connection.
    void Grow(Clients& clients, std::size_t count, const std::string& role)
    {
        const std::size_t before = clients.size();
        while (clients.size() < count) {
            clients.push_back(std::make_unique<Peer>(
                "/proc/self/exe", std::vector<std::string>{"--role", role}, folder_.Path()));
        }
        for (std::size_t i = before; i < clients.size(); ++i) {
            clients[i]->Hear();
        }
    }

    /// Waits until the service has at least `count` connections for requests.
    static void AwaitConnections(std::size_t count)
    {
        const std::string key = R"("callConnections":)";
        const std::int64_t end = Now() + 10'000'000'000;
        for (std::size_t there = 0; there < count;) {
            if (Now() > end) {
                throw std::runtime_error("The service did not accept all connections.");
            }
            const std::string status = Command(R"({"command": "status"})");
            there = std::stoul(status.substr(status.find(key) + key.size()));
        }
    }

    /// Sends an operator's command to the service; returns its answer.
    static std::string Command(const std::string& command)
    {
        IPCControlError error{};
        const auto answer =
            IPCSendControl(protocol::kServicePipe, command, std::chrono::minutes(1), error);
        if (!answer || answer->find(R"("ok":true)") == std::string::npos) {
            throw std::runtime_error("The service did not do " + command + ": " +
                                     answer.value_or(error.message));
        }
        return *answer;
    }

  private:
    TemporaryFolder folder_;

  public:
    Peer service;
};

template <typename Measure>
double MedianOf(Measure&& measure)
{
    std::vector<double> values;
    for (int round = 0; round < kRounds; ++round) {
        values.push_back(measure());
    }
    return Median(values);
}

/// How many requests per second `count` threads of this process make.
double RateOfThreads(std::size_t count)
{
    std::atomic<std::uint64_t> requests{0};
    const std::int64_t start = Now();
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < count; ++i) {
            threads.emplace_back([&requests](const std::stop_token& stop) {
                std::uint64_t own = 0;
                for (; !stop.stop_requested(); ++own) {
                    if (!BleManager::IsBtEnabled()) {
                        return;
                    }
                }
                requests += own;
            });
        }
        std::this_thread::sleep_for(kDuration);
    }
    return static_cast<double>(requests) / static_cast<double>(Now() - start) * 1e9;
}

/// The requests of all clients together, and how long they took.
struct Work {
    double requests;
    double seconds;
};

Work Requests(Clients& clients)
{
    const std::int64_t start = Now();
    for (const auto& client : clients) {
        client->Tell("go " + std::to_string(kDuration.count()));
    }
    std::uint64_t all = 0;
    for (const auto& client : clients) {
        all += std::stoull(client->Hear());
    }
    return {static_cast<double>(all), static_cast<double>(Now() - start) / 1e9};
}

/// From the order until the last callback of all clients, for each notification that was sent, in
/// microseconds.
double TimeOfNotification(Clients& clients)
{
    for (const auto& client : clients) {
        client->Order("expect " + std::to_string(kNotifications));
    }
    const std::int64_t start = Now();
    World::Command("{\"command\": \"flood\", \"id\": \"BtStateChanged\", \"count\": " +
                   std::to_string(kNotifications) + "}");
    std::int64_t end = start;
    for (const auto& client : clients) {
        end = std::max<std::int64_t>(end, std::stoll(client->Hear()));
    }
    return static_cast<double>(end - start) / kNotifications / 1e3;
}

Series OverThreads()
{
    Series series("threads", "Requests of one process", "threads", "requests a second");
    const World world;
    for (const std::size_t count : Counts{1, 2, 4, 8, 16, 32, 64}) {
        series.Add(static_cast<double>(count), MedianOf([&] { return RateOfThreads(count); }));
    }
    return series;
}

std::vector<Series> OverClients()
{
    Series rate("clients", "Requests of all clients", "client processes", "requests a second");
    Series cost("clients-cost", "What a request costs the service", "client processes",
                "processor time of the service, us");
    Series memory("clients-memory", "Memory of the service", "client processes", "KiB");
    World world;
    Clients clients;
    for (const std::size_t count : Counts{1, 2, 5, 10, 20, 50, 100, 200, 500}) {
        world.Grow(clients, count, "caller");
        const auto x = static_cast<double>(count);
        memory.Add(x, static_cast<double>(world.service.Memory()));
        std::vector<double> costs;
        rate.Add(x, MedianOf([&] {
                     const std::int64_t before = world.service.ProcessorTime();
                     const Work work = Requests(clients);
                     const std::int64_t used = world.service.ProcessorTime() - before;
                     costs.push_back(static_cast<double>(used) / work.requests / 1e3);
                     return work.requests / work.seconds;
                 }));
        cost.Add(x, Median(costs));
    }
    return {rate, cost, memory};
}

Series FanOutOverClients()
{
    Series series("fan-out", "A notification to all clients", "client processes",
                  "us until the last callback");
    World world;
    Clients clients;
    for (const std::size_t count : Counts{1, 2, 5, 10, 20, 50, 100, 200}) {
        const std::size_t before = clients.size();
        world.Grow(clients, count, "listener");
        for (std::size_t i = before; i < count; ++i) {
            clients[i]->Order("listen 1");
        }
        series.Add(static_cast<double>(count),
                   MedianOf([&] { return TimeOfNotification(clients); }));
    }
    return series;
}

Series FanOutOverListeners()
{
    Series series("listeners", "A notification to all listeners of one process", "listeners",
                  "us until the last callback");
    World world;
    Clients clients;
    world.Grow(clients, 1, "listener");
    std::size_t there = 0;
    for (const std::size_t count : Counts{1, 2, 4, 8, 16, 32, 64, 128, 256, 512}) {
        clients[0]->Order("listen " + std::to_string(count - there));
        there = count;
        series.Add(static_cast<double>(count),
                   MedianOf([&] { return TimeOfNotification(clients); }));
    }
    return series;
}

Series MemoryOverListeners()
{
    constexpr std::size_t kClients = 16;  // one may have 64 listeners
    Series series("listeners-memory", "Memory of the service",
                  "listeners of scans, of 16 processes", "KiB");
    World world;
    Clients clients;
    world.Grow(clients, kClients, "listener");
    std::size_t there = 0;
    for (const std::size_t each : Counts{1, 2, 4, 8, 16, 32, 64}) {
        for (const auto& client : clients) {
            client->Order("scan " + std::to_string(each - there));
        }
        there = each;
        series.Add(static_cast<double>(each * kClients),
                   static_cast<double>(world.service.Memory()));
    }
    return series;
}

std::vector<Series> OverIdleConnections()
{
    constexpr std::size_t kOfOneProcess = 450;  // one process may have 512 connections
    Series time("idle-time", "A request beside idle connections", "idle connections", "us, p50");
    Series memory("idle-memory", "Memory of the service", "idle connections", "KiB");
    World world;
    Clients holders;
    std::size_t there = 0;
    for (const std::size_t count : Counts{1, 10, 50, 100, 200, 450, 900}) {
        for (; there < count; there = std::min(count, holders.size() * kOfOneProcess)) {
            world.Grow(holders, there / kOfOneProcess + 1, "holder");
            const std::size_t more = std::min(count, holders.size() * kOfOneProcess) - there;
            holders.back()->Order("hold " + std::to_string(more));
        }
        World::AwaitConnections(count);
        const auto x = static_cast<double>(count);
        memory.Add(x, static_cast<double>(world.service.Memory()));
        time.Add(x, MedianOf([] {
                     return Median(Durations(5000,
                                             [](std::uint32_t) {
                                                 if (!BleManager::IsBtEnabled()) {
                                                     throw std::runtime_error("A request failed.");
                                                 }
                                             })) /
                            1e3;
                 }));
    }
    return {time, memory};
}

int Run(const std::string& folder)
{
    const auto take = [&](const Series& series) {
        series.Print();
        if (!folder.empty()) {
            series.Write(folder);
        }
    };
    take(OverThreads());
    for (const Series& series : OverClients()) {
        take(series);
    }
    take(FanOutOverClients());
    take(FanOutOverListeners());
    take(MemoryOverListeners());
    for (const Series& series : OverIdleConnections()) {
        take(series);
    }
    return 0;
}

int Main(int argc, char** argv)
{
    CLI::App program("Measures what grows with what.", "pelacon_scale");
    std::string role;
    std::string folder;
    program.add_option("--write", folder, "Also write each series to a file in this folder")
        ->check(CLI::ExistingDirectory);
    program.add_option("--role", role)->group("");
    program.footer("Exit status: 0 measured, 2 not measured.");
    CLI11_PARSE(program, argc, argv);
    if (!role.empty()) {
        return role == "caller"   ? RunCallerRole()
               : role == "holder" ? RunHolderRole()
                                  : RunListenerRole();
    }
    return Run(folder);
}

}  // namespace

}  // namespace pelacon::bench

int main(int argc, char** argv)
{
    return pelacon::bench::RunProgram("pelacon_scale", &pelacon::bench::Main, argc, argv);
}
