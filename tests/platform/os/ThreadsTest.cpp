#include <os/Threads.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <utility>

namespace {

using namespace std::chrono_literals;
using pelacon::os::StartDetachedThread;

constexpr auto kLimit = 10s;

TEST(StartDetachedThreadTest, RunsTheBodyOnAThreadOfItsOwn)
{
    auto ran = std::make_shared<std::promise<std::thread::id>>();
    std::future<std::thread::id> where = ran->get_future();
    StartDetachedThread([ran] { ran->set_value(std::this_thread::get_id()); });
    ASSERT_EQ(where.wait_for(kLimit), std::future_status::ready);
    EXPECT_NE(where.get(), std::this_thread::get_id());
}

/// Reports its destruction.
class NotesItsEnd {
  public:
    explicit NotesItsEnd(std::promise<void>& promise) : promise_(promise) {}
    ~NotesItsEnd() { promise_.set_value(); }
    NotesItsEnd(const NotesItsEnd&) = delete;
    NotesItsEnd& operator=(const NotesItsEnd&) = delete;

  private:
    std::promise<void>& promise_;
};

TEST(StartDetachedThreadTest, DestroysTheBodyAtItsEnd)
{
    std::promise<void> released;
    auto held = std::make_shared<NotesItsEnd>(released);
    StartDetachedThread([held = std::move(held)] {});
    EXPECT_EQ(released.get_future().wait_for(kLimit), std::future_status::ready);
}

TEST(StartDetachedThreadTest, StartsManyThreads)
{
    constexpr int kThreads = 200;
    auto left = std::make_shared<std::atomic<int>>(kThreads);
    auto all = std::make_shared<std::promise<void>>();
    std::future<void> done = all->get_future();
    for (int thread = 0; thread < kThreads; ++thread) {
        StartDetachedThread([left, all] {
            if (--*left == 0) {
                all->set_value();
            }
        });
    }
    EXPECT_EQ(done.wait_for(kLimit), std::future_status::ready);
}

}  // namespace
