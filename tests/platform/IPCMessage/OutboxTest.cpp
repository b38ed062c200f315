// The queue to one client, on a scripted connection.
#include <IPCMessage/Outbox.h>
#include <tests/platform/IPCMessage/ScriptedConnection.h>

namespace pelacon::test {

namespace {

using ipc::Outbox;
using When = Outbox::When;

TEST(OutboxTest, AFrameDoesNotOvertakeTheOneThatIsBeingSent)
{
    const auto connection = std::make_shared<ScriptedConnection>(1);
    ipc::ServerCounters counters;
    ipc::Outbox outbox(connection, counters);
    EXPECT_TRUE(outbox.PutBytes(Counting(1)));
    ASSERT_TRUE(connection->waiting.Pass());
    // There is room now, and the queue is empty; but the first frame has not been sent yet.
    EXPECT_TRUE(outbox.PutBytes(Counting(2)));
    EXPECT_EQ(connection->sent.Count(), 0U);
    connection->room.Open();
    EXPECT_EQ(connection->sent.WaitFor(2), (std::vector<ByteVector>{Counting(1), Counting(2)}));
}

TEST(OutboxTest, ClosingWaitsForTheFrameThatIsBeingSentAndDropsTheRest)
{
    const auto connection = std::make_shared<ScriptedConnection>(1);
    ipc::ServerCounters counters;
    ipc::Outbox outbox(connection, counters);
    EXPECT_TRUE(outbox.PutBytes(Counting(1)));
    ASSERT_TRUE(connection->waiting.Pass());
    EXPECT_TRUE(outbox.PutBytes(Counting(2)));
    outbox.Close();
    EXPECT_EQ(connection->sent.All(), std::vector<ByteVector>{Counting(1)});
    EXPECT_FALSE(outbox.PutBytes(Counting(3)));
}

/// Puts notifications with these numbers as payload.
void Put(Outbox& outbox, const std::vector<std::uint8_t>& numbers, When when,
         Outbox::Urgency urgency = Outbox::Urgency::kKept)
{
    for (const std::uint8_t number : numbers) {
        EXPECT_TRUE(outbox.Put({.kind = ipc::FrameKind::kNotification, .flags = ipc::kHasPayload},
                               {&number, 1}, urgency, when));
    }
}

using Records = std::vector<std::vector<std::uint8_t>>;

/// The numbers in each record that was sent.
Records NumbersOf(const std::vector<ByteVector>& sent)
{
    Records records;
    for (const ByteVector& bytes : sent) {
        auto& numbers = records.emplace_back();
        for (std::span<const std::uint8_t> rest = bytes; !rest.empty();) {
            const auto length = ipc::LengthOfFirst(rest);
            if (!length) {
                ADD_FAILURE() << "what was sent is no frame";
                break;
            }
            numbers.push_back(rest[*length - 1]);
            rest = rest.subspan(*length);
        }
    }
    return records;
}

class JoiningOutboxTest : public testing::Test {
  protected:
    Records Sent() const { return NumbersOf(connection->sent.All()); }

    ipc::ServerCounters counters;
    std::shared_ptr<ScriptedConnection> connection = std::make_shared<ScriptedConnection>(0);
    Outbox outbox{connection, counters, Outbox::Records::kJoined};
};

TEST_F(JoiningOutboxTest, SendsWhatIsPutNowAtOnce)
{
    Put(outbox, {1, 2}, When::kNow);
    EXPECT_EQ(Sent(), (Records{{1}, {2}}));
}

TEST_F(JoiningOutboxTest, HoldsBackUntilFlush)
{
    Put(outbox, {1, 2, 3}, When::kWithOthers);
    EXPECT_EQ(Sent(), Records{});
    outbox.Flush();
    outbox.Flush();
    EXPECT_EQ(Sent(), (Records{{1, 2, 3}}));
}

TEST_F(JoiningOutboxTest, SendsARecordWhenItIsFull)
{
    Put(outbox, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17}, When::kWithOthers);
    EXPECT_EQ(Sent(), (Records{{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}}));
    outbox.Flush();
    EXPECT_EQ(Sent().back(), std::vector<std::uint8_t>{17});
}

TEST_F(JoiningOutboxTest, KeepsTheOrderOfWhatIsHeldBackAndWhatIsNot)
{
    Put(outbox, {1, 2}, When::kWithOthers);
    Put(outbox, {3}, When::kNow);
    EXPECT_EQ(Sent(), (Records{{1, 2, 3}}));
}

TEST_F(JoiningOutboxTest, LeavesToItsThreadWhatFindsNoRoom)
{
    connection->full = 1;
    Put(outbox, {1, 2}, When::kWithOthers);
    outbox.Flush();
    ASSERT_TRUE(connection->waiting.Pass());
    Put(outbox, {3}, When::kWithOthers);
    Put(outbox, {4}, When::kNow);
    outbox.Flush();
    EXPECT_EQ(Sent(), Records{});
    connection->room.Open();
    EXPECT_EQ(NumbersOf(connection->sent.WaitFor(2)), (Records{{1, 2}, {3, 4}}));
}

TEST_F(JoiningOutboxTest, JoinsNotificationsOnly)
{
    connection->full = 1;
    EXPECT_TRUE(outbox.Put({.kind = ipc::FrameKind::kWelcome}, {}, Outbox::Urgency::kKept));
    Put(outbox, {1, 2}, When::kNow);
    EXPECT_TRUE(outbox.PutBytes(Counting(3)));
    Put(outbox, {3}, When::kNow);
    connection->room.Open();
    const std::vector<ByteVector> sent = connection->sent.WaitFor(4);
    EXPECT_EQ(ipc::ReadFrame(sent[0])->kind, ipc::FrameKind::kWelcome);
    EXPECT_EQ(NumbersOf({sent[1]}), (Records{{1, 2}}));
    EXPECT_EQ(sent[2], Counting(3));
    EXPECT_EQ(NumbersOf({sent[3]}), (Records{{3}}));
}

TEST_F(JoiningOutboxTest, HoldsNothingBackForAClientThatReadsSingleFrames)
{
    Outbox single(connection, counters);
    Put(single, {1, 2}, When::kWithOthers);
    EXPECT_EQ(Sent(), (Records{{1}, {2}}));
}

TEST_F(JoiningOutboxTest, ForgetsWhatIsHeldBackWhenItIsClosed)
{
    Put(outbox, {1}, When::kWithOthers);
    outbox.Close();
    outbox.Flush();
    EXPECT_EQ(Sent(), Records{});
}

}  // namespace

}  // namespace pelacon::test
