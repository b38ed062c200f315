// Posted messages and their order with requests.
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/RawPeers.h>

#include <atomic>

namespace pelacon::test {

namespace {

using PostsTest = ChannelTest;

TEST_F(PostsTest, CarryTheirRecord)
{
    StartBoth();
    ByteVector payload = Counting(16);
    const TagIPCMessageItem item{.name = "somebody",
                                 .targetModuleId = 0xD70000,
                                 .sourceModuleId = 0xD80000,
                                 .msgId = 0xD70048,
                                 .length = 16,
                                 .message = payload.data()};
    EXPECT_TRUE(client->PostIPCMessage(item));
    const Message posted = handler.posted.WaitFor(1).front();
    EXPECT_EQ(posted.item.name, "somebody");
    EXPECT_EQ(posted.item.targetModuleId, 0xD70000);
    EXPECT_EQ(posted.item.sourceModuleId, 0xD80000);
    EXPECT_EQ(posted.item.msgId, 0xD70048);
    EXPECT_EQ(posted.payload, payload);
    EXPECT_EQ(server->GetStatistics().requests, 0U);
}

TEST_F(PostsTest, AreRefusedWithoutAServiceOrBeyondTheLimit)
{
    StartClient();
    EXPECT_FALSE(Post(*client, 1, Counting(4)));
    StartServer();
    EXPECT_TRUE(Post(*client, 1, Counting(4)));  // connects, as a request does
    EXPECT_EQ(handler.posted.WaitFor(1).front().payload, Counting(4));
    EXPECT_FALSE(Post(*client, 1, ByteVector(65'537)));
    EXPECT_TRUE(Post(*client, 1, ByteVector(65'536)));
    EXPECT_EQ(handler.posted.WaitFor(2).back().payload.size(), 65'536U);
}

TEST_F(PostsTest, AreNotOvertakenByARequestOfAnyThread)
{
    std::atomic<int> overtaken{0};
    const Ending ending(*this);
    handler.onPosted = [](const TagIPCMessageItem& item) {
        if (item.msgId % 16 == 0) {
            std::this_thread::sleep_for(2ms);  // gives requests time to overtake
        }
    };
    handler.onRequest = [&](std::uint64_t, const TagIPCMessageItem& request) {
        overtaken += handler.posted.Count() < static_cast<std::size_t>(request.msgId) ? 1 : 0;
        return Handler::Echo(request);
    };
    StartBoth();
    constexpr int kPosts = 300;
    std::atomic<int> sent{0};
    std::atomic<bool> done{false};
    std::thread others([&] {
        OnThreads(3, [&](std::size_t) {
            while (!done) {
                EXPECT_TRUE(Request(*client, sent, std::nullopt));
            }
        });
    });
    for (int number = 1; number <= kPosts; ++number) {
        EXPECT_TRUE(Post(*client, number, Counting(16)));
        sent = number;
        if (number % 3 == 0) {
            EXPECT_TRUE(Request(*client, number, std::nullopt));
        }
    }
    done = true;
    others.join();
    EXPECT_EQ(overtaken, 0);
    const auto all = handler.posted.WaitFor(kPosts);
    for (int number = 1; number <= kPosts; ++number) {
        EXPECT_EQ(all[static_cast<std::size_t>(number - 1)].item.msgId, number);
    }
}

TEST_F(PostsTest, PostsLostWithTheirConnectionDelayNoRequest)
{
    handler.onPosted = [&](const TagIPCMessageItem&) { gate.Pass(); };
    StartBoth();
    for (int number = 0; number < 5; ++number) {
        EXPECT_TRUE(Post(*client, number, Counting(16)));
    }
    server->DisconnectAll();  // the first is being handled, the others were not read
    gate.Open();
    handler.arrived.WaitFor(2);
    const auto duration = Duration([&] { EXPECT_TRUE(IsServed(*client)); });
    EXPECT_LT(duration, kSoon);
    EXPECT_TRUE(Post(*client, 9, Counting(16)));
    EXPECT_TRUE(IsServed(*client));
    EXPECT_EQ(handler.posted.All().back().item.msgId, 9);
}

TEST_F(PostsTest, AMissingPostDelaysRequestsForAMomentOnly)
{
    StartServer();
    RawClient raw;
    ASSERT_TRUE(raw.Greet(ipc::FrameKind::kHelloCall));
    const auto duration = Duration([&] {
        ASSERT_TRUE(raw.Send({.kind = ipc::FrameKind::kRequest, .sequence = 1, .order = 5}));
        const auto reply = raw.Receive();
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->kind, ipc::FrameKind::kReply);
    });
    EXPECT_GE(duration, 250ms);
    EXPECT_LT(duration, kSoon);
    // From then on they count as lost.
    const auto again = [&] {
        return Duration([&] {
            ASSERT_TRUE(raw.Send({.kind = ipc::FrameKind::kRequest, .sequence = 2, .order = 5}));
            ASSERT_TRUE(raw.Receive());
        });
    };
    EXPECT_TRUE(KeepsTo(200ms, again, 1));
}

}  // namespace

}  // namespace pelacon::test
