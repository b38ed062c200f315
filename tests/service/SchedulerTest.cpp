#include <service/base/Scheduler.h>
#include <service/core/Session.h>
#include <tests/service/RecordingTransport.h>
#include <tests/service/TestClient.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;

class SchedulerTest : public testing::Test {
  protected:
    /// Runs timers until the condition holds. Called with the lock held.
    bool Until(const std::function<bool()>& condition)
    {
        return scheduler_.Wait(kPatience, condition);
    }

    Scheduler scheduler_{1};
};

TEST_F(SchedulerTest, TasksRunInTheOrderOfTheirTimes)
{
    std::vector<int> order;
    const Scheduler::Guard lock = scheduler_.Lock();
    const auto note = [&](int number) {
        order.push_back(number);
        scheduler_.Wake();
    };
    const Timer third = scheduler_.After(3ms, [&] { note(3); });
    const Timer first = scheduler_.After(1ms, [&] { note(1); });
    const Timer second = scheduler_.After(2ms, [&] { note(2); });
    EXPECT_TRUE(second.IsPending());
    ASSERT_TRUE(Until([&] { return order.size() == 3; }));
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
    EXPECT_FALSE(second.IsPending());
}

TEST_F(SchedulerTest, ACancelledTaskDoesNotRun)
{
    bool ran = false;
    bool later = false;
    const Scheduler::Guard lock = scheduler_.Lock();
    Timer cancelled = scheduler_.After(0ms, [&] { ran = true; });
    {
        const Timer gone = scheduler_.After(0ms, [&] { ran = true; });
    }
    cancelled.Cancel();
    EXPECT_FALSE(cancelled.IsPending());
    const Timer last = scheduler_.After(1ms, [&] {
        later = true;
        scheduler_.Wake();
    });
    ASSERT_TRUE(Until([&] { return later; }));
    EXPECT_FALSE(ran);
}

TEST_F(SchedulerTest, AMovedTimerKeepsItsTask)
{
    bool ran = false;
    const Scheduler::Guard lock = scheduler_.Lock();
    Timer kept;
    {
        Timer first = scheduler_.After(1ms, [&] {
            ran = true;
            scheduler_.Wake();
        });
        kept = std::move(first);
    }
    EXPECT_TRUE(Until([&] { return ran; }));
}

TEST_F(SchedulerTest, APeriodicTaskRunsUntilItCancelsItself)
{
    int runs = 0;
    bool after = false;
    const Scheduler::Guard lock = scheduler_.Lock();
    Timer timer;
    timer = scheduler_.Every(1ms, [&] {
        if (++runs == 3) {
            timer.Cancel();
            scheduler_.Wake();
        }
    });
    ASSERT_TRUE(Until([&] { return runs == 3; }));
    const Timer later = scheduler_.After(5ms, [&] {
        after = true;
        scheduler_.Wake();
    });
    ASSERT_TRUE(Until([&] { return after; }));
    EXPECT_EQ(runs, 3);
}

TEST_F(SchedulerTest, ATaskMayThrow)
{
    bool ran = false;
    const Scheduler::Guard lock = scheduler_.Lock();
    const Timer bad = scheduler_.After(0ms, [] { throw std::runtime_error("as the test wishes"); });
    const Timer good = scheduler_.After(1ms, [&] {
        ran = true;
        scheduler_.Wake();
    });
    EXPECT_TRUE(Until([&] { return ran; }));
}

TEST_F(SchedulerTest, WaitingIsLimited)
{
    const Scheduler::Guard lock = scheduler_.Lock();
    const auto begin = Scheduler::Clock::now();
    EXPECT_FALSE(scheduler_.Wait(20ms, [] { return false; }));
    EXPECT_GE(Scheduler::Clock::now() - begin, 20ms);
}

TEST_F(SchedulerTest, TheLockIsReleasedDuringAWait)
{
    const Scheduler::Guard lock = scheduler_.Lock();
    bool changed = false;
    std::thread other([&] {
        const Scheduler::Guard theirs = scheduler_.Lock();
        changed = true;
        scheduler_.Wake();
    });
    EXPECT_TRUE(Until([&] { return changed; }));
    other.join();
}

TEST_F(SchedulerTest, StoppingEndsAllWaits)
{
    bool waiting = false;
    bool result = true;
    std::thread waiter([&] {
        const Scheduler::Guard lock = scheduler_.Lock();
        waiting = true;
        scheduler_.Wake();
        result = scheduler_.Wait(kPatience, [] { return false; });
    });
    {
        const Scheduler::Guard lock = scheduler_.Lock();
        ASSERT_TRUE(Until([&] { return waiting; }));
    }
    const auto begin = Scheduler::Clock::now();
    scheduler_.Stop();
    waiter.join();
    EXPECT_LT(Scheduler::Clock::now() - begin, kPatience / 2);
    EXPECT_FALSE(result);
}

TEST_F(SchedulerTest, ACompletionEndsItsWait)
{
    RecordingTransport line;
    Session session(scheduler_, line, 1, 1);
    const Scheduler::Guard lock = scheduler_.Lock();
    const Completion<int> completion(scheduler_);
    const Timer timer = scheduler_.After(1ms, [completion] {
        completion.Set(7);
        completion.Set(8);
    });
    EXPECT_EQ(session.Await(completion, kPatience), 7);
    EXPECT_EQ(session.Await(Completion<int>(scheduler_), 1ms), std::nullopt);
    EXPECT_TRUE(session.IsPresent());
}

TEST_F(SchedulerTest, ASessionsEndEndsItsWaits)
{
    RecordingTransport line;
    Session session(scheduler_, line, 1, 1);
    const Scheduler::Guard lock = scheduler_.Lock();
    const Timer timer = scheduler_.After(1ms, [&] { session.End(); });
    const auto begin = Scheduler::Clock::now();
    EXPECT_FALSE(session.WaitFor(kPatience));
    EXPECT_EQ(session.Await(Completion<int>(scheduler_), kPatience), std::nullopt);
    EXPECT_LT(Scheduler::Clock::now() - begin, kPatience / 2);
    EXPECT_FALSE(session.Notify(1, {}, Transport::Urgency::kKept));
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

TEST(RandomTest, ProbabilitiesZeroAndOneAreExact)
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
