// Signals during a wait for an answer.
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/Scenarios.h>

#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <thread>

namespace pelacon::test {

namespace {

using SignalsTest = ChannelTest;

std::atomic<int> signalsReceived{0};

TEST_F(SignalsTest, DoNotShortenWaits)
{
    PeerProcess service{"serve"};
    ASSERT_EQ(service.ReadLine(), "ready");
    StartClient();
    struct sigaction action {};
    action.sa_handler = [](int) { ++signalsReceived; };
    sigaction(SIGUSR1, &action, nullptr);
    EXPECT_TRUE(IsServed(*client));
    service.Suspend();
    std::atomic<bool> done{false};
    const pthread_t caller = pthread_self();
    std::thread signals([&] {
        while (!done) {
            pthread_kill(caller, SIGUSR1);
            std::this_thread::sleep_for(2ms);
        }
    });
    for (const unsigned timeout : {60U, 250U}) {
        const auto wait = [&] {
            const auto duration = Duration([&] { EXPECT_FALSE(IsServed(*client, timeout)); });
            EXPECT_GE(duration, milliseconds(timeout));
            return duration;
        };
        EXPECT_TRUE(KeepsTo(milliseconds(timeout) + 100ms, wait, 1));
    }
    std::thread helper([&] {
        const int before = signalsReceived;
        EXPECT_TRUE(Eventually([&] { return signalsReceived >= before + 10; }));
        service.Resume();
    });
    EXPECT_TRUE(IsServed(*client));
    helper.join();
    done = true;
    signals.join();
}

}  // namespace

}  // namespace pelacon::test
