// A loop, and what a test does in its thread.
#pragma once

#include <service/linux/Loop.h>
#include <tests/support/Eventually.h>

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace pelacon::service::linux_radios::tests {

using test::kPatience;

/// Keeps what tasks throw, and fails the test where that is not asked for.
class Complaints {
  public:
    ~Complaints() { EXPECT_EQ(Take(), std::vector<std::string>()); }

    void Add(std::string_view text)
    {
        const std::lock_guard lock(mutex_);
        all_.emplace_back(text);
    }
    std::vector<std::string> Take()
    {
        const std::lock_guard lock(mutex_);
        return std::exchange(all_, {});
    }

  private:
    std::mutex mutex_;
    std::vector<std::string> all_;
};

class LoopTest : public testing::Test {
  protected:
    /// Runs it in the loop's thread, and returns what it returns. Waits with a bound.
    template <typename Body>
    auto Do(Body body)
    {
        using Result = decltype(body());
        const auto task = std::make_shared<std::packaged_task<Result()>>(std::move(body));
        std::future<Result> result = task->get_future();
        EXPECT_TRUE(loop.Post([task] { (*task)(); }));
        if (result.wait_for(kPatience) != std::future_status::ready) {
            ADD_FAILURE() << "the loop is stuck";
            std::abort();
        }
        return result.get();
    }

    /// Waits until the condition, which is checked in the loop's thread, holds.
    template <typename Condition>
    bool Eventually(const Condition& condition)
    {
        return test::Eventually([&] { return Do([&]() -> bool { return condition(); }); });
    }

    Complaints complaints;
    Loop loop{[this](std::string_view text) { complaints.Add(text); }};
};

}  // namespace pelacon::service::linux_radios::tests
