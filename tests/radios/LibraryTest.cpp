// The library with a service on a real stack (hci0), and LibraryPeer on another one (hci1). Run in
// the virtual machine, by tests/library.sh, which gives the peer's address.
#include <PelaconSDK/PelaconSDK.h>
#include <service/linux/HardwareAddress.h>
#include <tests/radios/LibraryPeer.h>
#include <tests/radios/SmallClient.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <numeric>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace pelacon::radios_test {

namespace {

using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

// Emulation is slow, and a controller receives an advertisement about every ten seconds.
constexpr seconds kPatience{120};

/// A virtual controller fails a connection to one that is not advertising at that moment, where a
/// real one waits, and the kernel does not get over the failure. When a connection has ended, the
/// peer's kernel switches its advertising off and on.
constexpr std::chrono::milliseconds kUntilThePeerAdvertises{500};

/// What callbacks report; guarded by its mutex.
struct Events {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<BleScanResultC> results;
    std::vector<std::pair<int32_t, int32_t>> states;  // state, reason
    std::vector<Bytes> values;

    template <typename Condition>
    bool Wait(const Condition& condition, Clock::duration patience = kPatience)
    {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, patience, condition);
    }
    template <typename Change>
    void Note(const Change& change)
    {
        const std::lock_guard lock(mutex);
        change();
        changed.notify_all();
    }
};
Events events;

BleScanCallbacksC scanCallbacks{nullptr, [](int32_t, BleScanResultC result) {
                                    events.Note([&] { events.results.push_back(result); });
                                }};
BtGattClientCallbacksC clientCallbacks{
    [](int32_t, int32_t state, int32_t reason) {
        events.Note([&] { events.states.emplace_back(state, reason); });
    },
    [](int32_t, const char*, const char*, const uint8_t* data, uint32_t dataLen, int32_t) {
        events.Note([&] { events.values.emplace_back(data, data + dataLen); });
    }};

std::uint64_t PeerAddress()
{
    const char* const text = std::getenv("PEER");
    return service::linux_radios::ParseAddress(text != nullptr ? text : "").value_or(0);
}

class WithRealRadios : public testing::Test {
  protected:
    WithRealRadios()
    {
        PelaconSvcStart();
        EXPECT_EQ(BleGattClient::BleGattClientRegister(&client), kBleStatusSuccess);
        events.Note([] {
            events.results.clear();
            events.states.clear();
            events.values.clear();
        });
    }
    ~WithRealRadios() override
    {
        BleGattClient::BleGattClientUnRegister(client);
        PelaconSvcStop();
    }

    bool Connect() const
    {
        std::this_thread::sleep_for(kUntilThePeerAdvertises);
        const std::size_t before = States();
        BleGattClient::BleGattClientConnect(client, PeerAddress(), &clientCallbacks);
        return events.Wait([&] { return events.states.size() > before; }) &&
               LastState() == std::pair<int32_t, int32_t>(kBleGattConnected, kBleGattReasonNone);
    }
    bool Disconnect() const
    {
        const std::size_t before = States();
        BleGattClient::BleGattClientDisconnect(client);
        return events.Wait([&] {
            return events.states.size() > before;
        }) && LastState() == std::pair<int32_t, int32_t>(kBleGattDisconnected, kBleGattReasonLocal);
    }
    bool Discover() const
    {
        return Connect() &&
               BleGattClient::BleGattClientSearchServices(client) == kBleStatusSuccess &&
               BleGattClient::BleGattClientGetService(client, kService) == kBleStatusSuccess;
    }
    static std::size_t States()
    {
        const std::lock_guard lock(events.mutex);
        return events.states.size();
    }
    static std::pair<int32_t, int32_t> LastState()
    {
        const std::lock_guard lock(events.mutex);
        return events.states.back();
    }

    BleStatusC Read(Bytes& value) const
    {
        return BleGattClient::BleGattClientReadCharacteristic(client, kService, kValue, &value);
    }
    BleStatusC Write(const Bytes& value) const
    {
        return BleGattClient::BleGattClientWriteCharacteristic(client, kService, kValue, value);
    }

    int32_t client = 0;
};

TEST_F(WithRealRadios, AdvertisementsAreReceivedByteForByte)
{
    int listener = 0;
    ASSERT_EQ(BleScanner::BleScanRegisterCallbacks(&scanCallbacks, &listener), kBleStatusSuccess);
    ASSERT_EQ(BleScanner::StartBleScan(listener, kBleScanLowLatency), kBleStatusSuccess);
    const auto isReceived = [](int32_t kind, const Bytes& data) {
        return events.Wait([&] {
            return std::ranges::any_of(events.results, [&](const BleScanResultC& result) {
                return result.address == PeerAddress() && result.eventType == kind &&
                       Bytes(result.data, result.data + result.dataLen) == data;
            });
        });
    };
    EXPECT_TRUE(isReceived(kBleScanConnectable, kAdvertisement));
    EXPECT_TRUE(isReceived(kBleScanResponse, kScanResponse));
    BleScanner::StopBleScan(listener);
    BleScanner::BleScanUnRegisterCallbacks(listener);
}

/// The services are discovered each time: BlueZ 5.66 does not stand the end of a connection before.
TEST_F(WithRealRadios, FiftyConnectionsAreEstablishedAndEnded)
{
    for (int round = 0; round < 50; ++round) {
        ASSERT_TRUE(Discover()) << "round " << round << ", reason " << LastState().second;
        ASSERT_TRUE(Disconnect()) << "round " << round << ", reason " << LastState().second;
    }
}

TEST_F(WithRealRadios, AThousandValuesAreWrittenAndRead)
{
    ASSERT_TRUE(Discover());
    for (std::uint32_t round = 0; round < 1000; ++round) {
        Bytes written(sizeof round + round % 100, static_cast<std::uint8_t>(round));
        std::memcpy(written.data(), &round, sizeof round);
        ASSERT_EQ(Write(written), kBleStatusSuccess) << round;
        Bytes read;
        ASSERT_EQ(Read(read), kBleStatusSuccess) << round;
        ASSERT_EQ(read, written) << round;
    }
}

/// Some numbers around a place.
std::string Excerpt(const std::vector<std::uint32_t>& numbers,
                    std::vector<std::uint32_t>::const_iterator there)
{
    const auto place = there - numbers.begin();
    const auto size = static_cast<std::ptrdiff_t>(numbers.size());
    std::string text = "from place " + std::to_string(std::max<std::ptrdiff_t>(place - 5, 0));
    for (auto i = std::max<std::ptrdiff_t>(place - 5, 0); i < std::min(place + 20, size); ++i) {
        text += " " + std::to_string(numbers[static_cast<std::size_t>(i)]);
    }
    return text;
}

TEST_F(WithRealRadios, TenThousandNotificationsArriveInOrder)
{
    constexpr std::uint32_t kCount = 10'000;
    ASSERT_TRUE(Discover());
    ASSERT_EQ(BleGattClient::BleGattClientRegisterNotification(client, kService, kNumbers, true),
              kBleStatusSuccess);
    Bytes count(sizeof kCount);
    std::memcpy(count.data(), &kCount, sizeof kCount);
    ASSERT_EQ(BleGattClient::BleGattClientWriteCharacteristic(client, kService, kControl, count),
              kBleStatusSuccess);
    EXPECT_TRUE(events.Wait([] { return events.values.size() >= kCount; }, 3 * kPatience))
        << events.values.size();
    const std::lock_guard lock(events.mutex);
    std::vector<std::uint32_t> received;
    for (const Bytes& value : events.values) {
        ASSERT_EQ(value.size(), kNumberSize);
        std::memcpy(&received.emplace_back(), value.data(), sizeof received.back());
    }
    std::vector<std::uint32_t> sent(kCount);
    std::iota(sent.begin(), sent.end(), 0U);
    const auto [there, wanted] =
        std::mismatch(received.begin(), received.end(), sent.begin(), sent.end());
    EXPECT_TRUE(there == received.end() && wanted == sent.end())
        << received.size() << " values; " << Excerpt(received, there);
}

/// The same read through the library and by the smallest client of BlueZ, in turn.
TEST_F(WithRealRadios, AReadTakesLittleLongerThanThatOfASmallClient)
{
    constexpr int kRounds = 1000;
    ASSERT_TRUE(Discover());
    SmallClient small(PeerAddress(), kValue);
    std::vector<double> throughLibrary;
    std::vector<double> direct;
    const auto measure = [](const auto& read) {
        const auto begin = Clock::now();
        read();
        return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
    };
    for (int round = 0; round < kRounds; ++round) {
        Bytes value;
        throughLibrary.push_back(measure([&] { ASSERT_EQ(Read(value), kBleStatusSuccess); }));
        Bytes same;
        direct.push_back(measure([&] { same = small.Read(); }));
        ASSERT_EQ(value, same);
    }
    const auto median = [](std::vector<double>& times) {
        std::ranges::nth_element(times, times.begin() + kRounds / 2);
        return times[kRounds / 2];
    };
    const double library = median(throughLibrary);
    const double floor = median(direct);
    std::printf("read: %.2f ms through the library, %.2f ms by a small client, ratio %.3f\n",
                library, floor, library / floor);
    EXPECT_LE(library / floor, 1.15);
}

}  // namespace

}  // namespace pelacon::radios_test
