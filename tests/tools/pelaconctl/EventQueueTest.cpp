// Waiting for events of callbacks.
#include <tools/pelaconctl/EventQueue.h>

#include <gtest/gtest.h>

#include <limits>
#include <thread>

namespace pelacon::ctl {

namespace {

using namespace std::chrono_literals;

TEST(EventQueue, ReturnsEventsInTheOrderInWhichTheyWerePosted)
{
    EventQueue<int> queue;
    queue.Post(1);
    queue.Post(2);
    EXPECT_EQ(queue.Next(std::nullopt), 1);
    EXPECT_EQ(queue.Next(After(10)), 2);
}

TEST(EventQueue, AnyNumberOfSecondsIsADeadline)
{
    using Clock = std::chrono::steady_clock;
    for (const double seconds : {1e300, std::numeric_limits<double>::infinity()}) {
        EXPECT_GT(After(seconds), Clock::now() + 24h) << seconds;
    }
    EXPECT_EQ(After(std::nullopt), std::nullopt);
}

TEST(EventQueue, AnEventOfAnotherThreadEndsTheWait)
{
    EventQueue<int> queue;
    std::thread poster([&] { queue.Post(7); });
    EXPECT_EQ(queue.Next(After(10)), 7);
    poster.join();
}

TEST(EventQueue, TheDeadlineEndsTheWait)
{
    EventQueue<int> queue;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(queue.Next(After(0.02)), std::nullopt);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
    queue.Post(1);
    EXPECT_EQ(queue.Next(After(0)), 1) << "an event in the queue is returned at once";
}

TEST(EventQueue, ClosingEndsAWaitWithoutADeadline)
{
    EventQueue<int> queue;
    std::thread closer([&] { queue.Close(); });
    EXPECT_EQ(queue.Next(std::nullopt), std::nullopt);
    closer.join();
    queue.Post(1);
    EXPECT_EQ(queue.Next(std::nullopt), std::nullopt) << "a closed queue stays closed";
}

TEST(EventQueue, WithoutSecondsThereIsNoDeadline)
{
    EXPECT_EQ(After(std::nullopt), std::nullopt);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_GE(After(1.5), before + 1500ms);
}

}  // namespace

}  // namespace pelacon::ctl
