// Which receives spin.
#include <IPCMessage/linux/Spin.h>

#include <gtest/gtest.h>
#include <sched.h>

#include <thread>

namespace pelacon::test {

namespace {

using ipc::Spin;

/// How many receives go by before the next one spins.
int PauseOf(Spin& spin)
{
    int pause = 0;
    while (!spin.IsDue()) {
        ++pause;
    }
    return pause;
}

TEST(SpinTest, IsDueForEachReceiveWhileItSucceeds)
{
    Spin spin(true);
    for (int number = 0; number < 3; ++number) {
        EXPECT_EQ(PauseOf(spin), 0);
        spin.Note(true);
    }
}

TEST(SpinTest, BecomesRareWhereItIsInVain)
{
    Spin spin(true);
    for (const int pause : {2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 1024}) {
        spin.Note(false);
        EXPECT_EQ(PauseOf(spin), pause);
    }
    spin.Note(true);
    EXPECT_EQ(PauseOf(spin), 0);
    spin.Note(false);
    EXPECT_EQ(PauseOf(spin), 2);
}

TEST(SpinTest, IsNotPossibleOnOneProcessor)
{
    std::thread pinned([] {
        cpu_set_t all;
        ASSERT_EQ(sched_getaffinity(0, sizeof(all), &all), 0);
        EXPECT_EQ(Spin().IsPossible(), CPU_COUNT(&all) > 1);
        int first = 0;
        while (!CPU_ISSET(first, &all)) {
            ++first;
        }
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(first, &one);
        ASSERT_EQ(sched_setaffinity(0, sizeof(one), &one), 0);
        EXPECT_FALSE(Spin().IsPossible());
    });
    pinned.join();
}

TEST(SpinTest, IsForAThreadThatWaitsAlone)
{
    const Spin::Turn turn;
    EXPECT_TRUE(turn.IsOnlyOne());
    {
        const Spin::Turn other;
        EXPECT_FALSE(turn.IsOnlyOne());
        EXPECT_FALSE(other.IsOnlyOne());
    }
    EXPECT_TRUE(turn.IsOnlyOne());
}

}  // namespace

}  // namespace pelacon::test
