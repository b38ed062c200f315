// The end of a client, at any time.
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/RawPeers.h>
#include <tests/platform/IPCMessage/Scenarios.h>

#include <atomic>

namespace pelacon::test {

namespace {

using StopTest = ChannelTest;

TEST_F(StopTest, RefusesLaterRequestsAndPosts)
{
    StartBoth();
    Mailbox<int> called;
    const Ending ending(*this);
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem&) { called.Put(1); });
    EXPECT_TRUE(client->UnRegisterMessageCallbackAll());
    EXPECT_FALSE(IsServed(*client));
    EXPECT_FALSE(Post(*client, 1, Counting(4)));
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem&) { called.Put(2); });
    handler.left.WaitFor(1);
    EXPECT_FALSE(server->Notify(clientId, 7, {}));
    EXPECT_TRUE(client->UnRegisterMessageCallbackAll());
    client.reset();
    EXPECT_EQ(called.Count(), 0U);
    EXPECT_EQ(handler.arrived.Count(), 1U);
    EXPECT_EQ(handler.posted.Count(), 0U);
}

TEST_F(StopTest, EndsWaitingRequestsAtOnce)
{
    std::atomic<int> inside{0};
    const Ending ending(*this);
    HoldRequests(inside);
    StartBoth();
    std::thread callers([&] {
        // More than there are connections, so that some wait for one.
        OnThreads(140, [&](std::size_t) { EXPECT_FALSE(IsServed(*client)); });
    });
    EXPECT_TRUE(Eventually([&] { return inside == 64; }));
    const auto duration = Duration([&] {
        client->UnRegisterMessageCallbackAll();
        callers.join();
    });
    EXPECT_LT(duration, kSoon);
    EXPECT_EQ(client->GetStatistics().timedOut, 0U);
}

TEST_F(StopTest, WaitsForACallbackThatRuns)
{
    StartBoth();
    Gate entered;
    std::atomic<bool> left{false};
    std::atomic<int> calls{0};
    const Ending ending(*this);
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem&) {
        ++calls;
        entered.Open();
        gate.Pass();
        left = true;
    });
    for (int number = 0; number < 100; ++number) {
        server->Notify(clientId, 7, Counting(4));
    }
    ASSERT_TRUE(entered.Pass());
    std::thread opener([&] {
        EXPECT_TRUE(Eventually([&] { return !IsServed(*client); })) << "the stop has not begun";
        EXPECT_FALSE(left);
        gate.Open();
    });
    client->UnRegisterMessageCallbackAll();
    EXPECT_TRUE(left);
    EXPECT_EQ(calls, 1);
    opener.join();
    client.reset();
    EXPECT_EQ(calls, 1);
}

TEST_F(StopTest, EndsTheRequestOfACallbackThatItWaitsFor)
{
    handler.onRequest = [&](std::uint64_t, const TagIPCMessageItem& request) {
        gate.Pass();
        return Handler::Echo(request);
    };
    StartBoth();
    std::atomic<bool> served{true};
    const Ending ending(*this);
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem&) { served = IsServed(*client); });
    server->Notify(clientId, 7, {});
    ASSERT_TRUE(Eventually([&] { return server->GetStatistics().requests == 1; }));
    const auto duration = Duration([&] { client->UnRegisterMessageCallbackAll(); });
    EXPECT_LT(duration, kSoon);
    EXPECT_FALSE(served);
}

TEST_F(StopTest, FromInsideACallbackDoesNotWait)
{
    StartBoth();
    Mailbox<bool> results;
    const Ending ending(*this);
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem&) {
        client->UnRegisterMessageCallbackAll();
        results.Put(IsServed(*client));
    });
    server->Notify(clientId, 7, {});
    server->Notify(clientId, 7, {});
    EXPECT_FALSE(results.WaitFor(1).front());
    client->UnRegisterMessageCallbackAll();  // outside a callback it waits
    EXPECT_EQ(results.Count(), 1U);
}

TEST_F(StopTest, TheClientMayBeDestroyedInsideItsCallback)
{
    StartBoth();
    auto captured = std::make_shared<int>(42);
    const std::weak_ptr<int> watched = captured;
    Mailbox<int> seen;
    Gate destroyed;
    const Ending ending(*this);
    client->RegisterMessageCallback(
        7, [this, &seen, &destroyed, captured = std::move(captured)](TagIPCMessageItem& item) {
            client.reset();
            destroyed.Open();
            gate.Pass();
            // The captures of the callback, and its message, outlive the client.
            seen.Put(*captured + static_cast<int>(item.length) + item.message[0]);
        });
    server->Notify(clientId, 7, Counting(3));
    ASSERT_TRUE(destroyed.Pass());
    handler.left.WaitFor(1);
    gate.Open();
    EXPECT_EQ(seen.WaitFor(1).front(), 42 + 3 + 1);
    EXPECT_TRUE(Eventually([&] { return watched.expired(); }));
}

TEST_F(StopTest, DestroysTheCallbacks)
{
    StartBoth();
    auto captured = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = captured;
    client->RegisterMessageCallback(7, [captured = std::move(captured)](TagIPCMessageItem&) {});
    server->Notify(clientId, 7, {});
    client->UnRegisterMessageCallbackAll();
    EXPECT_TRUE(watched.expired());
}

TEST_F(StopTest, MayBeCalledByManyThreadsWhileOthersCallAndNotificationsStream)
{
    StartBoth();
    const Stream stream(handler, *server);
    std::atomic<int> calls{0};
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem&) { ++calls; });
    std::atomic<bool> stopped{false};
    std::thread callers([&] {
        OnThreads(4, [&](std::size_t) {
            while (IsServed(*client)) {
            }
            EXPECT_TRUE(Eventually([&] { return stopped.load(); }));
            EXPECT_FALSE(IsServed(*client));
        });
    });
    EXPECT_TRUE(Eventually([&] { return calls > 10; }));
    OnThreads(4, [&](std::size_t) { client->UnRegisterMessageCallbackAll(); });
    stopped = true;
    const int after = calls;
    callers.join();
    EXPECT_EQ(calls, after);
}

TEST_F(StopTest, DoesNotWaitForThePauseBetweenAttempts)
{
    RawService service;
    StartClient();
    PauseBetweenAttempts(service);
    PauseBetweenAttempts(service);
    PauseBetweenAttempts(service);
    service.Accept(ipc::FrameKind::kHelloEvent).reset();
    // The client pauses for 400 ms now.
    EXPECT_TRUE(KeepsTo(
        100ms, [&] { return Duration([&] { client.reset(); }); }, 1));
}

TEST_F(StopTest, RepeatedStartAndStopLeaksNothing)
{
    StartServer();
    const Stream stream(handler, *server);
    StartAndStopLeavesNothing(handler, *server, 30);
}

}  // namespace

}  // namespace pelacon::test
