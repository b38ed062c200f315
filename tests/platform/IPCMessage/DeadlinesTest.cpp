// Time-outs of requests.
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/Scenarios.h>

namespace pelacon::test {

namespace {

class DeadlinesTest : public ChannelTest {
  protected:
    /// Starts a service that answers only when the gate is open.
    void StartUnanswering()
    {
        handler.onRequest = [this](std::uint64_t, const TagIPCMessageItem& request) {
            gate.Pass();
            return Handler::Echo(request);
        };
        StartBoth();
    }
};

TEST_F(DeadlinesTest, ARequestEndsWhenItsTimeIsOver)
{
    StartUnanswering();
    for (const milliseconds timeout : {0ms, 30ms, 99ms, 250ms}) {
        SCOPED_TRACE(timeout.count());
        EXPECT_TRUE(KeepsTo(kOverrunLimit, [&] { return Overrun(*client, timeout); }));
    }
    EXPECT_GE(client->GetStatistics().timedOut, 4 * 20U);
    EXPECT_EQ(client->GetStatistics().timedOut % 20, 0U);
}

TEST_F(DeadlinesTest, ALateReplyAnswersNoLaterRequest)
{
    handler.onRequest = [&](std::uint64_t, const TagIPCMessageItem& request) {
        if (request.msgId == 1) {
            gate.Pass();
        }
        return Handler::Echo(request);
    };
    StartBoth();
    EXPECT_FALSE(Request(*client, 1, Counting(4), 20));
    gate.Open();
    for (int call = 0; call < 100; ++call) {
        const ByteVector payload = Bytes().I32(call);
        const auto answer = Request(*client, 2, payload);
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->Bytes(), payload);
        EXPECT_EQ(answer->item.msgId, 2);
    }
    EXPECT_EQ(client->GetStatistics().timedOut, 1U);
    EXPECT_TRUE(Eventually([&] { return server->GetStatistics().repliesToNobody == 1; }));
    EXPECT_TRUE(Eventually([&] { return server->GetStatistics().callConnections == 1; }));
}

TEST_F(DeadlinesTest, ATimedOutCallEndsNoSession)
{
    StartUnanswering();
    EXPECT_FALSE(IsServed(*client, 10));
    gate.Open();
    EXPECT_TRUE(IsServed(*client));
    EXPECT_EQ(handler.left.Count(), 0U);
    EXPECT_EQ(handler.arrived.Count(), 1U);
}

TEST_F(DeadlinesTest, AnUnansweredRequestKeepsItsConnectionUntilTheServiceIsDone)
{
    handler.onRequest = [&](std::uint64_t, const TagIPCMessageItem&) {
        return IPCReply{IPCReplyKind::kNever, {}};
    };
    StartBoth();
    const auto duration = Duration([&] { EXPECT_FALSE(IsServed(*client, 40)); });
    EXPECT_GE(duration, 40ms);
    EXPECT_TRUE(Eventually([&] { return server->GetStatistics().callConnections == 0; }));
    EXPECT_EQ(server->GetStatistics().repliesToNobody, 0U);
}

TEST_F(DeadlinesTest, WithoutAServiceARequestFailsAtOnce)
{
    StartClient();
    const auto duration = Duration([&] { EXPECT_FALSE(IsServed(*client)); });
    EXPECT_LT(duration, kSoon);
    EXPECT_EQ(client->GetStatistics().timedOut, 0U);
    EXPECT_EQ(client->GetStatistics().connected, 0U);
}

}  // namespace

}  // namespace pelacon::test
