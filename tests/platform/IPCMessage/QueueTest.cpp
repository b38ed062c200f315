// Clients that do not read their notifications.
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/RawPeers.h>

#include <atomic>
#include <cstring>

namespace pelacon::test {

namespace {

using ipc::FrameKind;
using Urgency = IPCMessageServer::Urgency;

class QueueTest : public ChannelTest {
  protected:
    /// An event connection that is not read from.
    void StartIdler()
    {
        StartServer();
        idler = std::make_unique<RawClient>();
        ASSERT_TRUE(idler->Greet(FrameKind::kHelloEvent));
        clientId = handler.arrived.WaitFor(1).front().id;
    }

    bool Notify(std::uint32_t number, Urgency urgency)
    {
        return server->Notify(clientId, 7, ByteVector(Bytes().U32(number)), urgency);
    }

    /// Reads the welcome and then the numbers, up to the last one.
    std::vector<std::uint32_t> ReadUntil(std::uint32_t last)
    {
        EXPECT_EQ(idler->Receive()->kind, FrameKind::kWelcome);
        std::vector<std::uint32_t> numbers;
        while (numbers.empty() || numbers.back() != last) {
            if (!idler->Receive()) {
                ADD_FAILURE() << "lost after " << numbers.size();
                break;
            }
            const ByteVector payload = idler->Payload();
            std::memcpy(&numbers.emplace_back(), payload.data(), sizeof(std::uint32_t));
        }
        return numbers;
    }

    std::unique_ptr<RawClient> idler;
};

TEST_F(QueueTest, DroppableNotificationsAreDroppedOldestFirstAndCounted)
{
    StartIdler();
    constexpr std::uint32_t kCount = 5000;
    for (std::uint32_t number = 0; number < kCount; ++number) {
        ASSERT_TRUE(Notify(number, Urgency::kDroppable));
    }
    const auto dropped = server->GetStatistics().notificationsDropped;
    const std::vector<std::uint32_t> numbers = ReadUntil(kCount - 1);
    EXPECT_GT(dropped, 0U);
    EXPECT_EQ(numbers.size() + dropped, kCount);
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    // The newest are complete; the gap is before them.
    const std::uint32_t oldestQueued = kCount - IPCMessageServer::kQueueLimit;
    EXPECT_NE(std::find(numbers.begin(), numbers.end(), oldestQueued), numbers.end());
    EXPECT_TRUE(Notify(kCount, Urgency::kDroppable));
    EXPECT_TRUE(idler->Receive());
    EXPECT_EQ(server->GetStatistics().slowClients, 0U);
}

TEST_F(QueueTest, DroppableNotificationsAreDroppedForOthers)
{
    StartIdler();
    std::vector<std::uint32_t> kept;
    std::uint32_t number = 0;
    // How much the system buffers differs.
    for (; server->GetStatistics().notificationsDropped < 1000; ++number) {
        ASSERT_LT(number, 100'000U) << "nothing is dropped";
        const bool keep = number % 8 == 0;
        ASSERT_TRUE(Notify(number, keep ? Urgency::kKept : Urgency::kDroppable));
        if (keep) {
            kept.push_back(number);
        }
    }
    ASSERT_TRUE(Notify(number, Urgency::kKept));
    const std::vector<std::uint32_t> numbers = ReadUntil(number);
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    EXPECT_TRUE(std::includes(numbers.begin(), numbers.end(), kept.begin(), kept.end()));
}

TEST_F(QueueTest, AFullQueueEndsTheEventConnectionOnly)
{
    StartIdler();
    RawClient calls;
    ASSERT_TRUE(calls.Greet(FrameKind::kHelloCall));
    std::uint32_t accepted = 0;
    const auto duration = Duration([&] {
        while (accepted < 100'000 && Notify(accepted, Urgency::kKept)) {
            ++accepted;
        }
    });
    EXPECT_LT(accepted, 100'000U);
    EXPECT_GE(accepted, IPCMessageServer::kQueueLimit);
    EXPECT_LT(duration, 5s);  // it never waits
    EXPECT_EQ(handler.left.WaitFor(1).front(), clientId);
    EXPECT_EQ(server->GetStatistics().slowClients, 1U);
    EXPECT_EQ(server->GetStatistics().notificationsDropped, 0U);
    EXPECT_TRUE(idler->IsClosed());

    ASSERT_TRUE(calls.Send({.kind = FrameKind::kRequest, .sequence = 1, .order = 1}));
    EXPECT_EQ(calls.Receive()->kind, FrameKind::kReply);
    EXPECT_EQ(server->GetStatistics().clients, 0U);
}

TEST_F(QueueTest, AQueueOfKeptNotificationsDropsDroppableOnes)
{
    StartIdler();
    while (server->GetStatistics().notificationsDropped == 0) {
        ASSERT_TRUE(Notify(1, Urgency::kDroppable));
    }
    // Every droppable one makes room for one of these.
    for (std::uint32_t number = 0; number < IPCMessageServer::kQueueLimit; ++number) {
        ASSERT_TRUE(Notify(2, Urgency::kKept));
    }
    const auto dropped = server->GetStatistics().notificationsDropped;
    ASSERT_TRUE(Notify(3, Urgency::kDroppable));
    EXPECT_EQ(server->GetStatistics().notificationsDropped, dropped + 1);
    EXPECT_FALSE(Notify(4, Urgency::kKept));
    EXPECT_EQ(server->GetStatistics().slowClients, 1U);
}

TEST_F(QueueTest, ASlowClientReturnsAndItsCallsGoOn)
{
    StartBoth();
    EXPECT_TRUE(IsServed(*client));
    Gate entered;
    const Ending ending(*this);
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem&) {
        entered.Open();
        gate.Pass();
    });
    ASSERT_TRUE(Notify(0, Urgency::kKept));
    ASSERT_TRUE(entered.Pass());
    while (Notify(1, Urgency::kKept)) {
    }
    handler.left.WaitFor(1);
    EXPECT_TRUE(IsServed(*client));
    gate.Open();
    const IPCClientInfo back = handler.arrived.WaitFor(2).back();
    EXPECT_TRUE(back.returning);
    EXPECT_EQ(back.id, clientId);
}

}  // namespace

}  // namespace pelacon::test
