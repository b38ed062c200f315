// What callbacks told, for the test to wait for.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace pelacon::test {

/// Filled by callbacks on the library's threads, read by the test. Callbacks reach it as a static
/// object, which is not destroyed: some may still run when the process ends.
template <typename Event>
class Inbox {
  public:
    void Put(Event event)
    {
        const std::lock_guard lock(mutex_);
        events_.push_back(std::move(event));
        arrived_.notify_all();
    }

    /// The next event; fails the test, and returns an empty one, when none comes.
    Event Next(std::chrono::milliseconds patience = std::chrono::seconds(10))
    {
        std::unique_lock lock(mutex_);
        if (!arrived_.wait_for(lock, patience, [this] { return !events_.empty(); })) {
            ADD_FAILURE() << "nothing was told";
            return {};
        }
        Event event = std::move(events_.front());
        events_.pop_front();
        return event;
    }

    /// The next event that meets the condition; those before it are dropped.
    template <typename Condition>
    Event NextThat(const Condition& condition)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (std::chrono::steady_clock::now() < end) {
            Event event = Next();
            if (condition(event)) {
                return event;
            }
            if (::testing::Test::HasFailure()) {
                break;
            }
        }
        ADD_FAILURE() << "nothing of the kind was told";
        return {};
    }

    std::size_t Size() const
    {
        const std::lock_guard lock(mutex_);
        return events_.size();
    }

    void Clear()
    {
        const std::lock_guard lock(mutex_);
        events_.clear();
    }

  private:
    mutable std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<Event> events_;
};

}  // namespace pelacon::test
