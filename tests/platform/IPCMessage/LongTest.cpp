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
    EXPECT_LE(BestOfThree(kOverrunLimit, [&] { return Overrun(*client, 3s); }), kOverrunLimit);
}

TEST_F(ChannelLongTest, StartingAndStoppingAThousandTimesLeavesNoDescriptorAndNoThread)
{
    StartServer();
    const Stream stream(handler, *server);
    StartAndStopLeavesNothing(handler, *server, kSanitized ? 100 : 1000);
}

}  // namespace

}  // namespace pelacon::test
