// Locks, counts and sinks in a forked child whose parent's threads were using them.
#include <os/Lock.h>
#include <os/SinkSlot.h>
#include <os/UseCount.h>
#include <tests/support/linux/InChild.h>

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

namespace {

using namespace std::chrono_literals;
using pelacon::os::ForkHold;
using pelacon::os::Lock;
using pelacon::os::SinkSlot;
using pelacon::os::UseCount;
using pelacon::test::ExitCode;
using pelacon::test::InChild;

constexpr auto kForkLimit = 10s;

/// A thread that runs an action until this object is destroyed.
class Inside {
  public:
    template <typename Enter>
    explicit Inside(Enter enter)
        : thread_([this, enter] {
              enter([this] {
                  entered_.set_value();
                  EXPECT_EQ(leave_.get_future().wait_for(kForkLimit), std::future_status::ready);
              });
          })
    {
        EXPECT_EQ(entered_.get_future().wait_for(kForkLimit), std::future_status::ready);
    }
    ~Inside()
    {
        leave_.set_value();
        thread_.join();
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

  private:
    std::promise<void> entered_;
    std::promise<void> leave_;
    std::thread thread_;
};

TEST(ForkTest, LocksOfOtherThreadsAreFree)
{
    Lock lock;
    Lock tried;
    const Inside inside([&](auto stay) {
        const std::scoped_lock held(lock, tried);
        const std::lock_guard again(lock);
        stay();
    });
    EXPECT_EQ(InChild([&] {
                  const int failed = tried.try_lock() ? 0 : 1;
                  lock.lock();
                  lock.unlock();
                  return failed + (lock.try_lock() ? 0 : 2);
              }),
              0);
    EXPECT_FALSE(lock.try_lock()) << "in the parent it is held as before";
}

TEST(ForkTest, LocksOfTheForkingThreadAreItsOwn)
{
    Lock lock;
    lock.lock();
    lock.lock();
    EXPECT_EQ(InChild([&] {
                  lock.unlock();
                  // The grandchild has it, too, and its parent no less.
                  const int failed = InChild([&] {
                      lock.lock();
                      lock.unlock();
                      lock.unlock();
                      return 0;
                  });
                  lock.unlock();
                  lock.lock();
                  return failed;
              }),
              0);
    lock.unlock();
    lock.unlock();
}

#if !defined(__SANITIZE_THREAD__)  // it ends a forked child that starts a thread
TEST(ForkTest, ThreadsOfTheChildWaitForLocksOfTheForkingThread)
{
    Lock lock;
    lock.lock();
    EXPECT_EQ(InChild([&] {
                  std::future<void> other =
                      std::async(std::launch::async, [&] { const std::lock_guard held(lock); });
                  const bool waited = other.wait_for(20ms) == std::future_status::timeout;
                  lock.unlock();
                  other.get();
                  return waited ? 0 : 1;
              }),
              0);
    lock.unlock();
}
#endif

TEST(ForkTest, UsesOfOtherThreadsAreNotWaitedFor)
{
    UseCount count;
    const Inside inside([&](auto stay) {
        const UseCount::Use use(&count);
        stay();
    });
    const UseCount::Use own(&count);
    EXPECT_EQ(InChild([&] {
                  count.WaitUntilUnused();
                  {
                      const UseCount::Use another(&count);
                  }
                  count.WaitUntilUnused();
                  return 0;
              }),
              0);
}

TEST(ForkTest, AUseOfTheForkingThreadMayEndInTheChild)
{
    UseCount count;
    pid_t child = -1;
    {
        const UseCount::Use use(&count);
        child = fork();
    }
    if (child == 0) {
        alarm(20);
        {
            const UseCount::Use another(&count);
        }
        count.WaitUntilUnused();
        _exit(0);
    }
    EXPECT_EQ(ExitCode(child), 0);
    count.WaitUntilUnused();
}

TEST(ForkTest, ASinkThatOtherThreadsRunIsReplaced)
{
    SinkSlot<int> slot;
    slot.Set([](int) {});
    const Inside inside([&](auto stay) {
        slot.Set([&](int) { stay(); });
        slot.Deliver(1);
    });
    EXPECT_EQ(InChild([&] {
                  int taken = 0;
                  slot.Set([&](int value) { taken = value; });
                  slot.Deliver(7);
                  slot.Set(nullptr);
                  slot.Deliver(8);
                  return taken - 7;
              }),
              0);
}

TEST(ForkTest, AChildForkedInASinkDeliversAndReplaces)
{
    SinkSlot<int> slot;
    pid_t child = -1;
    int calls = 0;
    slot.Set([&](int) {
        ++calls;
        if (child == -1) {
            child = fork();
        }
    });
    slot.Deliver(1);
    if (child == 0) {
        alarm(20);
        slot.Deliver(2);
        slot.Set(nullptr);
        slot.Deliver(3);
        _exit(calls - 2);
    }
    EXPECT_EQ(ExitCode(child), 0);
}

TEST(ForkTest, NoForkSplitsAHold)
{
    int first = 0;
    int second = 0;
    std::atomic<bool> done{false};
    std::thread changing([&] {
        while (!done) {
            const ForkHold hold;
            const ForkHold nested;
            ++first;
            ++second;
        }
    });
    for (int round = 0; round < 100; ++round) {
        EXPECT_EQ(InChild([&] { return first == second ? 0 : 1; }), 0);
    }
    done = true;
    changing.join();
}

}  // namespace
