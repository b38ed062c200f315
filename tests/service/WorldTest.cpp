#include <service/Session.h>
#include <service/World.h>
#include <tests/service/RecordingLine.h>
#include <tests/service/TestClient.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)

class WorldTest : public testing::Test {
  protected:
    /// Lets the world go on until the condition holds. With the lock held.
    bool Until(const std::function<bool()>& condition) { return world_.Wait(kPatience, condition); }

    World world_{1};
};

TEST_F(WorldTest, TasksRunInTheOrderOfTheirTimes)
{
    std::vector<int> order;
    const World::Guard lock = world_.Lock();
    const auto note = [&](int number) {
        order.push_back(number);
        world_.Wake();
    };
    const Timer third = world_.After(3ms, [&] { note(3); });
    const Timer first = world_.After(1ms, [&] { note(1); });
    const Timer second = world_.After(2ms, [&] { note(2); });
    EXPECT_TRUE(second.IsPending());
    ASSERT_TRUE(Until([&] { return order.size() == 3; }));
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
    EXPECT_FALSE(second.IsPending());
}

TEST_F(WorldTest, ACancelledTaskDoesNotRun)
{
    bool ran = false;
    bool later = false;
    const World::Guard lock = world_.Lock();
    Timer cancelled = world_.After(0ms, [&] { ran = true; });
    {
        const Timer gone = world_.After(0ms, [&] { ran = true; });
    }
    cancelled.Cancel();
    EXPECT_FALSE(cancelled.IsPending());
    const Timer last = world_.After(1ms, [&] {
        later = true;
        world_.Wake();
    });
    ASSERT_TRUE(Until([&] { return later; }));
    EXPECT_FALSE(ran);
}

TEST_F(WorldTest, AMovedTimerCarriesItsTask)
{
    bool ran = false;
    const World::Guard lock = world_.Lock();
    Timer kept;
    {
        Timer first = world_.After(1ms, [&] {
            ran = true;
            world_.Wake();
        });
        kept = std::move(first);
    }
    EXPECT_TRUE(Until([&] { return ran; }));
}

TEST_F(WorldTest, APeriodicTaskRunsUntilItCancelsItself)
{
    int runs = 0;
    bool after = false;
    const World::Guard lock = world_.Lock();
    Timer timer;
    timer = world_.Every(1ms, [&] {
        if (++runs == 3) {
            timer.Cancel();
            world_.Wake();
        }
    });
    ASSERT_TRUE(Until([&] { return runs == 3; }));
    const Timer later = world_.After(5ms, [&] {
        after = true;
        world_.Wake();
    });
    ASSERT_TRUE(Until([&] { return after; }));
    EXPECT_EQ(runs, 3);
}

TEST_F(WorldTest, ATaskThatFailsHarmsNobody)
{
    bool ran = false;
    const World::Guard lock = world_.Lock();
    const Timer bad = world_.After(0ms, [] { throw std::runtime_error("as the test wishes"); });
    const Timer good = world_.After(1ms, [&] {
        ran = true;
        world_.Wake();
    });
    EXPECT_TRUE(Until([&] { return ran; }));
}

TEST_F(WorldTest, WaitingIsLimited)
{
    const World::Guard lock = world_.Lock();
    const auto begin = World::Clock::now();
    EXPECT_FALSE(world_.Wait(20ms, [] { return false; }));
    EXPECT_GE(World::Clock::now() - begin, 20ms);
}

TEST_F(WorldTest, TheLockIsFreeWhileOneWaits)
{
    const World::Guard lock = world_.Lock();
    bool changed = false;
    std::thread other([&] {
        const World::Guard theirs = world_.Lock();
        changed = true;
        world_.Wake();
    });
    EXPECT_TRUE(Until([&] { return changed; }));
    other.join();
}

TEST_F(WorldTest, StoppingEndsAllWaiting)
{
    bool waiting = false;
    bool result = true;
    std::thread waiter([&] {
        const World::Guard lock = world_.Lock();
        waiting = true;
        world_.Wake();
        result = world_.Wait(kPatience, [] { return false; });
    });
    {
        const World::Guard lock = world_.Lock();
        ASSERT_TRUE(Until([&] { return waiting; }));
    }
    const auto begin = World::Clock::now();
    world_.Stop();
    waiter.join();
    EXPECT_LT(World::Clock::now() - begin, kPatience / 2);
    EXPECT_FALSE(result);
}

TEST_F(WorldTest, ACompletionWakesWhoAwaitsIt)
{
    RecordingLine line;
    Session session(world_, line, 1, 1);
    const World::Guard lock = world_.Lock();
    const Completion<int> completion(world_);
    const Timer timer = world_.After(1ms, [completion] {
        completion.Set(7);
        completion.Set(8);
    });
    EXPECT_EQ(session.Await(completion, kPatience), 7);
    EXPECT_EQ(session.Await(Completion<int>(world_), 1ms), std::nullopt);
    EXPECT_TRUE(session.IsPresent());
}

TEST_F(WorldTest, ASessionThatEndsGivesUpItsWaiting)
{
    RecordingLine line;
    Session session(world_, line, 1, 1);
    const World::Guard lock = world_.Lock();
    const Timer timer = world_.After(1ms, [&] { session.End(); });
    const auto begin = World::Clock::now();
    EXPECT_FALSE(session.WaitFor(kPatience));
    EXPECT_EQ(session.Await(Completion<int>(world_), kPatience), std::nullopt);
    EXPECT_LT(World::Clock::now() - begin, kPatience / 2);
    EXPECT_FALSE(session.Notify(1, {}, Line::Urgency::kKept));
    EXPECT_TRUE(line.sent.empty());
}

TEST(RandomTest, TheSameSeedGivesTheSameNumbers)
{
    Random one(42);
    Random other(42);
    Random different(43);
    bool differs = false;
    for (int i = 0; i < 100; ++i) {
        const auto number = one.Between(-5, 5);
        EXPECT_EQ(number, other.Between(-5, 5));
        EXPECT_GE(number, -5);
        EXPECT_LE(number, 5);
        differs = differs || number != different.Between(-5, 5);
    }
    EXPECT_TRUE(differs);
}

TEST(RandomTest, CertaintyAndImpossibilityAreExact)
{
    Random random(1);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_TRUE(random.Chance(1));
        EXPECT_FALSE(random.Chance(0));
    }
    EXPECT_EQ(random.Between(7, 7), 7);
    EXPECT_NO_THROW(random.Between(INT64_MIN, INT64_MAX));
}

}  // namespace
}  // namespace pelacon::service::tests
