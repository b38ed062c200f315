// The arrival of messages that carry numbers.
#pragma once

#include <bench/Bare.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <stdexcept>

namespace pelacon::bench {

/// Receives numbered messages and measures their rate.
class Arrivals {
  public:
    void Expect(std::uint32_t count)
    {
        next_ = 0;
        count_ = count;
        inOrder_ = true;
        done_ = false;
    }

    bool AreAllThere() const
    {
        const std::lock_guard lock(mutex_);
        return done_;
    }

    void Take(std::uint32_t number)
    {
        if (next_ == 0) {
            start_ = Now();
        }
        inOrder_ = inOrder_ && number == next_;
        if (++next_ == count_) {
            end_ = Now();
            const std::lock_guard lock(mutex_);
            done_ = true;
            changed_.notify_all();
        }
    }

    /// Messages per second, when all have arrived.
    double Rate()
    {
        std::unique_lock lock(mutex_);
        if (!changed_.wait_for(lock, std::chrono::seconds(60), [this] { return done_; }) ||
            !inOrder_) {
            throw std::runtime_error("Notifications were lost, or came out of order.");
        }
        return static_cast<double>(count_ - 1) / static_cast<double>(end_ - start_) * 1e9;
    }

  private:
    std::uint32_t next_ = 0;
    std::uint32_t count_ = 0;
    bool inOrder_ = true;
    std::int64_t start_ = 0;
    std::int64_t end_ = 0;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool done_ = false;
};

}  // namespace pelacon::bench
