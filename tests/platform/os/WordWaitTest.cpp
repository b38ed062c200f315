#include <os/WordWait.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <future>
#include <thread>
#include <vector>

namespace pelacon::os {

namespace {

using Word = std::atomic<std::uint64_t>;

TEST(WordWaitTest, AWordThatDiffersIsNotWaitedFor)
{
    const Word word{2};
    WaitWhile(word, 1);
    SUCCEED() << "a wait would end with the test's time limit";
}

TEST(WordWaitTest, DistinguishesTheUpperHalf)
{
    const Word word{std::uint64_t{1} << 32U};
    WaitWhile(word, 0);
    SUCCEED() << "a wait would end with the test's time limit";
}

TEST(WordWaitTest, NoWakeUpIsLost)
{
    // Two threads hand the word to and fro: one lost wake-up would leave both waiting.
    constexpr std::uint64_t kRounds = 1'000;
    Word word{0};
    std::thread other([&] {
        for (std::uint64_t round = 0; round < kRounds; ++round) {
            WaitWhile(word, 2 * round);
            word = 2 * round + 2;
            WakeOne(word);
        }
    });
    for (std::uint64_t round = 0; round < kRounds; ++round) {
        word = 2 * round + 1;
        WakeOne(word);
        WaitWhile(word, 2 * round + 1);
    }
    other.join();
    EXPECT_EQ(word, 2 * kRounds);
}

TEST(WordWaitTest, AllThreadsAreWoken)
{
    for (int round = 0; round < 200; ++round) {
        Word word{0};
        std::vector<std::future<void>> waiting;
        for (int thread = 0; thread < 4; ++thread) {
            waiting.push_back(std::async(std::launch::async, [&] { WaitWhile(word, 0); }));
        }
        word = 1;
        WakeAll(word);
        for (std::future<void>& wait : waiting) {
            wait.get();
        }
        EXPECT_EQ(word, 1U);
    }
}

}  // namespace

}  // namespace pelacon::os
