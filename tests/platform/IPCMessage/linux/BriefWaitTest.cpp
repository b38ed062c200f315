// Which receives wait briefly before they sleep.
#include <IPCMessage/linux/BriefWait.h>

#include <gtest/gtest.h>
#include <sched.h>

#include <optional>
#include <thread>

namespace pelacon::test {

namespace {

using namespace std::chrono_literals;
using ipc::BriefWait;

/// How many receives sleep at once before the next one waits briefly.
int PauseOf(BriefWait& wait, const BriefWait::Turn& turn)
{
    int pause = 0;
    while (!wait.IsDue(turn)) {
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
        wait.End(true);
    }
}

TEST(BriefWaitTest, BecomesRareWhereItIsInVain)
{
    const BriefWait::Turn turn;
    BriefWait wait(true);
    EXPECT_EQ(PauseOf(wait, turn), 0);
    for (const int pause : {2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 1024}) {
        wait.End(false);
        EXPECT_EQ(PauseOf(wait, turn), pause);
    }
    wait.End(true);
    EXPECT_EQ(PauseOf(wait, turn), 0);
    wait.End(false);
    EXPECT_EQ(PauseOf(wait, turn), 2);
}

TEST(BriefWaitTest, BecomesRareWhereOthersUseTheProcessor)
{
    const BriefWait::Turn turn;
    BriefWait wait(true);
    EXPECT_EQ(PauseOf(wait, turn), 0);
    std::this_thread::sleep_for(2ms);
    wait.End(true);
    EXPECT_EQ(PauseOf(wait, turn), 2);
}

TEST(BriefWaitTest, IsForAThreadAloneOnSeveralProcessors)
{
    BriefWait wait(true);
    const BriefWait::Turn turn;
    std::optional<BriefWait::Turn> other(std::in_place);
    EXPECT_FALSE(wait.IsDue(turn));
    other.reset();
    EXPECT_TRUE(wait.IsDue(turn));
    EXPECT_TRUE(wait.GoesOn(turn));
    other.emplace();
    EXPECT_FALSE(wait.GoesOn(turn));
    other.reset();
    std::this_thread::sleep_for(1ms);
    EXPECT_FALSE(wait.GoesOn(turn));
}

TEST(BriefWaitTest, IsForSeveralThreadsOnOneProcessor)
{
    BriefWait wait(false);
    const BriefWait::Turn turn;
    EXPECT_FALSE(wait.IsDue(turn));
    const BriefWait::Turn other;
    EXPECT_TRUE(wait.IsDue(turn));
    EXPECT_FALSE(wait.GoesOn(turn));  // it yields once
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
