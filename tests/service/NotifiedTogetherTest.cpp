// When notifications that are made with the scheduler's lock held are sent.
#include <IPCMessage/NotificationBatch.h>
#include <IPCMessage/Outbox.h>
#include <service/base/Scheduler.h>
#include <tests/service/TestClient.h>
#include <tests/support/SendOnlyConnection.h>

#include <gtest/gtest.h>

#include <atomic>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;

/// Counts the records that are sent.
class CountingConnection : public test::SendOnlyConnection {
  public:
    using SendOnlyConnection::Send;

    std::atomic<int> records{0};

    ipc::IoStatus Send(std::span<const std::uint8_t> /*frame*/) override
    {
        ++records;
        return ipc::IoStatus::kDone;
    }
    ipc::IoStatus TrySend(std::span<const std::uint8_t> frame) override { return Send(frame); }
};

class NotifiedTogetherTest : public testing::Test {
  protected:
    /// As the server does.
    void Notify()
    {
        const bool held = ipc::NotificationBatch::Hold(outbox);
        outbox->Put({.kind = ipc::FrameKind::kNotification}, {}, ipc::Outbox::Urgency::kKept,
                    held ? ipc::Outbox::When::kWithOthers : ipc::Outbox::When::kNow);
    }

    int Sent() const { return connection->records; }

    std::shared_ptr<CountingConnection> connection = std::make_shared<CountingConnection>();
    ipc::ServerCounters counters;
    std::shared_ptr<ipc::Outbox> outbox =
        std::make_shared<ipc::Outbox>(connection, counters, ipc::Outbox::Records::kJoined);
    Scheduler scheduler{1};
};

TEST_F(NotifiedTogetherTest, IsSentWhenTheLockIsReleased)
{
    {
        const Scheduler::Guard lock = scheduler.Lock();
        Notify();
        Notify();
        EXPECT_EQ(Sent(), 0);
    }
    EXPECT_EQ(Sent(), 1);
    Notify();
    EXPECT_EQ(Sent(), 2);
}

TEST_F(NotifiedTogetherTest, IsSentBeforeAHandlerWaits)
{
    const Scheduler::Guard lock = scheduler.Lock();
    Notify();
    Notify();
    EXPECT_TRUE(scheduler.Wait(kPatience, [this] { return Sent() == 1; }));
    Notify();
    EXPECT_EQ(Sent(), 1);
    scheduler.Pause();
    EXPECT_EQ(Sent(), 2);
}

TEST_F(NotifiedTogetherTest, IsSentWhenATimersTaskEnds)
{
    int sentMeanwhile = -1;
    const Scheduler::Guard lock = scheduler.Lock();
    const Timer first = scheduler.After(0ms, [&] {
        Notify();
        Notify();
        sentMeanwhile = Sent();
    });
    const Timer second = scheduler.After(1ms, [&] { scheduler.Wake(); });
    EXPECT_TRUE(scheduler.Wait(kPatience, [&] { return !second.IsPending(); }));
    EXPECT_EQ(sentMeanwhile, 0);
    EXPECT_EQ(Sent(), 1);
}

}  // namespace
}  // namespace pelacon::service::tests
