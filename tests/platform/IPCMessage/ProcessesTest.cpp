// The channel between processes.
#include <tests/platform/IPCMessage/Fixture.h>

#include <atomic>

namespace pelacon::test {

namespace {

using ProcessesTest = ChannelTest;

TEST_F(ProcessesTest, DeathOfTheServiceEndsWaitingRequestsAtOnce)
{
    constexpr Clock::duration kLimit = kSanitized ? 500ms : 50ms;
    const auto attempt = [this] {
        PeerProcess service("serve");
        EXPECT_EQ(service.ReadLine(), "ready");
        StartClient();
        Mailbox<int> begun;
        Mailbox<Clock::time_point> ends;
        std::thread callers([&] {
            OnThreads(20, [&](std::size_t) {
                EXPECT_TRUE(IsServed(*client));
                begun.Put(1);
                EXPECT_FALSE(Request(*client, 2, Counting(8)));
                ends.Put(Clock::now());
            });
        });
        begun.WaitFor(20);
        for (int request = 0; request < 20; ++request) {
            EXPECT_EQ(service.ReadLine(), "received");
        }
        const auto killed = Clock::now();
        service.Kill();
        callers.join();
        return Median(ends.All()) - killed;
    };
    EXPECT_TRUE(KeepsTo(kLimit, attempt));
}

TEST_F(ProcessesTest, ARestartedServiceIsFoundAgain)
{
    auto service = std::make_unique<PeerProcess>("serve");
    ASSERT_EQ(service->ReadLine(), "ready");
    StartClient();
    EXPECT_TRUE(IsServed(*client));
    service->Kill();
    service->WaitForExit();
    EXPECT_FALSE(IsServed(*client));
    service = std::make_unique<PeerProcess>("serve");
    ASSERT_EQ(service->ReadLine(), "ready");
    EXPECT_TRUE(IsServed(*client));
}

TEST_F(ProcessesTest, AnApplicationThatReturnsFromMainKeepsItsExitCode)
{
    if (const char* reason = ChildProcess::WhyItMayNotEnd()) {
        GTEST_SKIP() << reason;
    }
    PeerProcess service("stream");
    ASSERT_EQ(service.ReadLine(), "ready");
    for (int round = 0; round < (kSanitized ? 2 : 20); ++round) {
        PeerProcess application("leave-main");
        EXPECT_EQ(application.WaitForExit(), 42);
    }
}

TEST_F(ProcessesTest, TheServiceReportsTheEndOfAClientProcess)
{
    StartServer();
    PeerProcess application("leave-main");
    const IPCClientInfo arrived = handler.arrived.WaitFor(1).front();
    EXPECT_EQ(arrived.processId, application.Id());
    application.Kill();
    EXPECT_EQ(handler.left.WaitFor(1).front(), arrived.id);
    EXPECT_TRUE(Eventually([&] { return server->GetStatistics().callConnections == 0; }));
}

}  // namespace

}  // namespace pelacon::test
