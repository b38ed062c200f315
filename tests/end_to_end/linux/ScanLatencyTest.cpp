// How much later than at the raw socket of the kernel an advertisement reaches a program's
// callback: through the service, its pipe and the library, in two processes. The socket is a
// pair's, as a machine without a radio has no other.
#include <PelaconSDK/PelaconSDK.h>
#include <service/linux/bluetooth/AdvertisingReport.h>
#include <tests/radios/ScanTimes.h>
#include <tests/service/linux/BluezFixture.h>
#include <tests/service/linux/SocketPair.h>
#include <tests/support/Eventually.h>
#include <tests/support/ServiceProcess.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cstdio>
#include <span>
#include <string>
#include <thread>

namespace pelacon::test {

namespace {

using radios_test::Later;
using radios_test::ScanTimes;
using service::linux_radios::bluetooth::DecodeAdvertisingReports;
using service::linux_radios::tests::SocketPair;

constexpr int kReports = 500;
constexpr double kMostMilliseconds = 1;

ScanTimes inCallback;
BleScanCallbacksC callbacks{nullptr, [](int32_t, BleScanResultC result) {
                                inCallback.Note({result.data, result.data + result.dataLen});
                            }};

class AScanReport : public testing::Test, protected service::linux_radios::tests::BluezFixture {
  protected:
    AScanReport()
    {
        StartBluez();
        EXPECT_EQ(fcntl(toService.service.Get(), F_SETFD, 0), 0);  // the service inherits it
        service.emplace(std::nullopt, PELACON_SCAN_SERVICE,
                        std::vector{std::to_string(toService.service.Get())});
        PelaconSvcStart();
    }
    ~AScanReport() override { PelaconSvcStop(); }

    SocketPair toService;
    SocketPair bare;
    std::optional<ServiceProcess> service;
};

/// An advertising report as a controller sends it, with a number in its data.
std::vector<std::uint8_t> Report(int number)
{
    return {0x04,
            0x3E,
            0x13,
            0x02,
            0x01,
            0x00,
            0x01,
            0x06,
            0x05,
            0x04,
            0x03,
            0x02,
            0xC1,
            0x07,
            0x02,
            0x01,
            0x06,  // general discoverable
            0x03,
            0xFF,
            static_cast<std::uint8_t>(number & 0xFF),
            static_cast<std::uint8_t>(number >> 8),
            0xC4};
}

/// Notes when reports can be read from the socket, until there are `enough`.
void Receive(const SocketPair& socket, ScanTimes& times, std::size_t enough)
{
    while (times.Count() < enough) {
        pollfd ready{socket.service.Get(), POLLIN, 0};
        ASSERT_EQ(poll(&ready, 1, 20'000), 1);
        std::array<std::uint8_t, 64> packet{};
        const ssize_t size = recv(socket.service.Get(), packet.data(), packet.size(), 0);
        ASSERT_GT(size, 0);
        for (const auto& report :
             DecodeAdvertisingReports(std::span(packet).first(static_cast<std::size_t>(size)))) {
            times.Note(report.data);
        }
    }
}

TEST_F(AScanReport, ReachesACallbackWithinAMillisecondOfTheRawSocket)
{
    int listener = 0;
    ASSERT_EQ(BleScanner::BleScanRegisterCallbacks(&callbacks, &listener), kBleStatusSuccess);
    ASSERT_EQ(BleScanner::StartBleScan(listener, kBleScanLowLatency), kBleStatusSuccess);
    ASSERT_TRUE(IsCalled("StartDiscovery"));

    ScanTimes atRawSocket;
    std::thread receiver([&] { Receive(bare, atRawSocket, kReports); });
    for (int number = 0; number < kReports; ++number) {
        bare.Send(Report(number));
        toService.Send(Report(number));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));  // as a busy air has them
    }
    receiver.join();
    ASSERT_TRUE(Eventually([] { return inCallback.Count() == kReports; }));

    const std::vector<double> later = Later(inCallback, atRawSocket);
    ASSERT_EQ(later.size(), static_cast<std::size_t>(kReports));
    std::printf("from the raw socket to a callback: %.3f ms (p50), %.3f ms (p99)\n",
                later[kReports / 2], later[kReports * 99 / 100]);
    EXPECT_LE(later[kReports / 2], kMostMilliseconds);
}

}  // namespace

}  // namespace pelacon::test
