// Peers that break the protocol affect their own connections only.
#include <IPCMessage/ServerClients.h>
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/RawPeers.h>

#include <atomic>
#include <random>

namespace pelacon::test {

namespace {

using ipc::FrameHeader;
using ipc::FrameKind;

/// Frames and parts of frames, the same in each run.
class Noise {
  public:
    ByteVector Next()
    {
        if (Number(3) == 0) {
            return Random(1 + Number(200));
        }
        const auto kind = static_cast<FrameKind>(Number(13));
        ByteVector frame = MakeFrame({.kind = kind,
                                      .flags = static_cast<std::uint16_t>(Number(17)),
                                      .sequence = Number(4),
                                      .order = Number(3)},
                                     Random(Number(40)), Number(4) == 0 ? "name" : "");
        if (Number(2) == 0) {
            frame[Number(static_cast<std::uint32_t>(frame.size()))] ^=
                static_cast<std::uint8_t>(1U << Number(8));
        }
        if (Number(8) == 0) {
            frame.resize(Number(static_cast<std::uint32_t>(frame.size())) + 1);
        }
        return frame;
    }

    std::uint32_t Number(std::uint32_t below)
    {
        return static_cast<std::uint32_t>(random_() % below);
    }

  private:
    ByteVector Random(std::size_t size)
    {
        ByteVector bytes(size);
        std::generate(bytes.begin(), bytes.end(),
                      [this] { return static_cast<std::uint8_t>(random_()); });
        return bytes;
    }

    std::mt19937 random_{20};
};

const FrameHeader kGoodRequest{.kind = FrameKind::kRequest, .sequence = 1};

/// Everything that a connection sends until the server closes it.
struct Conversation {
    const char* what;
    std::vector<ByteVector> frames;
};

std::vector<Conversation> BadConversations()
{
    const ByteVector token(16, 1);
    const auto hello = [&](FrameKind kind) {
        return MakeFrame({.kind = kind, .flags = ipc::kHasPayload}, token);
    };
    const ByteVector callHello = hello(FrameKind::kHelloCall);
    const ByteVector eventHello = hello(FrameKind::kHelloEvent);
    const ByteVector request = MakeFrame(kGoodRequest);
    const ByteVector post = MakeFrame({.kind = FrameKind::kPost, .order = 1});
    ByteVector truncated = request;
    truncated.pop_back();
    ByteVector oversized =
        MakeFrame({.kind = FrameKind::kRequest, .flags = ipc::kHasPayload}, ByteVector(65'536));
    oversized.resize(ipc::kMaxFrame + 1);
    const FrameHeader shortToken{.kind = FrameKind::kHelloCall, .flags = ipc::kHasPayload};
    return {{"a request without greeting", {request}},
            {"a post without greeting", {post}},
            {"a welcome", {MakeFrame({.kind = FrameKind::kWelcome})}},
            {"a notification", {MakeFrame({.kind = FrameKind::kNotification})}},
            {"noise", {ByteVector(100, 0xAA)}},
            {"one byte", {ByteVector(1, 0)}},
            {"a token too short", {MakeFrame(shortToken, ByteVector(15))}},
            {"a token too long", {MakeFrame(shortToken, ByteVector(17))}},
            {"no token", {MakeFrame({.kind = FrameKind::kHelloEvent})}},
            {"a request cut short", {callHello, truncated}},
            {"a request beyond all limits", {callHello, oversized}},
            {"a post among calls", {callHello, post}},
            {"a reply among calls", {callHello, MakeFrame({.kind = FrameKind::kReply})}},
            {"two greetings", {callHello, callHello}},
            {"a command among calls", {callHello, MakeFrame({.kind = FrameKind::kControl})}},
            {"a request among events", {eventHello, request}},
            {"two event greetings", {eventHello, eventHello}},
            {"a post out of order", {eventHello, MakeFrame({.kind = FrameKind::kPost})}},
            {"noise among events", {eventHello, ByteVector(100, 0xAA)}},
            {"a watcher that talks",
             {MakeFrame({.kind = FrameKind::kWatch}), MakeFrame({.kind = FrameKind::kWatch})}},
            {"a command, then a request", {MakeFrame({.kind = FrameKind::kControl}), request}}};
}

using HostilePeersTest = ChannelTest;

TEST_F(HostilePeersTest, AServerClosesTheConnectionAndCountsIt)
{
    StartBoth();
    std::uint64_t malformed = 0;
    for (const Conversation& conversation : BadConversations()) {
        SCOPED_TRACE(conversation.what);
        RawClient raw;
        for (const ByteVector& frame : conversation.frames) {
            EXPECT_TRUE(raw.SendBytes(frame));
        }
        EXPECT_TRUE(raw.IsClosed());
        EXPECT_EQ(server->GetStatistics().malformedFrames, ++malformed);
    }
    EXPECT_TRUE(IsServed(*client));
    EXPECT_TRUE(Eventually([&] { return server->GetStatistics().clients == 1; }));
    EXPECT_EQ(handler.posted.Count(), 0U);
}

TEST_F(HostilePeersTest, AServerSurvivesNoise)
{
    StartBoth();
    Noise noise;
    const auto before = server->GetStatistics();
    for (int round = 0; round < (kSanitized ? 100 : 400); ++round) {
        RawClient raw;
        if (noise.Number(2) == 0) {
            raw.Greet(noise.Number(2) == 0 ? FrameKind::kHelloCall : FrameKind::kHelloEvent);
        }
        for (int frame = 0; frame < 5 && raw.SendBytes(noise.Next()); ++frame) {
        }
    }
    EXPECT_TRUE(IsServed(*client));
    EXPECT_TRUE(Eventually([&] { return server->GetStatistics().clients == 1; }));
    EXPECT_GT(server->GetStatistics().malformedFrames, before.malformedFrames);
}

TEST_F(HostilePeersTest, ATokenIsValidInItsProcessOnly)
{
    StartBoth();
    RawClient events;
    ASSERT_TRUE(events.Greet(FrameKind::kHelloEvent, 5));
    const std::uint64_t first = handler.arrived.WaitFor(2).back().id;
    // Same token, same process: the same client, whose event connection this now is.
    RawClient again;
    ASSERT_TRUE(again.Greet(FrameKind::kHelloEvent, 5));
    EXPECT_EQ(handler.arrived.WaitFor(3).back().id, first);
    EXPECT_TRUE(events.IsClosed());
    RawClient other;
    ASSERT_TRUE(other.Greet(FrameKind::kHelloEvent, 6));
    EXPECT_NE(handler.arrived.WaitFor(4).back().id, first);
}

TEST(ServerClientsTest, ATokenIsOneClientPerProcessAndUser)
{
    const ipc::ClientKey key{{1, 2, 3}, 4711, "1000"};
    ipc::ClientKey otherToken = key;
    otherToken.token.back() = 1;
    ipc::ClientKey otherProcess = key;
    otherProcess.processId = 4712;
    ipc::ClientKey otherUser = key;
    otherUser.user = "1001";

    ipc::ServerClients clients;
    using Membership = ipc::ServerClients::Membership;
    const Membership first(clients, key);
    EXPECT_EQ(Membership(clients, key)->Id(), first->Id());
    for (const ipc::ClientKey& other : {otherToken, otherProcess, otherUser}) {
        EXPECT_NE(Membership(clients, other)->Id(), first->Id());
    }
    EXPECT_EQ(Membership(clients, key)->Id(), first->Id());
}

TEST_F(HostilePeersTest, OneProcessCannotUseUpTheServersThreads)
{
    StartServer();
    std::vector<std::unique_ptr<RawClient>> hoarded;
    while (hoarded.size() < 2000 && server->GetStatistics().refusedPeers == 0) {
        try {
            hoarded.push_back(std::make_unique<RawClient>());
            hoarded.back()->Greet(FrameKind::kHelloCall);  // others are closed after a while
        } catch (const std::exception&) {
            break;
        }
        if (hoarded.size() % 16 == 0) {  // so that the server keeps up
            hoarded.back()->Send(kGoodRequest);
            hoarded.back()->Receive();
        }
    }
    EXPECT_LT(hoarded.size(), 2000U);
    EXPECT_GT(hoarded.size(), 65U);
    hoarded.clear();
    StartClient();
    EXPECT_TRUE(Eventually([&] { return IsServed(*client); }));
}

struct BadReply {
    const char* what;
    ByteVector bytes;
};

std::vector<BadReply> BadReplies(std::uint64_t sequence)
{
    const FrameHeader good{.kind = FrameKind::kReply, .sequence = sequence};
    const auto with = [&](auto change) {
        FrameHeader header = good;
        change(header);
        return MakeFrame(header, ByteVector());
    };
    ByteVector oversized =
        MakeFrame({.kind = FrameKind::kReply, .flags = ipc::kHasPayload, .sequence = sequence},
                  ByteVector(65'536));
    oversized.resize(ipc::kMaxFrame + 1);
    return {{"noise", ByteVector(50, 0x55)},
            {"one byte", ByteVector(1, 0)},
            {"another sequence", with([](FrameHeader& header) { ++header.sequence; })},
            {"an earlier sequence", with([](FrameHeader& header) { --header.sequence; })},
            {"a notification",
             with([](FrameHeader& header) { header.kind = FrameKind::kNotification; })},
            {"a version", with([](FrameHeader& header) { header.version = 9; })},
            {"a magic", with([](FrameHeader& header) { header.magic = 9; })},
            {"the last word", with([](FrameHeader& header) { header.zero = 9; })},
            {"beyond all limits", oversized}};
}

TEST_F(HostilePeersTest, AClientRefusesABadReply)
{
    RawService service;
    StartClient();
    auto events = service.AcceptEvents();
    const std::size_t count = BadReplies(1).size();
    std::thread answering([&] {
        for (std::size_t index = 0; index < count; ++index) {
            auto calls = service.Accept(FrameKind::kHelloCall);
            const auto request = calls->Receive();
            ASSERT_TRUE(request);
            calls->SendBytes(BadReplies(request->sequence)[index].bytes);
            EXPECT_TRUE(calls->IsClosed()) << BadReplies(1)[index].what;
        }
        auto calls = service.Accept(FrameKind::kHelloCall);
        const auto request = calls->Receive();
        ASSERT_TRUE(request);
        calls->Send({.kind = FrameKind::kReply, .sequence = request->sequence}, Counting(3));
        EXPECT_TRUE(calls->IsClosed());
    });
    for (std::size_t index = 0; index < count; ++index) {
        EXPECT_FALSE(Request(*client, 1, Counting(8))) << BadReplies(1)[index].what;
    }
    const auto answer = Request(*client, 1, Counting(8));
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->Bytes(), Counting(3));
    client.reset();
    answering.join();
}

TEST_F(HostilePeersTest, AClientReplacesABadEventConnection)
{
    RawService service;
    StartClient();
    std::atomic<int> calls{0};
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem&) { ++calls; });
    const std::vector<ByteVector> bad = {
        ByteVector(80, 0x33), MakeFrame({.kind = FrameKind::kWelcome}),
        MakeFrame({.kind = FrameKind::kReply}), ByteVector(ipc::kMaxFrame + 1, 0), ByteVector()};
    for (const ByteVector& bytes : bad) {
        auto events = service.AcceptEvents();
        EXPECT_TRUE(events->Send({.kind = FrameKind::kNotification, .msgId = 7}, Counting(4)));
        EXPECT_TRUE(events->SendBytes(bytes));
        events->Send({.kind = FrameKind::kNotification, .msgId = 7}, Counting(4));
        EXPECT_TRUE(events->IsClosed());
    }
    auto unwelcome = service.Accept(FrameKind::kHelloEvent);
    unwelcome->Send({.kind = FrameKind::kNotification, .msgId = 7}, Counting(4));
    EXPECT_TRUE(unwelcome->IsClosed());
    auto events = service.AcceptEvents();
    EXPECT_EQ(calls, static_cast<int>(bad.size()));
    client.reset();
}

TEST_F(HostilePeersTest, AClientSurvivesNoise)
{
    RawService service;
    StartClient();
    const auto events = service.AcceptEvents();
    std::atomic<bool> done{false};
    std::thread answering([&] {
        Noise noise;
        for (int round = 0; round < (kSanitized ? 50 : 200); ++round) {
            auto calls = service.Accept(FrameKind::kHelloCall);
            if (calls->Receive()) {
                calls->SendBytes(noise.Next());
            }
        }
        done = true;
        client->UnRegisterMessageCallbackAll();
    });
    while (!done) {
        const auto answer = Request(*client, 1, Counting(8));
        EXPECT_FALSE(answer && answer->item.length > 65'536);
    }
    answering.join();
}

TEST_F(HostilePeersTest, AServerCanSendMalformedBytes)
{
    handler.onRequest = [](std::uint64_t, const TagIPCMessageItem& request) {
        return request.msgId == 9 ? IPCReply{IPCReplyKind::kMalformed, {}} : Handler::Echo(request);
    };
    StartBoth();
    EXPECT_FALSE(Request(*client, 9, Counting(4)));
    EXPECT_TRUE(IsServed(*client));
    EXPECT_EQ(handler.left.Count(), 0U);
    server->SendMalformed(clientId);
    handler.left.WaitFor(1);
    EXPECT_TRUE(handler.arrived.WaitFor(2).back().returning);
}

}  // namespace

}  // namespace pelacon::test
