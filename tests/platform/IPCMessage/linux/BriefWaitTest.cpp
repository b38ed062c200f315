// Which receives wait briefly before they sleep.
#include <IPCMessage/linux/BriefWait.h>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace pelacon::test {

namespace {

using namespace std::chrono_literals;
using ipc::BriefWait;

constexpr auto kSoon = 10us;
constexpr auto kTooLate = 2ms;

/// How many receives sleep at once before the next one waits briefly.
int PauseOf(BriefWait& wait, const BriefWait::Turn& turn)
{
    int pause = 0;
    while (!wait.IsDue(turn) && pause < 10'000) {
        ++pause;
    }
    return pause;
}

TEST(BriefWaitTest, IsDueForEachReceiveWhileItSucceeds)
{
    const BriefWait::Turn turn;
    BriefWait wait(true);
    for (int number = 0; number < 3; ++number) {
        EXPECT_EQ(PauseOf(wait, turn), 0);
        wait.End(turn, true, kSoon);
    }
}

TEST(BriefWaitTest, BecomesRareWhereItIsInVain)
{
    const BriefWait::Turn turn;
    BriefWait wait(true);
    EXPECT_EQ(PauseOf(wait, turn), 0);
    for (const int pause : {2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 1024}) {
        wait.End(turn, false, kSoon);
        EXPECT_EQ(PauseOf(wait, turn), pause);
    }
    wait.End(turn, true, kSoon);
    EXPECT_EQ(PauseOf(wait, turn), 0);
    wait.End(turn, false, kSoon);
    EXPECT_EQ(PauseOf(wait, turn), 2);
}

TEST(BriefWaitTest, BecomesRareWhereOthersUseTheProcessor)
{
    const BriefWait::Turn turn;
    BriefWait wait(true);
    wait.End(turn, true, kTooLate);
    EXPECT_EQ(PauseOf(wait, turn), 2);
}

TEST(BriefWaitTest, IsForAThreadAloneOnSeveralProcessors)
{
    BriefWait wait(true);
    const BriefWait::Turn turn;
    {
        const BriefWait::Turn other;
        EXPECT_FALSE(wait.IsDue(turn));
    }
    EXPECT_TRUE(wait.IsDue(turn));
    EXPECT_TRUE(wait.GoesOn(turn, kSoon));
    EXPECT_FALSE(wait.GoesOn(turn, kTooLate));
    {
        const BriefWait::Turn other;
        EXPECT_FALSE(wait.GoesOn(turn, kSoon));
        wait.End(turn, false, kSoon);
    }
    EXPECT_TRUE(wait.IsDue(turn));  // it was not in vain
}

TEST(BriefWaitTest, IsForSeveralThreadsOnOneProcessor)
{
    BriefWait wait(false);
    const BriefWait::Turn turn;
    EXPECT_FALSE(wait.IsDue(turn));
    const BriefWait::Turn other;
    EXPECT_TRUE(wait.IsDue(turn));
    EXPECT_FALSE(wait.GoesOn(turn, kSoon));  // it yields once
}

TEST(BriefWaitTest, DoesNotCountThreadsThatForkLeftBehind)
{
    const BriefWait::Turn turn;
    const pid_t child = fork();
    if (child == 0) {
        const BriefWait::Turn own;
        _exit(own.IsAlone() ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(BriefWaitTest, SeesWhichProcessorsItsThreadMayUse)
{
    std::thread pinned([] {
        cpu_set_t all;
        ASSERT_EQ(sched_getaffinity(0, sizeof(all), &all), 0);
        const BriefWait::Turn turn;
        EXPECT_EQ(BriefWait().IsDue(turn), CPU_COUNT(&all) > 1);
        int first = 0;
        while (!CPU_ISSET(first, &all)) {
            ++first;
        }
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(first, &one);
        ASSERT_EQ(sched_setaffinity(0, sizeof(one), &one), 0);
        EXPECT_FALSE(BriefWait().IsDue(turn));
    });
    pinned.join();
}

}  // namespace

}  // namespace pelacon::test
