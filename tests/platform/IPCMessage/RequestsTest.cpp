// Requests and their replies.
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/Scenarios.h>

#include <atomic>

namespace pelacon::test {

namespace {

using RequestsTest = ChannelTest;

/// Only the bytes that the caller may rely on.
bool IsZeroBehindPayload(const Answer& answer)
{
    const std::size_t room =
        answer.item.length != 0 ? std::max<std::size_t>(1024, answer.item.length + 1) : 2048;
    return std::all_of(answer.payload.get() + answer.item.length, answer.payload.get() + room,
                       [](std::uint8_t byte) { return byte == 0; });
}

TEST_F(RequestsTest, CarryEveryFieldOfTheirRecord)
{
    Mailbox<Message> received;
    const Ending ending(*this);
    handler.onRequest = [&](std::uint64_t, const TagIPCMessageItem& request) {
        received.Put(Message(request));
        return Handler::Echo(request);
    };
    StartBoth();
    ByteVector payload = Counting(100);
    TagIPCMessageItem request{.name = "somebody",
                              .targetModuleId = 0xD70000,
                              .sourceModuleId = 0xD80000,
                              .msgId = 0xD70064,
                              .reservedA = 11,
                              .reservedB = -12,
                              .reservedC = 13,
                              .length = 100,
                              .message = payload.data(),
                              .flag = true,
                              .processId = 4711};
    TagIPCMessageItem reply;
    ASSERT_TRUE(client->SendIPCMessage(request, reply, kNoHurry));
    std::free(reply.message);

    const Message message = received.WaitFor(1).front();
    EXPECT_EQ(message.item.name, "somebody");
    EXPECT_EQ(message.item.targetModuleId, 0xD70000);
    EXPECT_EQ(message.item.sourceModuleId, 0xD80000);
    EXPECT_EQ(message.item.msgId, 0xD70064);
    EXPECT_EQ(message.item.reservedA, 11);
    EXPECT_EQ(message.item.reservedB, -12);
    EXPECT_EQ(message.item.reservedC, 13);
    EXPECT_TRUE(message.item.flag);
    EXPECT_EQ(message.item.processId, 4711U);
    EXPECT_EQ(message.payload, payload);

    EXPECT_EQ(reply.name, "");
    EXPECT_EQ(reply.targetModuleId, 0xD80000);
    EXPECT_EQ(reply.sourceModuleId, 0xD70000);
    EXPECT_EQ(reply.msgId, 0xD70064);
    EXPECT_FALSE(reply.flag);
}

TEST_F(RequestsTest, CarryPayloadsUpToTheLimitAndPadReplies)
{
    StartBoth();
    for (const std::size_t size : {0U, 1U, 64U, 1023U, 1024U, 2048U, 65535U, 65536U}) {
        SCOPED_TRACE(size);
        const ByteVector payload = Counting(size);
        const auto answer = Request(*client, 1, payload);
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->Bytes(), payload);
        EXPECT_NE(answer->payload, nullptr);
        EXPECT_TRUE(IsZeroBehindPayload(*answer));
    }
    // A short one after long ones: the padding is zero again.
    const auto answer = Request(*client, 1, Counting(3));
    ASSERT_TRUE(answer);
    EXPECT_TRUE(IsZeroBehindPayload(*answer));
}

TEST_F(RequestsTest, ReachTheServicePaddedWithZeros)
{
    std::atomic<bool> padded{false};
    const Ending ending(*this);
    handler.onRequest = [&](std::uint64_t, const TagIPCMessageItem& request) {
        padded = std::all_of(request.message + request.length, request.message + 2048,
                             [](std::uint8_t byte) { return byte == 0; });
        return Handler::Echo(request);
    };
    StartBoth();
    for (const std::size_t size : {2048U, 5U, 60'000U, 0U, 700U, 20U}) {
        ASSERT_TRUE(Request(*client, 1, ByteVector(size, 0xFF)));
        EXPECT_TRUE(padded) << size;
    }
}

TEST_F(RequestsTest, AnEmptyPayloadDiffersFromNone)
{
    handler.onRequest = [](std::uint64_t, const TagIPCMessageItem& request) {
        return IPCReply{
            request.message != nullptr ? IPCReplyKind::kPayload : IPCReplyKind::kNoPayload, {}};
    };
    StartBoth();
    const auto withEmpty = Request(*client, 1, ByteVector());
    ASSERT_TRUE(withEmpty);
    EXPECT_NE(withEmpty->payload, nullptr);
    EXPECT_EQ(withEmpty->item.length, 0U);
    const auto withNone = Request(*client, 1, std::nullopt);
    ASSERT_TRUE(withNone);
    EXPECT_EQ(withNone->payload, nullptr);
    EXPECT_EQ(withNone->item.length, 0U);
}

TEST_F(RequestsTest, AreRefusedWhenTheyDoNotFitAFrame)
{
    StartBoth();
    EXPECT_FALSE(Request(*client, 1, ByteVector(65'537)));

    TagIPCMessageItem request;
    TagIPCMessageItem reply;
    request.name.assign(255, 'n');
    EXPECT_TRUE(client->SendIPCMessage(request, reply, kNoHurry));
    std::free(reply.message);
    reply = {};
    request.name.assign(256, 'n');
    EXPECT_FALSE(client->SendIPCMessage(request, reply, kNoHurry));
    request.name.clear();
    request.length = 4;  // but no bytes
    EXPECT_FALSE(client->SendIPCMessage(request, reply, kNoHurry));

    EXPECT_EQ(reply.msgId, -1);
    EXPECT_EQ(reply.message, nullptr);
    EXPECT_EQ(server->GetStatistics().requests, 1U);
    EXPECT_EQ(server->GetStatistics().malformedFrames, 0U);
}

TEST_F(RequestsTest, AReplyTooLargeForAFrameComesWithoutPayload)
{
    handler.onRequest = [](std::uint64_t, const TagIPCMessageItem&) {
        return IPCReply{IPCReplyKind::kPayload, ByteVector(65'537)};
    };
    StartBoth();
    const auto answer = Request(*client, 1, std::nullopt);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->payload, nullptr);
}

TEST_F(RequestsTest, RequestsOfEightThreadsReceiveTheirOwnReplies)
{
    StartBoth();
    EXPECT_EQ(CallsThatWentWrong(*client, 8, 250), 0U);
    EXPECT_EQ(server->GetStatistics().requests, 2000U);
    EXPECT_LE(server->GetStatistics().callConnections, 8U);
}

TEST_F(RequestsTest, RequestsOfOneThreadUseOneConnection)
{
    StartBoth();
    for (int call = 0; call < 50; ++call) {
        ASSERT_TRUE(IsServed(*client));
    }
    EXPECT_EQ(server->GetStatistics().callConnections, 1U);
}

TEST_F(RequestsTest, MoreThanSixtyFourRequestsAtOnceWait)
{
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    const Ending ending(*this);
    handler.onRequest = [&](std::uint64_t, const TagIPCMessageItem& request) {
        most = std::max(most.load(), ++inside);
        gate.Pass();
        --inside;
        return Handler::Echo(request);
    };
    StartBoth();
    std::atomic<int> served{0};
    std::thread callers(
        [&] { OnThreads(80, [&](std::size_t) { served += IsServed(*client) ? 1 : 0; }); });
    EXPECT_TRUE(Eventually([&] { return inside == 64; }));
    // One more does not find a connection in time.
    const auto waited = Duration([&] { EXPECT_FALSE(IsServed(*client, 50)); });
    EXPECT_GE(waited, 50ms);
    gate.Open();
    callers.join();
    EXPECT_EQ(served, 80);
    EXPECT_EQ(most, 64);
    EXPECT_EQ(client->GetStatistics().timedOut, 1U);
}

TEST_F(RequestsTest, MadeInsideANotificationCallbackAreAnswered)
{
    StartBoth();
    Mailbox<bool> served;
    const Ending ending(*this);
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem&) { served.Put(IsServed(*client)); });
    for (int round = 0; round < 20; ++round) {
        server->Notify(clientId, 7, Counting(8));
    }
    const std::vector<bool> all = served.WaitFor(20);
    EXPECT_EQ(std::count(all.begin(), all.end(), true), 20);
}

}  // namespace

}  // namespace pelacon::test
