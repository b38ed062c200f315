// What is measured. Each scenario takes its figures once a round, bare and ours in turn, and has
// its rows at the end.
#pragma once

#include <bench/Peer.h>
#include <bench/Table.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace pelacon::bench {

/// How much is measured.
struct Effort {
    int rounds;
    int calls;                          ///< round trips of one kind in a round
    std::chrono::milliseconds threads;  ///< requests by a number of threads, in a round
    int notifications;                  ///< of one size in a round
    std::chrono::milliseconds pushing;  ///< notifications under calls, in a round
    int starts;                         ///< start and stop in a round
};

inline constexpr Effort kFull{
    9, 20'000, std::chrono::milliseconds(250), 300'000, std::chrono::milliseconds(500), 100};
inline constexpr Effort kQuick{
    3, 5'000, std::chrono::milliseconds(60), 50'000, std::chrono::milliseconds(150), 20};

/// The processes that are measured against; all there during all rounds.
struct Peers {
    /// Waits until all can be measured.
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

/// The pipe of the process that answers each request with its own payload.
inline constexpr auto kEchoPipe = L"\\\\.\\Pipe\\PelaconBenchEcho";

class Scenario {
  public:
    Scenario() = default;
    virtual ~Scenario() = default;
    Scenario(const Scenario&) = delete;
    Scenario& operator=(const Scenario&) = delete;

    virtual std::string Heading() const = 0;
    virtual void Round(const Effort& effort) = 0;
    virtual std::vector<Row> Rows() const = 0;
};

std::unique_ptr<Scenario> MakeRoundTrips(Peers& peers);
std::unique_ptr<Scenario> MakeThroughput(Peers& peers);
std::unique_ptr<Scenario> MakeNotificationRate(Peers& peers);
std::unique_ptr<Scenario> MakeNotificationLatency(Peers& peers);
std::unique_ptr<Scenario> MakeLifecycle(Peers& peers);

}  // namespace pelacon::bench
