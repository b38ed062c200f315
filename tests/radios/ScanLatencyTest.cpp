// How much later than at the raw socket an advertisement reaches a program's callback. Run in the
// virtual machine, by tests/idle_and_latency.sh, while hci1 advertises a number that changes.
#include <PelaconSDK/PelaconSDK.h>
#include <service/linux/bluetooth/AdvertisingReport.h>
#include <service/linux/bluetooth/Hci.h>
#include <tests/radios/ScanTimes.h>
#include <tests/support/Eventually.h>

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace pelacon::radios_test {

namespace {

using namespace service::linux_radios::bluetooth;

/// A bound in milliseconds would measure the emulator, and each hop between threads waits for the
/// machine's only processor. This bound is for what would be wrong anywhere: a timer, or a wait, on
/// the way.
constexpr double kMostTimes = 40;

ScanTimes inCallback;
BleScanCallbacksC callbacks{nullptr, [](int32_t, BleScanResultC result) {
                                inCallback.Note({result.data, result.data + result.dataLen});
                            }};

/// Notes what is in the packets of a socket, until nothing has come for 30 s, or `enough`
/// advertisements have.
void Receive(int socket, ScanTimes& times, std::size_t enough)
{
    pollfd waiting{socket, POLLIN, 0};
    while (times.Count() < enough && poll(&waiting, 1, 30'000) > 0) {
        std::array<std::uint8_t, 1024> packet{};
        const auto size = read(socket, packet.data(), packet.size());
        if (size <= 0) {
            return;
        }
        for (const auto& report :
             DecodeAdvertisingReports({packet.data(), static_cast<std::size_t>(size)})) {
            times.Note(report.data);
        }
    }
}

/// Waits for the first report.
void WaitForOne(int socket)
{
    pollfd waiting{socket, POLLIN, 0};
    ASSERT_EQ(poll(&waiting, 1, 60'000), 1);
}

/// The least that a service can do: a process that passes packets of the raw socket on to another.
pid_t StartForwarder(int to)
{
    const pid_t child = fork();
    if (child == 0) {
        const auto raw = Hci::OpenReports(0);
        pollfd waiting{raw.Get(), POLLIN, 0};
        while (poll(&waiting, 1, -1) > 0) {
            std::array<std::uint8_t, 1024> packet{};
            const auto size = read(raw.Get(), packet.data(), packet.size());
            if (size <= 0 || write(to, packet.data(), static_cast<std::size_t>(size)) != size) {
                break;
            }
        }
        _exit(0);
    }
    return child;
}

TEST(AScan, IsReportedSoonAfterTheRawSocket)
{
    constexpr std::size_t kReports = 100;
    std::array<int, 2> sockets{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, sockets.data()), 0);
    const pid_t forwarder = StartForwarder(sockets[1]);
    ASSERT_GT(forwarder, 0);
    const auto raw = Hci::OpenReports(0);
    PelaconSvcStart();
    int listener = 0;
    ASSERT_EQ(BleScanner::BleScanRegisterCallbacks(&callbacks, &listener), kBleStatusSuccess);
    ASSERT_EQ(BleScanner::StartBleScan(listener, kBleScanLowLatency), kBleStatusSuccess);

    // bluetoothd is stopped: on one processor its own work would be measured, too.
    ScanTimes forwarded;
    WaitForOne(raw.Get());
    const char* const process = std::getenv("BLUETOOTHD");
    ASSERT_NE(process, nullptr);
    const pid_t bluetoothd = std::atoi(process);
    ASSERT_GT(bluetoothd, 1);
    kill(bluetoothd, SIGSTOP);
    ScanTimes atRawSocket;
    std::thread receiver([&] { Receive(sockets[0], forwarded, kReports); });
    Receive(raw.Get(), atRawSocket, kReports);
    receiver.join();
    const auto sent = atRawSocket.All();
    const bool areAllReported = test::Eventually([&] {
        const auto reported = inCallback.All();
        return std::ranges::all_of(
            sent, [&](const auto& entry) { return reported.contains(entry.first); });
    });
    kill(bluetoothd, SIGCONT);
    PelaconSvcStop();
    kill(forwarder, SIGKILL);
    waitpid(forwarder, nullptr, 0);

    ASSERT_EQ(sent.size(), kReports) << "advertisements";
    ASSERT_TRUE(areAllReported);
    const std::vector<double> library = Later(inCallback, atRawSocket);
    const std::vector<double> bare = Later(forwarded, atRawSocket);
    ASSERT_EQ(library.size(), kReports);
    ASSERT_EQ(bare.size(), kReports);
    const double callback = library[kReports / 2];
    const double floor = bare[kReports / 2];
    std::printf("scan: %.2f ms from the raw socket to a callback, %.2f ms to another process\n",
                callback, floor);
    EXPECT_LE(callback, kMostTimes * std::max(floor, 0.1));
}

}  // namespace

}  // namespace pelacon::radios_test
