#include <protocol/BleManager.h>
#include <protocol/BleScanner.h>
#include <service/Session.h>
#include <tests/service/RecordingLine.h>

#include <gtest/gtest.h>

namespace pelacon::service::tests {
namespace {

class SessionTest : public testing::Test {
  protected:
    ~SessionTest() override { lock.unlock(); }

    bool Tell(std::int32_t state) { return session.Notify(protocol::kBtStateChanged, {state}); }

    World world{1};
    RecordingLine line;
    Session session{world, line, 7, 0};
    World::Guard lock = world.Lock();
};

TEST_F(SessionTest, KeepsWhatComesBeforeTheClientDoes)
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

TEST_F(SessionTest, KeepsNothingThatMayBeDropped)
{
    EXPECT_FALSE(session.Notify(protocol::kScanResult, {}, Line::Urgency::kDroppable));
    session.Arrive(42);
    EXPECT_TRUE(line.sent.empty());
}

TEST_F(SessionTest, KeepsSoMuchAndNoMore)
{
    for (std::size_t i = 0; i < Session::kMostHeld; ++i) {
        ASSERT_TRUE(Tell(1));
    }
    EXPECT_FALSE(Tell(1));
    session.Arrive(42);
    EXPECT_EQ(line.sent.size(), Session::kMostHeld);
}

TEST_F(SessionTest, TellsNothingToAClientThatLeft)
{
    session.Arrive(42);
    session.End();
    EXPECT_FALSE(Tell(1));
    EXPECT_TRUE(line.sent.empty());
}

}  // namespace
}  // namespace pelacon::service::tests
