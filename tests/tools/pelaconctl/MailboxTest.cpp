// Waiting for callbacks.
#include <tools/pelaconctl/Mailbox.h>

#include <gtest/gtest.h>

#include <limits>
#include <thread>

namespace pelacon::ctl {

namespace {

using namespace std::chrono_literals;

TEST(Mailbox, EventsComeInTheOrderInWhichTheyWerePosted)
{
    Mailbox<int> mailbox;
    mailbox.Post(1);
    mailbox.Post(2);
    EXPECT_EQ(mailbox.Next(std::nullopt), 1);
    EXPECT_EQ(mailbox.Next(After(10)), 2);
}

TEST(Mailbox, AWaitMayBeAsLongAsAnybodyLikes)
{
    using Clock = std::chrono::steady_clock;
    for (const double seconds : {1e300, std::numeric_limits<double>::infinity()}) {
        EXPECT_GT(After(seconds), Clock::now() + 24h) << seconds;
    }
    EXPECT_EQ(After(std::nullopt), std::nullopt);
}

TEST(Mailbox, AWaitEndsWithAnEventOfAnotherThread)
{
    Mailbox<int> mailbox;
    std::thread poster([&] { mailbox.Post(7); });
    EXPECT_EQ(mailbox.Next(After(10)), 7);
    poster.join();
}

TEST(Mailbox, AWaitEndsAtItsDeadline)
{
    Mailbox<int> mailbox;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(mailbox.Next(After(0.02)), std::nullopt);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
    mailbox.Post(1);
    EXPECT_EQ(mailbox.Next(After(0)), 1) << "what is there needs no waiting";
}

TEST(Mailbox, AWaitWithoutADeadlineEndsWhenItIsClosed)
{
    Mailbox<int> mailbox;
    std::thread closer([&] { mailbox.Close(); });
    EXPECT_EQ(mailbox.Next(std::nullopt), std::nullopt);
    closer.join();
    mailbox.Post(1);
    EXPECT_EQ(mailbox.Next(std::nullopt), std::nullopt) << "closed for good";
}

TEST(Mailbox, NoSecondsAreNoLimit)
{
    EXPECT_EQ(After(std::nullopt), std::nullopt);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_GE(After(1.5), before + 1500ms);
}

}  // namespace

}  // namespace pelacon::ctl
