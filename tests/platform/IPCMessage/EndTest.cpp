// The destructor of the server.
#include <IPCMessage/IPCControl.h>
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/RawPeers.h>

#include <atomic>
#include <optional>
#include <string>

namespace pelacon::test {

namespace {

using EndTest = ChannelTest;

TEST_F(EndTest, RunningRequestsAreAnswered)
{
    std::atomic<int> inside{0};
    const Ending ending(*this);
    HoldRequests(inside);
    handler.onControl = [&](std::string_view) {
        ++inside;
        gate.Pass();
        return std::string("done");
    };
    StartBoth();
    bool served = false;
    std::thread caller([&] { served = IsServed(*client); });
    std::optional<std::string> answer;
    std::thread commander([&] {
        IPCControlError error{};
        answer = IPCSendControl(kPipe, "do it", kPatience, error);
    });
    EXPECT_TRUE(Eventually([&] { return inside == 2; }));
    RawClient last;
    EXPECT_TRUE(last.Greet(ipc::FrameKind::kHelloCall));
    EXPECT_TRUE(Eventually([&] { return server->GetStatistics().callConnections == 2; }));
    std::thread ender([&] { server.reset(); });
    EXPECT_TRUE(last.IsClosed()) << "it has no running request";
    gate.Open();
    caller.join();
    commander.join();
    ender.join();
    EXPECT_TRUE(served);
    EXPECT_EQ(answer, "done");
}

TEST_F(EndTest, NoRequestOvertakesAPost)
{
    std::atomic<int> inside{0};
    const Ending ending(*this);
    HoldRequests(inside);
    std::atomic<bool> posted{false};
    handler.onPosted = [&](const TagIPCMessageItem& /*item*/) {
        posted = true;
        gate.Pass();
    };
    StartBoth();
    EXPECT_TRUE(Post(*client, 1, Counting(4)));
    bool served = true;
    std::thread caller([&] { served = IsServed(*client); });
    EXPECT_TRUE(Eventually([&] { return posted && server->GetStatistics().callConnections == 1; }));
    std::thread ender([&] { server.reset(); });
    caller.join();
    EXPECT_FALSE(served);
    gate.Open();
    ender.join();
    EXPECT_EQ(inside, 0);
}

TEST_F(EndTest, ACallerThatDoesNotReadDoesNotDelayIt)
{
    handler.onRequest = [](std::uint64_t, const TagIPCMessageItem&) {
        return IPCReply{IPCReplyKind::kPayload, ByteVector(60'000)};
    };
    StartServer();
    RawClient caller;
    ASSERT_TRUE(caller.Greet(ipc::FrameKind::kHelloCall));
    const ByteVector request = MakeFrame({.kind = ipc::FrameKind::kRequest, .sequence = 1});
    ipc::IoStatus sent = ipc::IoStatus::kDone;
    while (sent == ipc::IoStatus::kDone) {
        ipc::Deadline deadline(100ms);
        sent = caller.Get().Send(request, deadline);
    }
    EXPECT_EQ(sent, ipc::IoStatus::kTimeout) << "until the server's thread is stuck";
    EXPECT_LT(Duration([&] { server.reset(); }), 5s);
    EXPECT_TRUE(caller.IsClosed());
}

}  // namespace

}  // namespace pelacon::test
