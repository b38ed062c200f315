#include <protocol/BleManager.h>
#include <protocol/BleScanner.h>
#include <service/core/Session.h>
#include <tests/service/RecordingTransport.h>

#include <gtest/gtest.h>

namespace pelacon::service::tests {
namespace {

class SessionTest : public testing::Test {
  protected:
    bool Tell(std::int32_t state) { return session.Notify(protocol::kBtStateChanged, {state}); }

    Scheduler scheduler{1};
    RecordingTransport line;
    Session session{scheduler, line, 7, 0};
    Scheduler::Guard lock = scheduler.Lock();
};

TEST_F(SessionTest, KeepsNotificationsUntilTheClientArrives)
{
    EXPECT_TRUE(Tell(1));
    EXPECT_TRUE(Tell(2));
    EXPECT_TRUE(line.sent.empty());
    session.Arrive(42);
    EXPECT_TRUE(Tell(3));
    ASSERT_EQ(line.sent.size(), 3U);
    for (std::uint8_t i = 0; i < 3; ++i) {
        EXPECT_EQ(line.sent[i].clientId, 7U);
        EXPECT_EQ(line.sent[i].messageId, protocol::kBtStateChanged.id);
        EXPECT_EQ(line.sent[i].payload[0], i + 1);
    }
}

TEST_F(SessionTest, KeepsNoDroppableNotification)
{
    EXPECT_FALSE(session.Notify(protocol::kScanResult, {}, Transport::Urgency::kDroppable));
    session.Arrive(42);
    EXPECT_TRUE(line.sent.empty());
}

TEST_F(SessionTest, KeepsALimitedNumberOfNotifications)
{
    for (std::size_t i = 0; i < Session::kMostHeld; ++i) {
        ASSERT_TRUE(Tell(1));
    }
    EXPECT_FALSE(Tell(1));
    session.Arrive(42);
    EXPECT_EQ(line.sent.size(), Session::kMostHeld);
}

TEST_F(SessionTest, SendsNothingToAClientThatLeft)
{
    session.Arrive(42);
    session.End();
    EXPECT_FALSE(Tell(1));
    EXPECT_TRUE(line.sent.empty());
}

}  // namespace
}  // namespace pelacon::service::tests
