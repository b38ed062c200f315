// Values that other threads, or callbacks of the library, hand to a test.
#pragma once

#include <tests/support/Eventually.h>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::test {

/// Keeps all values in the order in which they came. A test takes them one by one, or waits for a
/// number of them. A mailbox that the library's callbacks fill is a static object that is never
/// destroyed, as callbacks may run until the process ends.
template <typename Value>
class Mailbox {
  public:
    void Put(Value value)
    {
        const std::lock_guard lock(mutex_);
        values_.push_back(std::move(value));
        changed_.notify_all();
    }

    /// Takes the next value; fails the test, and returns an empty one, when none comes.
    Value Next(std::chrono::milliseconds patience = kPatience)
    {
        return NextThat([](const Value& /*value*/) { return true; }, patience);
    }

    /// Takes the next value that meets the condition; skips those before it.
    template <typename Condition>
    Value NextThat(const Condition& condition, std::chrono::milliseconds patience = kPatience)
    {
        const auto end = std::chrono::steady_clock::now() + patience;
        std::unique_lock lock(mutex_);
        while (changed_.wait_until(lock, end, [this] { return taken_ < values_.size(); })) {
            const Value& value = values_[taken_++];
            if (condition(value)) {
                return value;
            }
        }
        ADD_FAILURE() << "no such value came";
        return {};
    }

    /// All values, taken or not, as soon as there are `count`; throws when they do not come.
    std::vector<Value> WaitFor(std::size_t count,
                               std::chrono::milliseconds patience = kPatience) const
    {
        std::unique_lock lock(mutex_);
        if (!changed_.wait_for(lock, patience, [&] { return values_.size() >= count; })) {
            throw std::runtime_error(std::to_string(values_.size()) + " values came, not " +
                                     std::to_string(count));
        }
        return values_;
    }

    std::vector<Value> All() const { return WaitFor(0); }

    std::optional<Value> Last() const
    {
        const std::lock_guard lock(mutex_);
        return values_.empty() ? std::nullopt : std::optional<Value>(values_.back());
    }

    /// How many values came.
    std::size_t Count() const
    {
        const std::lock_guard lock(mutex_);
        return values_.size();
    }

    /// How many of them were not taken yet.
    std::size_t Left() const
    {
        const std::lock_guard lock(mutex_);
        return values_.size() - taken_;
    }

    void Clear()
    {
        const std::lock_guard lock(mutex_);
        values_.clear();
        taken_ = 0;
    }

  private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<Value> values_;
    std::size_t taken_ = 0;
};

}  // namespace pelacon::test
