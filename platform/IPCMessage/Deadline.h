// The end of a wait, on a clock that nobody sets.
#pragma once

#include <algorithm>
#include <chrono>

namespace pelacon::ipc {

/// A time-out that counts from the moment it was made and covers several waits in a row.
class Deadline {
  public:
    using Clock = std::chrono::steady_clock;

    explicit Deadline(std::chrono::milliseconds timeout)
        : end_(Clock::now() + timeout), left_(timeout)
    {}

    Clock::time_point End() const noexcept { return end_; }

    /// What is left of it now, never negative. Whoever waited asks again, for those after him.
    Clock::duration Left() noexcept
    {
        left_ = std::max(end_ - Clock::now(), Clock::duration::zero());
        return left_;
    }

    /// What was left when last asked: as good as now while nobody has waited, and no clock is read.
    Clock::duration LeftWhenLastAsked() const noexcept { return left_; }

  private:
    Clock::time_point end_;
    Clock::duration left_;
};

}  // namespace pelacon::ipc
