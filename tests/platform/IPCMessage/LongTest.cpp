// Tests of the channel that take long.
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/Scenarios.h>

namespace pelacon::test {

namespace {

using ChannelLongTest = ChannelTest;

TEST_F(ChannelLongTest, HundredThousandRequestsOfEightThreadsReceiveTheirOwnReplies)
{
    StartBoth();
    EXPECT_EQ(CallsThatWentWrong(*client, 8, kSanitized ? 1'250 : 12'500), 0U);
    EXPECT_EQ(server->GetStatistics().requests, kSanitized ? 10'000U : 100'000U);
}

TEST_F(ChannelLongTest, ALongTimeOutIsNotRoundedUp)
{
    handler.onRequest = [&](std::uint64_t, const TagIPCMessageItem& request) {
        gate.Pass();
        return Handler::Echo(request);
    };
    StartBoth();
    EXPECT_TRUE(KeepsTo(kOverrunLimit, [&] { return Overrun(*client, 3s); }));
}

TEST_F(ChannelLongTest, PausesBetweenAttemptsGrowToTwoSeconds)
{
    RawService service;
    StartClient();
    const milliseconds pauses[] = {50ms, 100ms, 200ms, 400ms, 800ms, 1600ms, 2000ms, 2000ms};
    for (const milliseconds pause : pauses) {
        SCOPED_TRACE(pause.count());
        const auto waited = PauseBetweenAttempts(service);
        EXPECT_GE(waited, pause);
        EXPECT_LT(waited, pause + 800ms);
    }
    client.reset();
}

TEST_F(ChannelLongTest, ASilentConnectionIsClosed)
{
    StartServer();
    RawClient silent;
    const auto kept = Duration([&] { EXPECT_TRUE(silent.IsClosed()); });
    EXPECT_GE(kept, 4s);
    EXPECT_LT(kept, 8s);
    EXPECT_EQ(server->GetStatistics().malformedFrames, 0U);
}

TEST_F(ChannelLongTest, StartingAndStoppingAThousandTimesLeaksNothing)
{
    StartServer();
    const Stream stream(handler, *server);
    StartAndStopLeavesNothing(handler, *server, kSanitized ? 100 : 1000);
}

}  // namespace

}  // namespace pelacon::test
