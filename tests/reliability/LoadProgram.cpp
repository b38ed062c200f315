// A program that calls the library from four threads without a pause, checks each answer, and is
// notified meanwhile. It reads commands from its standard input: "report" writes a line with what
// has happened so far, "end" stops all and ends.
#include <PelaconSDK/PelaconSDK.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <iostream>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr int kThreads = 4;

std::atomic<bool> isEnding{false};
std::atomic<std::uint64_t> answered{0};
std::atomic<std::uint64_t> failed{0};
std::atomic<std::uint64_t> wrong{0};
std::atomic<std::uint64_t> scanResults{0};
std::atomic<std::int64_t> slowestMs{0};
std::atomic<std::int64_t> overdueMs{0};  // at most, after the end of a time-out

void WriteLine(const std::string& line)
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::cout << line << std::endl;
}

/// Counts an answer, unless the operation failed for want of a service.
void Judge(bool isAnswered, bool isRight)
{
    ++(isAnswered ? answered : failed);
    wrong += isAnswered && !isRight ? 1 : 0;
}

void Raise(std::atomic<std::int64_t>& most, std::int64_t value)
{
    std::int64_t before = most;
    while (value > before && !most.compare_exchange_weak(before, value)) {
    }
}

/// Makes a call of an operation that has this time-out.
template <typename Call>
void Timed(std::chrono::milliseconds timeout, const Call& call)
{
    const auto begin = std::chrono::steady_clock::now();
    call();
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - begin);
    Raise(slowestMs, took.count());
    Raise(overdueMs, (took - timeout).count());
}

/// The reply of another request would show: each channel has a frequency of its own.
void AskForAFrequency(int channel)
{
    const std::int32_t frequency = WifiSystemGetFrequencyFromChannel(channel);
    Judge(frequency > 0, frequency == (channel <= 13 ? 2407 : 5000) + 5 * channel);
}

/// A reply that is a text; the name does not change.
void AskForTheName(const std::string& name)
{
    std::array<std::uint8_t, 64> bytes{};
    auto size = static_cast<std::int32_t>(bytes.size());
    const bool isAnswered = GetBtName(bytes.data(), &size) == kBleStatusSuccess;
    Judge(isAnswered, std::string(bytes.begin(), bytes.begin() + size) == name);
}

void CallWithoutAPause(unsigned seed, const std::string& name, std::int32_t listener)
{
    constexpr std::array kChannels{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 36, 40, 44, 48, 149, 153};
    std::minstd_rand random(seed);
    while (!isEnding) {
        const int channel = kChannels[random() % kChannels.size()];
        Timed(5s, [&] { AskForAFrequency(channel); });
        if (channel == 1) {
            Timed(10s, [&] { AskForTheName(name); });
        } else if (channel == 36) {
            // A service that was restarted does not scan for this listener any more.
            // Starts run one at a time: each may wait for those of the other threads.
            Timed(kThreads * 5s, [&] { StartBleScan(listener, kBleScanLowLatency); });
        }
    }
}

BtManagerCallbacksC adapterTable{
    [](std::int32_t state) { WriteLine("state " + std::to_string(state)); }};
BleScanCallbacksC scanTable{nullptr, [](std::int32_t, BleScanResultC) { ++scanResults; }};
WifiChannelCallbacksC channelTable{
    [](std::int32_t channel) { WriteLine("channel " + std::to_string(channel)); }};

void Report()
{
    WriteLine(nlohmann::json{{"answered", answered.load()},
                             {"failed", failed.load()},
                             {"wrong", wrong.load()},
                             {"scanResults", scanResults.load()},
                             {"slowestMs", slowestMs.load()},
                             {"overdueMs", overdueMs.load()}}
                  .dump());
}

}  // namespace

int main()
{
    std::array<std::uint8_t, 64> bytes{};
    auto size = static_cast<std::int32_t>(bytes.size());
    std::int32_t listener = 0;
    if (PelaconSvcStart() != 0 || GetBtName(bytes.data(), &size) != kBleStatusSuccess ||
        RegisterBtStateChangeCallbacks(&adapterTable) != kBleStatusSuccess ||
        BleScanRegisterCallbacks(&scanTable, &listener) != kBleStatusSuccess) {
        WriteLine("not ready");
        return 1;
    }
    WifiSystemRegistWifiChannelCallback(&channelTable);
    const std::string name(bytes.begin(), bytes.begin() + size);
    std::vector<std::thread> threads;
    for (unsigned seed = 1; seed <= kThreads; ++seed) {
        threads.emplace_back(CallWithoutAPause, seed, name, listener);
    }
    WriteLine("listener " + std::to_string(listener));
    WriteLine("ready");
    for (std::string command; std::getline(std::cin, command) && command != "end";) {
        Report();
    }
    isEnding = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    PelaconSvcStop();
    WriteLine("ended");
    return 0;
}
