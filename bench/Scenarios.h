// The measurements. Each scenario measures once per round, bare and the library in turn, and
// provides its rows at the end.
#pragma once

#include <bench/Peer.h>
#include <bench/Table.h>
#include <protocol/Operation.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::bench {

/// The number and length of the rounds.
struct Effort {
    int rounds;
    int calls;                          ///< round trips of one kind in a round
    std::chrono::milliseconds threads;  ///< requests by a number of threads, in a round
    int notifications;                  ///< of one size in a round
    std::chrono::milliseconds pushing;  ///< notifications under calls, in a round
    int bursts;                         ///< of notifications, to one client or to all, in a round
    int starts;                         ///< start and stop in a round
};

/// Many short rounds instead of a few long ones reduce the influence of other processes.
inline constexpr Effort kFull{.rounds = 31,
                              .calls = 10'000,
                              .threads = std::chrono::milliseconds(100),
                              .notifications = 100'000,
                              .pushing = std::chrono::milliseconds(250),
                              .bursts = 200,
                              .starts = 40};
inline constexpr Effort kQuick{.rounds = 3,
                               .calls = 5'000,
                               .threads = std::chrono::milliseconds(50),
                               .notifications = 50'000,
                               .pushing = std::chrono::milliseconds(150),
                               .bursts = 100,
                               .starts = 20};

/// The other processes of the measurements, which run during all rounds.
struct Peers {
    /// Waits until all are ready.
    explicit Peers(const std::string& folder);

    std::string echoFolder;
    std::string serviceFolder;
    std::string floodFolder;
    std::string barePath;
    Peer bare;
    Peer echo;
    Peer flood;
    Peer service;
};

/// The pipe of the process that returns the payload of each request, or the client's number.
inline constexpr auto kEchoPipe = L"\\\\.\\Pipe\\PelaconBenchEcho";
inline constexpr std::int32_t kTellClientId = protocol::kServiceModule + 2;

/// Which of the two is measured first; alternates, so that neither has an advantage.
enum class Turn { kBareFirst, kOursFirst };

/// Measures both in succession.
template <typename Bare, typename Ours>
auto Both(Turn turn, const Bare& bare, const Ours& ours)
{
    if (turn == Turn::kBareFirst) {
        auto first = bare();
        return std::pair(std::move(first), ours());
    }
    auto first = ours();
    return std::pair(bare(), std::move(first));
}

class Scenario {
  public:
    Scenario() = default;
    virtual ~Scenario() = default;
    Scenario(const Scenario&) = delete;
    Scenario& operator=(const Scenario&) = delete;

    virtual std::string Heading() const = 0;
    virtual void Round(const Effort& effort, Turn turn) = 0;
    virtual std::vector<Row> Rows() const = 0;
};

std::unique_ptr<Scenario> MakeRoundTrips(Peers& peers);
std::unique_ptr<Scenario> MakeThroughput(Peers& peers);
std::unique_ptr<Scenario> MakeNotificationRate(Peers& peers);
std::unique_ptr<Scenario> MakeNotificationLatency(Peers& peers);
std::unique_ptr<Scenario> MakeBursts(Peers& peers);
std::unique_ptr<Scenario> MakeFanOut(Peers& peers);
std::unique_ptr<Scenario> MakeLifecycle(Peers& peers);

}  // namespace pelacon::bench
