#include <os/Lock.h>
#include <os/Singleton.h>
#include <os/UseCount.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using pelacon::os::Lock;
using pelacon::os::UseCount;

constexpr auto kLockLimit = 10s;

bool IsFreeForOthers(Lock& lock)
{
    return std::async(std::launch::async,
                      [&] {
                          const std::unique_lock other(lock, std::try_to_lock);
                          return other.owns_lock();
                      })
        .get();
}

TEST(LockTest, IsHeldByOneThread)
{
    Lock lock;
    EXPECT_TRUE(IsFreeForOthers(lock));
    {
        const std::lock_guard held(lock);
        EXPECT_FALSE(IsFreeForOthers(lock));
    }
    EXPECT_TRUE(IsFreeForOthers(lock));
}

TEST(LockTest, ItsOwnerMayTakeItAgain)
{
    Lock lock;
    lock.lock();
    lock.lock();
    EXPECT_TRUE(lock.try_lock());
    lock.unlock();
    lock.unlock();
    EXPECT_FALSE(IsFreeForOthers(lock));
    lock.unlock();
    EXPECT_TRUE(IsFreeForOthers(lock));
}

TEST(LockTest, WaitingThreadsTakeItInTurn)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 20'000;
    Lock lock;
    int count = 0;  // not atomic: the lock must do
    std::promise<void> go;
    const std::shared_future<void> started(go.get_future());
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            started.wait();
            for (int round = 0; round < kRounds; ++round) {
                const std::lock_guard held(lock);
                ++count;
            }
        });
    }
    go.set_value();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(count, kThreads * kRounds);
}

TEST(LockTest, AWaitEndsWhenTheLockIsReleased)
{
    Lock lock;
    lock.lock();
    std::atomic<bool> waiting{false};
    std::future<void> waiter = std::async(std::launch::async, [&] {
        waiting = true;
        const std::lock_guard held(lock);
    });
    while (!waiting) {
        std::this_thread::yield();
    }
    EXPECT_EQ(waiter.wait_for(20ms), std::future_status::timeout);
    lock.unlock();
    EXPECT_EQ(waiter.wait_for(kLockLimit), std::future_status::ready);
}

TEST(UseCountTest, WaitsForEveryUse)
{
    UseCount count;
    count.WaitUntilUnused();
    std::optional<UseCount::Use> one(std::in_place, &count);
    std::optional<UseCount::Use> other(std::in_place, &count);
    std::future<void> waiter = std::async(std::launch::async, [&] { count.WaitUntilUnused(); });
    one.reset();
    EXPECT_EQ(waiter.wait_for(20ms), std::future_status::timeout);
    other.reset();
    EXPECT_EQ(waiter.wait_for(kLockLimit), std::future_status::ready);
}

TEST(SingletonTest, IsMadeOnceAndAgainAfterAFailure)
{
    static constinit pelacon::os::Singleton<int> singleton;
    EXPECT_THROW(singleton.Get([]() -> int* { throw std::runtime_error("no"); }),
                 std::runtime_error);
    std::atomic<int> made{0};
    const auto make = [&] { return new int(++made); };  // never destroyed
    std::vector<std::future<int*>> users;
    for (int user = 0; user < 4; ++user) {
        users.push_back(std::async(std::launch::async, [&] { return &singleton.Get(make); }));
    }
    for (std::future<int*>& user : users) {
        EXPECT_EQ(user.get(), &singleton.Get(make));
    }
    EXPECT_EQ(made, 1);
}

}  // namespace
