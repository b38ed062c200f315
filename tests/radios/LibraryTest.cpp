// The library with a service on a real stack (hci0), and LibraryPeer on another one (hci1). Run in
// the virtual machine, by tests/library.sh, which gives the peer's address.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/radios/LibraryPeer.h>
#include <tests/radios/PeerEvents.h>
#include <tests/radios/SmallClient.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <numeric>
#include <string>
#include <vector>

namespace pelacon::radios_test {

namespace {

using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

// Emulation is slow, and a controller receives an advertisement about every ten seconds.
constexpr seconds kPatience{120};

/// What the callback of a scan reports; guarded by the mutex.
struct Results {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<BleScanResultC> results;
};
Results scanned;

BleScanCallbacksC scanCallbacks{nullptr, [](int32_t, BleScanResultC result) {
                                    const std::lock_guard lock(scanned.mutex);
                                    scanned.results.push_back(result);
                                    scanned.changed.notify_all();
                                }};

class WithRealRadios : public testing::Test {
  protected:
    WithRealRadios()
    {
        PelaconSvcStart();
        EXPECT_EQ(BleGattClient::BleGattClientRegister(&client), kBleStatusSuccess);
        peerEvents.Forget(client);
    }
    ~WithRealRadios() override
    {
        BleGattClient::BleGattClientUnRegister(client);
        PelaconSvcStop();
    }

    bool Discover() const
    {
        EXPECT_EQ(Connect(client, kPatience), PeerEvents::kConnected);
        return !HasFailure() &&
               BleGattClient::BleGattClientSearchServices(client) == kBleStatusSuccess &&
               BleGattClient::BleGattClientGetService(client, kService) == kBleStatusSuccess;
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
        std::unique_lock lock(scanned.mutex);
        return scanned.changed.wait_for(lock, kPatience, [&] {
            return std::ranges::any_of(scanned.results, [&](const BleScanResultC& result) {
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
        ASSERT_TRUE(Discover()) << "round " << round;
        ASSERT_EQ(Disconnect(client, kPatience), PeerEvents::kDisconnected) << "round " << round;
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
    EXPECT_TRUE(peerEvents.Wait([] { return peerEvents.values.size() >= kCount; }, 3 * kPatience));
    const std::lock_guard lock(peerEvents.mutex);
    std::vector<std::uint32_t> received;
    for (const Bytes& value : peerEvents.values) {
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
