// Notifications, from the service's Notify to the application's callback.
#include <tests/platform/IPCMessage/Fixture.h>

#include <cstring>
#include <map>

namespace pelacon::test {

namespace {

class NotificationsTest : public ChannelTest {
  protected:
    void Collect(std::int32_t messageId)
    {
        client->RegisterMessageCallback(
            messageId, [this](TagIPCMessageItem& item) { received.Put(Message(item)); });
    }

    Mailbox<Message> received;
};

TEST_F(NotificationsTest, ArriveInTheOrderSent)
{
    StartBoth();
    Collect(7);
    Collect(8);
    for (std::uint32_t number = 0; number < 500; ++number) {
        ASSERT_TRUE(
            server->Notify(clientId, number % 2 == 0 ? 7 : 8, ByteVector(Bytes().U32(number))));
    }
    std::uint32_t number = 0;
    for (const Message& message : received.WaitFor(500)) {
        EXPECT_EQ(message.item.msgId, number % 2 == 0 ? 7 : 8);
        EXPECT_EQ(message.payload, ByteVector(Bytes().U32(number++)));
    }
    EXPECT_EQ(server->GetStatistics().notifications, 500U);
}

TEST_F(NotificationsTest, CarryPayloadsUpToTheLimitPaddedWithZeros)
{
    StartBoth();
    Mailbox<bool> padded;
    const Ending ending(*this);
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem& item) {
        received.Put(Message(item));
        padded.Put(std::all_of(item.message + item.length,
                               item.message + std::max(2048U, item.length + 1),
                               [](std::uint8_t byte) { return byte == 0; }));
    });
    std::size_t count = 0;
    for (int round = 0; round < 20; ++round) {  // reuses the buffers
        for (const std::size_t size : {65'536U, 0U, 300U, 2'048U, 1U}) {
            ASSERT_TRUE(server->Notify(clientId, 7, Counting(size)));
            const Message message = received.WaitFor(++count).back();
            EXPECT_TRUE(message.hasPayload);
            EXPECT_EQ(message.payload, Counting(size));
        }
    }
    const auto all = padded.WaitFor(count);
    EXPECT_EQ(std::count(all.begin(), all.end(), false), 0);
    EXPECT_FALSE(server->Notify(clientId, 7, ByteVector(65'537)));
}

TEST_F(NotificationsTest, GoToTheLastCallbackRegistered)
{
    StartBoth();
    Mailbox<int> first;
    Mailbox<int> second;
    const Ending ending(*this);
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem&) { first.Put(1); });
    server->Notify(clientId, 7, {});
    first.WaitFor(1);
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem&) { second.Put(1); });
    server->Notify(clientId, 7, {});
    second.WaitFor(1);
    EXPECT_EQ(first.Count(), 1U);
}

TEST_F(NotificationsTest, UnhandledOnesAreCounted)
{
    StartBoth();
    Collect(7);
    server->Notify(clientId, 6, Counting(4));
    server->Notify(clientId, 5, Counting(4));
    server->Notify(clientId, 7, Counting(4));
    received.WaitFor(1);
    EXPECT_EQ(client->GetStatistics().unhandled, 2U);
}

TEST_F(NotificationsTest, ACallbackMayRegisterOthers)
{
    StartBoth();
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem&) { Collect(8); });
    server->Notify(clientId, 7, {});
    server->Notify(clientId, 8, Counting(3));
    EXPECT_EQ(received.WaitFor(1).front().payload, Counting(3));
}

TEST_F(NotificationsTest, ThoseSentInsideClientArrivedComeFirst)
{
    StartServer();
    handler.onArrived = [&](const IPCClientInfo& arriving) {
        EXPECT_TRUE(server->Notify(arriving.id, 7, Counting(1)));
        EXPECT_TRUE(server->Notify(arriving.id, 7, Counting(2)));
    };
    // The callbacks are registered before the first connection.
    server.reset();
    StartClient();
    Collect(7);
    StartServer();
    ASSERT_TRUE(IsServed(*client));
    server->Notify(handler.arrived.WaitFor(1).front().id, 7, Counting(3));
    const auto all = received.WaitFor(3);
    EXPECT_EQ(all[0].payload, Counting(1));
    EXPECT_EQ(all[1].payload, Counting(2));
    EXPECT_EQ(all[2].payload, Counting(3));
}

TEST_F(NotificationsTest, GoToTheClientTheyAreFor)
{
    StartBoth();
    Collect(7);
    Mailbox<Message> receivedByOther;
    IPCMessageClient other(1, false, false, kPipe);
    other.RegisterMessageCallback(
        7, [&](TagIPCMessageItem& item) { receivedByOther.Put(Message(item)); });
    const std::uint64_t otherId = handler.arrived.WaitFor(2).back().id;
    EXPECT_NE(otherId, clientId);
    EXPECT_TRUE(server->Notify(otherId, 7, Counting(2)));
    EXPECT_TRUE(server->Notify(clientId, 7, Counting(1)));
    EXPECT_EQ(received.WaitFor(1).front().payload, Counting(1));
    EXPECT_EQ(receivedByOther.WaitFor(1).front().payload, Counting(2));
    EXPECT_EQ(server->GetStatistics().clients, 2U);
}

TEST_F(NotificationsTest, WithoutAnEventConnectionNoneIsSent)
{
    StartBoth();
    EXPECT_FALSE(server->Notify(clientId + 1, 7, {}));
    client.reset();
    handler.left.WaitFor(1);
    EXPECT_FALSE(server->Notify(clientId, 7, {}));
    EXPECT_EQ(server->GetStatistics().notifications, 0U);
    EXPECT_EQ(server->GetStatistics().clients, 0U);
}

TEST_F(NotificationsTest, ManyArriveCompleteWhileCallbacksMakeRequests)
{
    StartBoth();
    Mailbox<std::uint32_t> numbers;
    const Ending ending(*this);
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem& item) {
        std::uint32_t number = 0;
        std::memcpy(&number, item.message, sizeof number);
        if (number % 50 == 0) {
            EXPECT_TRUE(IsServed(*client));
        }
        numbers.Put(number);
    });
    constexpr std::uint32_t kCount = 1000;
    for (std::uint32_t number = 0; number < kCount; ++number) {
        ASSERT_TRUE(server->Notify(clientId, 7, ByteVector(Bytes().U32(number))));
    }
    const auto all = numbers.WaitFor(kCount);
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
}

}  // namespace

}  // namespace pelacon::test
