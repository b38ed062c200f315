// Requests: the latency of one, and the throughput of several threads.
#include <PelaconSDK/PelaconSDK.h>
#include <bench/Bare.h>
#include <bench/Callers.h>
#include <bench/Durations.h>
#include <bench/Scenarios.h>
#include <bench/Statistics.h>

#include <atomic>
#include <stdexcept>
#include <thread>

namespace pelacon::bench {

namespace {

constexpr std::size_t kSmall = 64;
constexpr std::size_t kLarge = 1108;

/// The median and the 99th percentile of one kind of call.
struct RowPair {
    RowPair(const std::string& name, Target p50Target, std::optional<Target> p99Target)
        : p50(name + ", p50", Unit::kNanoseconds, p50Target, AtMost(1.0)),
          p99(name + ", p99", Unit::kNanoseconds, p99Target)
    {}

    void Add(const std::vector<double>& bare, const std::vector<double>& ours)
    {
        p50.Add(Median(bare), Median(ours));
        p99.Add(Percentile(bare, 0.99), Percentile(ours, 0.99));
    }

    Row p50;
    Row p99;
};

class RoundTrips : public Scenario {
  public:
    explicit RoundTrips(Peers& peers)
        : peers_(peers),
          client_(MakeEchoClient(peers.echoFolder)),
          bareSmall_(peers.barePath, kSmall),
          bareLarge_(peers.barePath, kLarge),
          clientSmall_(*client_, kSmall),
          clientLarge_(*client_, kLarge)
    {}

    std::string Heading() const override { return "One request at a time"; }

    void Round(const Effort& effort, Turn turn) override
    {
        const auto timed = [&](auto& caller) {
            return [&] { return Durations(effort.calls, caller); };
        };
        const auto [bare, ours] = Both(turn, timed(bareSmall_), timed(clientSmall_));
        small_.Add(bare, ours);
        const auto [bareLarge, oursLarge] = Both(turn, timed(bareLarge_), timed(clientLarge_));
        large_.Add(bareLarge, oursLarge);
        const auto [bareAgain, api] =
            Both(turn, timed(bareSmall_), [&] { return ApiDurations(effort.calls); });
        api_.Add(bareAgain, api);
    }

    std::vector<Row> Rows() const override
    {
        return {small_.p50, small_.p99, large_.p50, large_.p99, api_.p50, api_.p99};
    }

  private:
    /// Bluetooth must be on, so that an answer differs from a failure.
    std::vector<double> ApiDurations(int calls) const
    {
        UseRuntimeFolder(peers_.serviceFolder);
        PelaconSvcStart();
        const auto durations = Durations(calls, [](std::uint32_t) {
            if (!BleManager::IsBtEnabled()) {
                throw std::runtime_error("IsBtEnabled was not answered with true.");
            }
        });
        PelaconSvcStop();
        return durations;
    }

    Peers& peers_;
    std::unique_ptr<IPCMessageClient> client_;
    BareCaller bareSmall_;
    BareCaller bareLarge_;
    ClientCaller clientSmall_;
    ClientCaller clientLarge_;
    RowPair small_{"IPCMessageClient, 64 bytes", AtMost(1.05), AtMost(1.3)};
    RowPair large_{"IPCMessageClient, 1108 bytes", AtMost(1.05), AtMost(1.3)};
    RowPair api_{"IsBtEnabled, real service (bare: 64 bytes)", AtMost(1.0), std::nullopt};
};

/// The throughput of several callers, each on its own thread.
struct Yield {
    double callsPerSecond;
    double processorTimePerCall;  ///< nanoseconds, both processes together
};

template <typename Caller>
Yield Run(std::vector<Caller>& callers, const Peer& peer, std::chrono::milliseconds duration)
{
    std::atomic<bool> ended{false};
    std::atomic<std::uint64_t> calls{0};
    std::atomic<bool> failed{false};
    const std::int64_t processorTime = ProcessorTime() + peer.ProcessorTime();
    const std::int64_t start = Now();
    {
        std::vector<std::jthread> threads;
        for (Caller& caller : callers) {
            threads.emplace_back([&] {
                std::uint32_t number = 0;
                try {
                    while (!ended.load(std::memory_order_relaxed)) {
                        caller(number++);
                    }
                } catch (const std::exception&) {
                    failed = true;
                }
                calls += number;
            });
        }
        std::this_thread::sleep_for(duration);
        ended = true;
    }
    if (failed) {
        throw std::runtime_error("A call of several threads failed.");
    }
    const auto count = static_cast<double>(calls);
    const std::int64_t used = ProcessorTime() + peer.ProcessorTime() - processorTime;
    return {count / static_cast<double>(Now() - start) * 1e9, static_cast<double>(used) / count};
}

class Throughput : public Scenario {
  public:
    explicit Throughput(Peers& peers) : peers_(peers), client_(MakeEchoClient(peers.echoFolder))
    {
        for (const int count : {1, 2, 4, 8}) {
            Group& group = groups_.emplace_back(count);
            for (int thread = 0; thread < count; ++thread) {
                group.bare.emplace_back(peers.barePath, kSmall);
                group.ours.emplace_back(*client_, kSmall);
            }
        }
    }

    std::string Heading() const override
    {
        return "Requests a second through IPCMessageClient, 64 bytes";
    }

    void Round(const Effort& effort, Turn turn) override
    {
        for (Group& group : groups_) {
            const auto [bare, ours] = Both(
                turn, [&] { return Run(group.bare, peers_.bare, effort.threads); },
                [&] { return Run(group.ours, peers_.echo, effort.threads); });
            group.rate.Add(bare.callsPerSecond, ours.callsPerSecond);
            group.cost.Add(bare.processorTimePerCall, ours.processorTimePerCall);
        }
    }

    std::vector<Row> Rows() const override
    {
        std::vector<Row> rows;
        for (const Group& group : groups_) {
            rows.push_back(group.rate);
        }
        for (const Group& group : groups_) {
            rows.push_back(group.cost);
        }
        return rows;
    }

  private:
    struct Group {
        explicit Group(int count)
            : rate(Threads(count), Unit::kPerSecond,
                   count == 1 ? std::nullopt : std::optional(AtLeast(count < 8 ? 0.90 : 0.98))),
              cost(Threads(count) + ", processor time of each", Unit::kNanoseconds)
        {}

        static std::string Threads(int count)
        {
            return std::to_string(count) + (count == 1 ? " thread" : " threads");
        }

        Row rate;
        Row cost;
        std::vector<BareCaller> bare;
        std::vector<ClientCaller> ours;
    };

    Peers& peers_;
    std::unique_ptr<IPCMessageClient> client_;
    std::vector<Group> groups_;
};

}  // namespace

std::unique_ptr<Scenario> MakeRoundTrips(Peers& peers)
{
    return std::make_unique<RoundTrips>(peers);
}

std::unique_ptr<Scenario> MakeThroughput(Peers& peers)
{
    return std::make_unique<Throughput>(peers);
}

}  // namespace pelacon::bench
