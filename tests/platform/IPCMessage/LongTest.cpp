// What takes more than a moment.
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/Scenarios.h>

namespace pelacon::test {

namespace {

using ChannelLongTest = ChannelTest;

TEST_F(ChannelLongTest, HundredThousandRequestsOfEightThreadsGetEachTheirOwnReply)
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
    Mailbox<Clock::duration> durations;
    OnThreads(20, [&](std::size_t) {
        durations.Put(Duration([&] { EXPECT_FALSE(IsServed(*client, 3'000)); }));
    });
    gate.Open();
    EXPECT_GE(Median(durations.All()), 3'000ms);
    EXPECT_LE(Median(durations.All()), 3'020ms + (kSanitized ? 100ms : 0ms));
}

TEST_F(ChannelLongTest, StartingAndStoppingAThousandTimesLeavesNoDescriptorAndNoThread)
{
    StartServer();
    const Stream stream(handler, *server);
    StartAndStopLeavesNothing(handler, *server, kSanitized ? 100 : 1000);
}

}  // namespace

}  // namespace pelacon::test
