// A program under mixed load, with a service on a real adapter and a real Wi-Fi card: it uses
// LibraryPeer on another adapter. Commands, a line each: "round" connects, exchanges values and
// disconnects, "on" switches Bluetooth on, "report" writes what has happened so far, "end" stops
// all and ends. The address of the peer is in PEER.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/radios/LibraryPeer.h>
#include <tests/radios/PeerEvents.h>
#include <tests/reliability/LoadCounts.h>
#include <tests/support/Eventually.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <iostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace pelacon::radios_test;
using namespace std::chrono_literals;
using pelacon::test::WriteLine;
using Clock = std::chrono::steady_clock;
using Bytes = std::vector<std::uint8_t>;

pelacon::test::LoadCounts counts;
std::atomic<std::uint64_t> scanResults{0};
std::atomic<std::uint64_t> notifications{0};
std::atomic<bool> isEnding{false};

/// The virtual machine has one slow processor: the load has pauses.
void Pause(std::chrono::milliseconds length)
{
    pelacon::test::Eventually([] { return isEnding.load(); }, length, 50ms);
}

/// A call that returns a status; whether it is success.
template <typename Call>
bool Succeeds(std::chrono::milliseconds timeout, const Call& call)
{
    const bool isDone = counts.Timed(timeout, call) == kBleStatusSuccess;
    counts.Judge(isDone, true);
    return isDone;
}

/// The state, and a name that is changed now and then. A change that failed may have been made.
void UseAdapter()
{
    std::set<std::string> possible;
    for (int round = 0; !isEnding; ++round) {
        const BtRunningState state = counts.Timed(10s, [] { return GetBtRunningState(); });
        counts.Judge(state != kBtStateUnknown, true);
        if (round % 20 == 0) {
            const std::string next = "Soak " + std::to_string(round);
            if (Succeeds(10s, [&] { return BleManager::SetBtName(next); })) {
                possible.clear();
            }
            possible.insert(next);
        }
        std::string name;
        const bool isAnswered =
            counts.Timed(10s, [&] { return BleManager::GetBtName(name); }) == kBleStatusSuccess;
        // An adapter that is gone has no name.
        counts.Judge(isAnswered && !name.empty(), round < 20 || possible.contains(name),
                     "name " + name);
        Pause(250ms);
    }
}

/// What is received from the peer must be what it sends.
BleScanCallbacksC scanTable{
    nullptr, [](std::int32_t, BleScanResultC result) {
        if (result.address == PeerAddress()) {
            const Bytes data(result.data, result.data + result.dataLen);
            counts.Judge(
                true,
                data == (result.eventType == kBleScanResponse ? kScanResponse : kAdvertisement),
                "an advertisement");
            ++scanResults;
        }
    }};

void Scan()
{
    std::int32_t listener = 0;
    Succeeds(5s, [&] { return BleScanRegisterCallbacks(&scanTable, &listener); });
    while (!isEnding) {
        for (const auto policy : {kBleScanLowPower, kBleScanBalanced, kBleScanLowLatency}) {
            Succeeds(5s, [&] { return StartBleScan(listener, policy); });
            Pause(6s);
            Succeeds(5s, [&] { return StopBleScan(listener); });
            Pause(2s);
        }
    }
    Succeeds(5s, [&] { return BleScanUnRegisterCallbacks(listener); });
}

BleAdvCallbacksC advertiserTable{nullptr};

void Advertise()
{
    std::int32_t advertiser = 0;
    Succeeds(5s, [&] { return BleAdvRegisterCallbacks(&advertiserTable, &advertiser); });
    const std::array<std::uint8_t, 6> data{5, 0x09, 'S', 'o', 'a', 'k'};
    const BleAdvertiseDataC sent{data.size(), data.data(), 0, nullptr};
    while (!isEnding) {
        for (const auto kind : {kBleAdvConnectable, kBleAdvScannable, kBleAdvNonConnectable}) {
            BleAdvertiseParamsC parameters{};
            parameters.advEventType = kind;
            Succeeds(5s, [&] { return BleStartAdvertise(advertiser, &parameters, &sent); });
            Pause(5s);
            Succeeds(5s, [&] { return BleStopAdvertise(advertiser); });
            Pause(3s);
        }
    }
    Succeeds(5s, [&] { return BleAdvUnRegisterCallbacks(advertiser); });
}

void UseWifi()
{
    while (!isEnding) {
        const auto state = counts.Timed(5s, [] { return WifiSystemGetWifiState(); });
        counts.Judge(state != kWifiStateUnknown, state == kWifiStateOn, "Wi-Fi is off");
        const auto frequency =
            counts.Timed(5s, [] { return WifiSystemGetFrequencyFromChannel(6); });
        counts.Judge(frequency > 0, frequency == 2437, "a frequency");
        std::array<std::int32_t, 64> low{};
        std::array<std::int32_t, 64> high{};
        std::int32_t lowCount = low.size();
        std::int32_t highCount = high.size();
        std::int32_t current = 0;
        const bool isAnswered = counts.Timed(5s, [&] {
            return WifiSystemGetPCSupportChannelList(low.data(), &lowCount, high.data(), &highCount,
                                                     &current);
        });
        counts.Judge(isAnswered,
                     std::find(low.begin(), low.begin() + lowCount, 6) != low.begin() + lowCount,
                     "no channel 6");
        Pause(250ms);
    }
}

/// One connection: values are written and read for a while, then numbers are notified.
class Round {
  public:
    /// What failed; empty if nothing did.
    std::string Run()
    {
        if (!Succeeds(10s, [&] { return BleGattClientRegister(&client_); })) {
            return "register";
        }
        peerEvents.Forget(client_);
        const std::string failure = Use();
        Succeeds(10s, [&] { return BleGattClientUnRegister(client_); });
        return failure;
    }

  private:
    static constexpr std::uint32_t kNumbersAtOnce = 200;

    std::string Use()
    {
        // The service ends an attempt after 20 s.
        if (const auto [state, reason] = Connect(client_, 25s); state != kBleGattConnected) {
            return "connect, reason " + std::to_string(reason);
        }
        WriteLine("connected");
        if (!Discover()) {
            return "discover";
        }
        if (!ExchangeValues()) {
            return "exchange values";
        }
        if (!ReceiveNumbers()) {
            return "receive numbers";
        }
        return Disconnect(client_, 25s) == PeerEvents::kDisconnected ? "" : "disconnect";
    }
    bool Discover() const
    {
        return Succeeds(10s, [&] { return BleGattClientSearchServices(client_); }) &&
               Succeeds(10s, [&] { return BleGattClientGetService(client_, kService); });
    }
    bool ExchangeValues() const
    {
        const auto end = Clock::now() + 8s;
        for (std::uint32_t number = 0; Clock::now() < end; ++number) {
            Bytes written(sizeof number + number % 100, static_cast<std::uint8_t>(number));
            std::memcpy(written.data(), &number, sizeof number);
            Bytes read(kBleGattMaxValueLength);
            std::uint32_t size = 0;
            if (!Write(kValue, written) || !Succeeds(10s, [&] {
                    return BleGattClientReadCharacteristic(client_, kService, kValue, read.data(),
                                                           &size);
                })) {
                return false;
            }
            read.resize(size);
            counts.Judge(true, read == written, "a value that was read");
        }
        return true;
    }
    bool ReceiveNumbers() const
    {
        Bytes count(sizeof kNumbersAtOnce);
        std::memcpy(count.data(), &kNumbersAtOnce, sizeof kNumbersAtOnce);
        if (!Succeeds(10s,
                      [&] {
                          return BleGattClientRegisterNotification(client_, kService, kNumbers,
                                                                   true);
                      }) ||
            !Write(kControl, count)) {
            return false;
        }
        const auto isComplete = [] { return peerEvents.values.size() >= kNumbersAtOnce; };
        peerEvents.Wait([&] { return isComplete() || peerEvents.states.size() > 1; }, 60s);
        const std::lock_guard lock(peerEvents.mutex);
        std::uint32_t place = 0;
        for (const Bytes& value : peerEvents.values) {
            std::uint32_t number = 0;
            std::memcpy(&number, value.data(), std::min(value.size(), sizeof number));
            counts.Judge(true, value.size() == kNumberSize && number == place++, "a number");
        }
        notifications += place;
        return isComplete();
    }
    bool Write(const char* characteristic, const Bytes& value) const
    {
        return Succeeds(10s, [&] {
            return BleGattClientWriteCharacteristic(client_, kService, characteristic, value.data(),
                                                    static_cast<std::uint32_t>(value.size()));
        });
    }

    std::int32_t client_ = 0;
};

/// After trouble Bluetooth comes back by itself, or can be switched on.
bool SwitchOn()
{
    return pelacon::test::Eventually(
        [] {
            return counts.Timed(10s, [] { return IsBtEnabled(); }) ||
                   (counts.Timed(10s, [] { return BtEnable(); }), false);
        },
        90s, 500ms);
}

void Obey(const std::string& command)
{
    if (command == "round") {
        const std::string failure = Round().Run();
        WriteLine(failure.empty() ? "round done" : "round failed: " + failure);
    } else if (command == "on") {
        WriteLine(SwitchOn() ? "is on" : "is not on");
    } else {
        nlohmann::json report = counts.Report();
        report["scanResults"] = scanResults.load();
        report["notifications"] = notifications.load();
        WriteLine(report.dump());
    }
}

}  // namespace

int main()
{
    if (PelaconSvcStart() != 0 || !SwitchOn()) {
        WriteLine("not ready");
        return 1;
    }
    std::vector<std::thread> threads;
    for (void (*const use)() : {UseAdapter, Scan, Advertise, UseWifi}) {
        threads.emplace_back(use);
    }
    WriteLine("ready");
    for (std::string command; std::getline(std::cin, command) && command != "end";) {
        Obey(command);
    }
    isEnding = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    PelaconSvcStop();
    return 0;
}
