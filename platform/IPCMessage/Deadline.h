// The end of a wait, on a monotonic clock.
#pragma once

#include <algorithm>
#include <chrono>

namespace pelacon::ipc {

/// A time-out that begins when the object is made and covers several waits in a row.
class Deadline {
  public:
    using Clock = std::chrono::steady_clock;

    explicit Deadline(std::chrono::milliseconds timeout)
        : end_(Clock::now() + timeout), left_(timeout)
    {}

    Clock::time_point End() const noexcept { return end_; }

    /// Reads the clock. To be called after each wait, for LeftAtRefresh.
    void Refresh() noexcept { left_ = std::max(end_ - Clock::now(), Clock::duration::zero()); }

    /// The time that is left now, never negative.
    Clock::duration Left() noexcept
    {
        Refresh();
        return left_;
    }

    /// The time that was left when the clock was last read: as good as Left if there was no wait
    /// since, and cheaper.
    Clock::duration LeftAtRefresh() const noexcept { return left_; }

  private:
    Clock::time_point end_;
    Clock::duration left_;
};

}  // namespace pelacon::ipc
