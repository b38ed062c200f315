// A program that calls the library from four threads without a pause, checks each answer, and is
// notified meanwhile. It reads commands from its standard input: "report" writes a line with what
// has happened so far, "end" stops all and ends.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/reliability/LoadCounts.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <iostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using pelacon::test::WriteLine;

constexpr int kThreads = 4;

std::atomic<bool> isEnding{false};
std::atomic<std::uint64_t> scanResults{0};
pelacon::test::LoadCounts counts;

/// The reply of another request would show: each channel has a frequency of its own.
void AskForAFrequency(int channel)
{
    const std::int32_t frequency =
        counts.Timed(5s, [&] { return WifiSystemGetFrequencyFromChannel(channel); });
    counts.Judge(frequency > 0, frequency == (channel <= 13 ? 2407 : 5000) + 5 * channel,
                 "a frequency");
}

/// A reply that is a text; the name does not change.
void AskForTheName(const std::string& name)
{
    std::array<std::uint8_t, 64> bytes{};
    auto size = static_cast<std::int32_t>(bytes.size());
    const bool isAnswered =
        counts.Timed(10s, [&] { return GetBtName(bytes.data(), &size) == kBleStatusSuccess; });
    counts.Judge(isAnswered, std::string(bytes.begin(), bytes.begin() + size) == name, "a name");
}

void CallWithoutAPause(unsigned seed, const std::string& name, std::int32_t listener)
{
    constexpr std::array kChannels{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 36, 40, 44, 48, 149, 153};
    std::minstd_rand random(seed);
    while (!isEnding) {
        const int channel = kChannels[random() % kChannels.size()];
        AskForAFrequency(channel);
        if (channel == 1) {
            AskForTheName(name);
        } else if (channel == 36) {
            // A service that was restarted does not scan for this listener any more.
            // Starts run one at a time: each may wait for those of the other threads.
            counts.Timed(kThreads * 5s, [&] { return StartBleScan(listener, kBleScanLowLatency); });
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
    nlohmann::json report = counts.Report();
    report["scanResults"] = scanResults.load();
    WriteLine(report.dump());
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
