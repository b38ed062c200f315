// The queue to one client, on a scripted connection.
#include <IPCMessage/Outbox.h>
#include <tests/platform/IPCMessage/Fixture.h>

#include <atomic>

namespace pelacon::test {

namespace {

using ipc::Deadline;
using ipc::IoResult;
using ipc::IoStatus;

/// Has no room for the first frame; a blocking send waits at the gate.
class ReluctantConnection : public ipc::Connection {
  public:
    Gate waiting;
    Gate room;
    Mailbox<ByteVector> sent;

    const ipc::Peer& GetPeer() const noexcept override { return peer_; }

    IoStatus Send(std::span<const std::uint8_t> frame) override
    {
        waiting.Open();
        room.Pass();
        sent.Put(ByteVector(frame.begin(), frame.end()));
        return IoStatus::kDone;
    }
    IoStatus Send(std::span<const std::uint8_t> frame, Deadline& /*deadline*/) override
    {
        return Send(frame);
    }
    IoStatus TrySend(std::span<const std::uint8_t> frame) override
    {
        if (full_.exchange(false)) {
            return IoStatus::kWouldBlock;
        }
        sent.Put(ByteVector(frame.begin(), frame.end()));
        return IoStatus::kDone;
    }

    IoResult Receive(std::span<std::uint8_t> /*room*/) override { return {}; }
    IoResult Receive(std::span<std::uint8_t> /*room*/, Deadline& /*deadline*/) override
    {
        return {};
    }
    IoStatus ReceiveSome(ipc::FrameBatch& /*batch*/) override { return IoStatus::kLost; }
    bool IsConnected() noexcept override { return true; }
    void StopReceiving() noexcept override {}
    void Shutdown() noexcept override { room.Open(); }

  private:
    ipc::Peer peer_;
    std::atomic<bool> full_{true};
};

TEST(OutboxTest, AFrameDoesNotOvertakeTheOneThatIsBeingSent)
{
    const auto connection = std::make_shared<ReluctantConnection>();
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
    const auto connection = std::make_shared<ReluctantConnection>();
    ipc::ServerCounters counters;
    ipc::Outbox outbox(connection, counters);
    EXPECT_TRUE(outbox.PutBytes(Counting(1)));
    ASSERT_TRUE(connection->waiting.Pass());
    EXPECT_TRUE(outbox.PutBytes(Counting(2)));
    outbox.Close();
    EXPECT_EQ(connection->sent.All(), std::vector<ByteVector>{Counting(1)});
    EXPECT_FALSE(outbox.PutBytes(Counting(3)));
}

}  // namespace

}  // namespace pelacon::test
