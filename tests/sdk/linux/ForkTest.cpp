// The library in a child that fork made of the process.
#include <PelaconSDK/BleManager.h>
#include <PelaconSDK/PelaconSvc.h>
#include <tests/support/SdkTest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <thread>

namespace pelacon::test {

namespace {

using namespace std::chrono_literals;

// The child has none of the parent's threads: their requests never end there.
TEST_F(SdkTest, AChildStopsThoughItsParentIsInARequest)
{
    std::promise<void> inRequest;
    std::promise<void> forked;
    channel.OnRequest(0xD7005C, [&](const Sent&) {
        inRequest.set_value();
        EXPECT_EQ(forked.get_future().wait_for(20s), std::future_status::ready);
    });
    std::thread caller([] { BleManager::BtEnable(); });
    ASSERT_EQ(inRequest.get_future().wait_for(10s), std::future_status::ready);

    const pid_t child = fork();
    if (child == 0) {
        alarm(10);
        const bool stopped = PelaconSvcStop() == 0 && BleManager::BtDisable() == kBleStatusFailed;
        const bool started = PelaconSvcStart() == 0 && BleManager::BtDisable() == kBleStatusNoReply;
        _exit(stopped && started && PelaconSvcStop() == 0 ? 0 : 1);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    forked.set_value();
    caller.join();
    ASSERT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace

}  // namespace pelacon::test
