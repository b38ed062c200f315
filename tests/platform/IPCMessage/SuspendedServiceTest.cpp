// A service that does not run: stopped in a debugger, or stuck.
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/RawPeers.h>
#include <tests/platform/IPCMessage/Scenarios.h>

#include <atomic>

namespace pelacon::test {

namespace {

class SuspendedServiceTest : public ChannelTest {
  protected:
    SuspendedServiceTest() { EXPECT_EQ(service.ReadLine(), "ready"); }

    /// Opens connections until the backlog takes no more.
    void FillBacklog()
    {
        const std::atomic<bool> never{false};
        for (;;) {
            ipc::Deadline now(0ms);
            auto result = ipc::Connect(ipc::FindPipePlaces(kPipe), now, never);
            if (result.status != ipc::ConnectStatus::kConnected) {
                ASSERT_EQ(result.status, ipc::ConnectStatus::kBusy);
                return;
            }
            waiting.push_back(std::move(result.connection));
        }
    }

    PeerProcess service{"serve"};
    std::vector<std::unique_ptr<ipc::Connection>> waiting;
};

TEST_F(SuspendedServiceTest, RequestsTimeOutUntilTheServiceIsResumed)
{
    StartClient();
    EXPECT_TRUE(IsServed(*client));
    service.Suspend();
    for (int call = 0; call < 3; ++call) {
        EXPECT_TRUE(KeepsTo(
            140ms,
            [&] {
                const auto duration = Duration([&] { EXPECT_FALSE(IsServed(*client, 40)); });
                EXPECT_GE(duration, 40ms);
                return duration;
            },
            1));
    }
    EXPECT_EQ(client->GetStatistics().timedOut, 3U);
    service.Resume();
    EXPECT_TRUE(IsServed(*client));
    EXPECT_EQ(client->GetStatistics().connected, 1U);
}

TEST_F(SuspendedServiceTest, DoesNotDelayTheConstructor)
{
    service.Suspend();
    const auto startClient = [&] { return Duration([&] { StartClient(); }); };
    EXPECT_TRUE(KeepsTo(100ms, startClient, 1)) << "the backlog has room";
    client.reset();
    FillBacklog();
    EXPECT_TRUE(KeepsTo(100ms, startClient, 1));
    EXPECT_TRUE(KeepsTo(
        100ms, [&] { return Duration([&] { client.reset(); }); }, 1));
}

TEST_F(SuspendedServiceTest, RequestsToAFullBacklogTimeOut)
{
    service.Suspend();
    FillBacklog();
    StartClient();
    EXPECT_TRUE(KeepsTo(kOverrunLimit, [&] { return Overrun(*client, 150ms); }));
    EXPECT_GE(client->GetStatistics().timedOut, 20U);
    EXPECT_TRUE(KeepsTo(
        150ms, [&] { return Duration([&] { EXPECT_FALSE(Post(*client, 1, Counting(4))); }); }, 1));

    std::thread helper([&] {
        std::this_thread::sleep_for(50ms);  // gives the request time to reach its wait
        service.Resume();
    });
    EXPECT_TRUE(IsServed(*client));
    helper.join();
}

TEST_F(SuspendedServiceTest, AFullBacklogDoesNotDelayStop)
{
    service.Suspend();
    FillBacklog();
    StartClient();
    std::thread callers(
        [&] { OnThreads(4, [&](std::size_t) { EXPECT_FALSE(IsServed(*client)); }); });
    std::this_thread::sleep_for(50ms);  // gives the callers time to reach their waits
    const auto stop = [&] {
        return Duration([&] {
            client->UnRegisterMessageCallbackAll();
            callers.join();
        });
    };
    EXPECT_TRUE(KeepsTo(200ms, stop, 1));
    EXPECT_EQ(client->GetStatistics().timedOut, 0U);
}

TEST_F(SuspendedServiceTest, DoesNotDelayAPost)
{
    StartClient();
    EXPECT_TRUE(IsServed(*client));
    service.Suspend();
    const auto duration = Duration([&] {
        int taken = 0;
        while (Post(*client, 1, ByteVector(10'000)) && ++taken < 1'000) {
        }
        EXPECT_GT(taken, 0);
        EXPECT_LT(taken, 1'000);
    });
    EXPECT_LT(duration, kSoon);
    service.Resume();
    EXPECT_TRUE(IsServed(*client));
}

}  // namespace

}  // namespace pelacon::test
