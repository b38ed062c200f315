// Every wait for the service ends in time.
#include <tests/platform/IPCMessage/Fixture.h>

#include <atomic>

namespace pelacon::test {

namespace {

class DeadlinesTest : public ChannelTest {
  protected:
    /// Answers nothing until the gate opens.
    void StartSilently()
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
    StartSilently();
    unsigned expected = 0;
    for (const unsigned timeout : {0U, 30U, 99U, 250U}) {
        SCOPED_TRACE(timeout);
        Mailbox<Clock::duration> durations;
        OnThreads(20, [&](std::size_t) {
            durations.Put(Duration([&] { EXPECT_FALSE(IsServed(*client, timeout)); }));
        });
        const auto all = durations.All();
        EXPECT_GE(*std::min_element(all.begin(), all.end()), milliseconds(timeout));
        EXPECT_LE(Median(all), milliseconds(timeout) + (kSanitized ? 100ms : 20ms));
        EXPECT_EQ(client->GetStatistics().timedOut, expected += 20);
    }
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
    StartSilently();
    EXPECT_FALSE(IsServed(*client, 10));
    gate.Open();
    EXPECT_TRUE(IsServed(*client));
    EXPECT_EQ(handler.left.Count(), 0U);
    EXPECT_EQ(handler.arrived.Count(), 1U);
}

TEST_F(DeadlinesTest, ARequestThatIsNeverAnsweredLeavesItsConnectionToTheServiceUntilItIsOver)
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

TEST_F(DeadlinesTest, WithoutAServiceNothingIsWaitedFor)
{
    StartClient();
    const auto duration = Duration([&] { EXPECT_FALSE(IsServed(*client)); });
    EXPECT_LT(duration, 1s);
    EXPECT_EQ(client->GetStatistics().timedOut, 0U);
    EXPECT_EQ(client->GetStatistics().connected, 0U);
}

}  // namespace

}  // namespace pelacon::test
