// How long a question takes that the service answers from what it has observed of a real card.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/Eventually.h>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <vector>

namespace pelacon::radios_test {

namespace {

constexpr std::size_t kRounds = 9;
constexpr std::size_t kCalls = 1000;
using Bytes = std::array<char, 64>;

double Median(std::vector<double> values)
{
    std::ranges::nth_element(values,
                             values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
    return values[values.size() / 2];
}

/// The median of the calls' durations, in microseconds.
template <typename Call>
double Duration(const Call& call)
{
    using Clock = std::chrono::steady_clock;
    std::vector<double> durations;
    for (std::size_t i = 0; i < kCalls; ++i) {
        const auto begin = Clock::now();
        call();
        durations.push_back(
            std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
    }
    return Median(std::move(durations));
}

/// Sends back what it receives, until the other end is closed.
[[noreturn]] void Echo(int socket)
{
    Bytes bytes{};
    while (read(socket, bytes.data(), bytes.size()) > 0 &&
           write(socket, bytes.data(), bytes.size()) > 0) {
    }
    _exit(0);
}

/// Compared with a bare blocking socket between two processes.
TEST(TheStateOfARealCard, IsAnsweredAboutAsFastAsByABareSocket)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    const pid_t echo = fork();
    if (echo == 0) {
        close(ends[0]);
        Echo(ends[1]);
    }
    close(ends[1]);
    PelaconSvcStart();
    ASSERT_TRUE(test::Eventually([] { return WifiSystemGetWifiState() == kWifiStateOn; }));
    std::vector<double> ratios;
    for (std::size_t round = 0; round < kRounds; ++round) {
        Bytes bytes{};
        const double bare = Duration([&] {
            ASSERT_EQ(write(ends[0], bytes.data(), bytes.size()), ssize_t{sizeof bytes});
            ASSERT_EQ(read(ends[0], bytes.data(), bytes.size()), ssize_t{sizeof bytes});
        });
        const double library = Duration([] { ASSERT_EQ(WifiSystemGetWifiState(), kWifiStateOn); });
        std::printf("state: %.1f us through the library, %.1f us by a bare socket\n", library,
                    bare);
        ratios.push_back(library / bare);
    }
    PelaconSvcStop();
    close(ends[0]);
    EXPECT_EQ(waitpid(echo, nullptr, 0), echo);
    EXPECT_LE(Median(ratios), 1.25);
}

}  // namespace

}  // namespace pelacon::radios_test
