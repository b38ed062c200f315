// A service that stands still: stopped in a debugger, or stuck.
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/RawPeers.h>
#include <tests/platform/IPCMessage/Scenarios.h>

#include <atomic>

namespace pelacon::test {

namespace {

class SuspendedServiceTest : public ChannelTest {
  protected:
    SuspendedServiceTest() { EXPECT_EQ(service.ReadLine(), "ready"); }

    /// Has so many connections waiting that no other is taken.
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

TEST_F(SuspendedServiceTest, TimesOutAndServesAgainWhenItGoesOn)
{
    StartClient();
    EXPECT_TRUE(IsServed(*client));
    service.Suspend();
    for (int call = 0; call < 3; ++call) {
        const auto duration = Duration([&] { EXPECT_FALSE(IsServed(*client, 40)); });
        EXPECT_GE(duration, 40ms);
        EXPECT_LT(duration, 140ms);
    }
    EXPECT_EQ(client->GetStatistics().timedOut, 3U);
    service.Resume();
    EXPECT_TRUE(IsServed(*client));
    EXPECT_EQ(client->GetStatistics().connected, 1U);
}

TEST_F(SuspendedServiceTest, DoesNotHoldUpTheConstructor)
{
    service.Suspend();
    EXPECT_LT(Duration([&] { StartClient(); }), 100ms);  // there is room to wait in
    client.reset();
    FillBacklog();
    EXPECT_LT(Duration([&] { StartClient(); }), 100ms);
    EXPECT_LT(Duration([&] { client.reset(); }), 100ms);
}

TEST_F(SuspendedServiceTest, WithAFullBacklogIsWaitedForWithinTheTimeOut)
{
    service.Suspend();
    FillBacklog();
    StartClient();
    EXPECT_LE(BestOfThree(kOverrunLimit, [&] { return Overrun(*client, 150ms); }), kOverrunLimit);
    EXPECT_GE(client->GetStatistics().timedOut, 20U);
    EXPECT_LT(Duration([&] { EXPECT_FALSE(Post(*client, 1, Counting(4))); }), 150ms);

    std::thread helper([&] {
        std::this_thread::sleep_for(50ms);
        service.Resume();
    });
    EXPECT_TRUE(IsServed(*client));
    helper.join();
}

TEST_F(SuspendedServiceTest, WithAFullBacklogHoldsUpNoStop)
{
    service.Suspend();
    FillBacklog();
    StartClient();
    std::thread callers(
        [&] { OnThreads(4, [&](std::size_t) { EXPECT_FALSE(IsServed(*client)); }); });
    std::this_thread::sleep_for(50ms);  // they are in their wait by now
    const auto duration = Duration([&] {
        client->UnRegisterMessageCallbackAll();
        callers.join();
    });
    EXPECT_LT(duration, 200ms);
    EXPECT_EQ(client->GetStatistics().timedOut, 0U);
}

TEST_F(SuspendedServiceTest, HoldsUpNoPost)
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
    EXPECT_LT(duration, 1s);
    service.Resume();
    EXPECT_TRUE(IsServed(*client));
}

}  // namespace

}  // namespace pelacon::test
