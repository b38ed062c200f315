// Lost connections and restarted services.
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/Scenarios.h>

#include <atomic>

namespace pelacon::test {

namespace {

using LossTest = ChannelTest;

TEST_F(LossTest, EndsWaitingRequestsAtOnce)
{
    std::atomic<int> inside{0};
    const Ending ending(*this);
    HoldRequests(inside);
    StartBoth();
    const auto attempt = [&] {
        inside = 0;
        Mailbox<Clock::time_point> ends;
        std::thread callers([&] {
            OnThreads(20, [&](std::size_t) {
                EXPECT_FALSE(IsServed(*client));
                ends.Put(Clock::now());
            });
        });
        EXPECT_TRUE(Eventually([&] { return inside == 20; }));
        const auto lost = Clock::now();
        server->DisconnectAll();
        callers.join();
        return Median(ends.All()) - lost;
    };
    EXPECT_TRUE(KeepsTo(50ms, attempt));
    EXPECT_EQ(client->GetStatistics().timedOut, 0U);
}

TEST_F(LossTest, EndsARequestWhoseConnectionIsClosed)
{
    handler.onRequest = [](std::uint64_t, const TagIPCMessageItem& request) {
        return request.msgId == 9 ? IPCReply{IPCReplyKind::kDisconnect, {}}
                                  : Handler::Echo(request);
    };
    StartBoth();
    const auto duration = Duration([&] { EXPECT_FALSE(Request(*client, 9, std::nullopt)); });
    EXPECT_LT(duration, kSoon);
    EXPECT_TRUE(IsServed(*client));
    EXPECT_EQ(handler.left.Count(), 0U);
}

TEST_F(LossTest, TheClientReconnectsAndReportsItsReturn)
{
    StartBoth();
    const IPCClientInfo first = handler.arrived.All().front();
    EXPECT_FALSE(first.returning);
    server.reset();
    EXPECT_EQ(handler.left.WaitFor(1).front(), first.id);
    StartServer();
    const IPCClientInfo second = handler.arrived.WaitFor(2).back();
    EXPECT_TRUE(second.returning);
    EXPECT_EQ(second.processId, first.processId);
    EXPECT_TRUE(Eventually([&] { return client->GetStatistics().connected == 2; }));
    EXPECT_TRUE(IsServed(*client));
}

TEST_F(LossTest, RunningCallsOutliveTheEventConnection)
{
    handler.onRequest = [&](std::uint64_t, const TagIPCMessageItem& request) {
        if (request.msgId == 2) {
            gate.Pass();
        }
        return Handler::Echo(request);
    };
    StartBoth();
    std::atomic<bool> served{false};
    std::thread caller([&] { served = Request(*client, 2, Counting(3)).has_value(); });
    EXPECT_TRUE(Eventually([&] { return server->GetStatistics().requests == 1; }));
    server->Disconnect(clientId);
    EXPECT_EQ(handler.left.WaitFor(1).front(), clientId);
    const IPCClientInfo back = handler.arrived.WaitFor(2).back();
    EXPECT_EQ(back.id, clientId);  // one connection remained
    EXPECT_TRUE(back.returning);
    gate.Open();
    caller.join();
    EXPECT_TRUE(served);
}

TEST_F(LossTest, AClientThatFindsNoServiceIsNotReturning)
{
    StartClient();
    EXPECT_FALSE(IsServed(*client));
    StartServer();
    EXPECT_FALSE(handler.arrived.WaitFor(1).front().returning);
}

TEST_F(LossTest, ARequestDoesNotWaitForTheNextAttempt)
{
    StartBoth();
    server.reset();
    EXPECT_TRUE(Eventually([&] { return !IsServed(*client); }));
    // After this wait the pause between attempts is 400 ms.
    EXPECT_FALSE(Eventually([&] { return handler.arrived.Count() > 1; }, 400ms));
    StartServer();
    EXPECT_TRUE(KeepsTo(
        kSanitized ? 500ms : 100ms,
        [&] { return Duration([&] { EXPECT_TRUE(IsServed(*client)); }); }, 1));
    EXPECT_TRUE(handler.arrived.WaitFor(2).back().returning);
}

TEST_F(LossTest, PausesBetweenAttemptsGrowUntilOneSucceeds)
{
    RawService service;
    StartClient();
    EXPECT_GE(PauseBetweenAttempts(service), 50ms);
    EXPECT_GE(PauseBetweenAttempts(service), 100ms);
    EXPECT_GE(PauseBetweenAttempts(service), 200ms);
    service.AcceptEvents();  // and closes it at once
    EXPECT_TRUE(KeepsTo(
        600ms, [&] { return PauseBetweenAttempts(service); }, 1))
        << "without that success it would be 800 ms";
    client.reset();
}

TEST_F(LossTest, OldConnectionsFailNoRequest)
{
    StartBoth();
    OnThreads(8, [&](std::size_t) { EXPECT_TRUE(IsServed(*client)); });
    server.reset();
    StartServer();
    ASSERT_TRUE(Eventually([&] { return handler.arrived.Count() == 2; }));
    ASSERT_TRUE(Eventually([&] { return client->GetStatistics().connected == 2; }));
    OnThreads(8, [&](std::size_t) { EXPECT_TRUE(IsServed(*client)); });
}

TEST_F(LossTest, RequestsFollowTheArrivalOfTheirClient)
{
    std::atomic<bool> arriving{false};
    std::atomic<int> early{0};
    const Ending ending(*this);
    handler.onArrived = [&](const IPCClientInfo&) {
        arriving = true;
        std::this_thread::sleep_for(50ms);  // gives early requests time to come
        arriving = false;
    };
    handler.onRequest = [&](std::uint64_t, const TagIPCMessageItem& request) {
        early += arriving || handler.arrived.Count() == 0 ? 1 : 0;
        return Handler::Echo(request);
    };
    StartServer();
    StartClient();
    EXPECT_TRUE(IsServed(*client));
    server->Disconnect(handler.arrived.WaitFor(1).front().id);
    handler.left.WaitFor(1);
    while (handler.arrived.Count() < 2) {
        EXPECT_TRUE(IsServed(*client));
    }
    EXPECT_EQ(early, 0);
}

TEST_F(LossTest, OneSessionEndsBeforeTheNextOfTheSameClientBegins)
{
    std::atomic<int> sessions{0};
    std::atomic<int> overlaps{0};
    class Sessions : public Handler {
      public:
        Sessions(std::atomic<int>& open, std::atomic<int>& both) : open_(open), both_(both) {}
        void ClientArrived(const IPCClientInfo& info) override
        {
            both_ += ++open_ > 1 ? 1 : 0;
            Handler::ClientArrived(info);
        }
        void ClientLeft(std::uint64_t id) override
        {
            std::this_thread::sleep_for(5ms);  // gives the next session time to overlap
            --open_;
            Handler::ClientLeft(id);
        }

      private:
        std::atomic<int>& open_;
        std::atomic<int>& both_;
    } watching(sessions, overlaps);
    const Ending ending(*this);
    server = std::make_unique<IPCMessageServer>(kPipe, watching);
    StartClient();
    for (std::size_t round = 1; round <= 5; ++round) {
        server->Disconnect(watching.arrived.WaitFor(round).back().id);
        watching.left.WaitFor(round);
        Eventually([&] { return IsServed(*client); });
    }
    EXPECT_EQ(overlaps, 0);
    client.reset();
    EXPECT_TRUE(Eventually([&] { return sessions == 0; }));
}

TEST_F(LossTest, ClientIdsAreUnique)
{
    StartServer();
    std::vector<std::uint64_t> ids;
    for (std::size_t round = 1; round <= 5; ++round) {
        StartClient();
        ids.push_back(handler.arrived.WaitFor(round).back().id);
        client.reset();
        handler.left.WaitFor(round);
    }
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(std::unique(ids.begin(), ids.end()), ids.end());
}

TEST_F(LossTest, RunningOutOfMemoryInTheHandlerEndsThatConnectionOnly)
{
    std::atomic<int> failures{0};
    const auto failOnce = [&failures](int upTo) {
        if (failures < upTo) {
            ++failures;
            throw std::bad_alloc();
        }
    };
    handler.onArrived = [&](const IPCClientInfo&) { failOnce(1); };
    handler.onRequest = [&](std::uint64_t, const TagIPCMessageItem& request) {
        failOnce(2);
        return Handler::Echo(request);
    };
    handler.onPosted = [&](const TagIPCMessageItem&) { failOnce(3); };
    const Ending ending(*this);
    StartServer();
    StartClient();
    handler.left.WaitFor(1);     // the arrival that failed
    handler.arrived.WaitFor(1);  // and its return
    EXPECT_FALSE(IsServed(*client));
    EXPECT_TRUE(IsServed(*client));
    EXPECT_TRUE(Post(*client, 1, Counting(4)));
    handler.left.WaitFor(2);
    handler.arrived.WaitFor(2);
    EXPECT_TRUE(IsServed(*client));
    EXPECT_EQ(failures, 3);
    EXPECT_GE(handler.warnings.Count(), 1U);
}

}  // namespace

}  // namespace pelacon::test
