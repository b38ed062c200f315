// Limits for how long something takes, on a machine that may be busy with other things.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <sstream>
#include <thread>

namespace pelacon::test {

/// Measures how late the machine wakes threads as long as this object lives: a thread waits in
/// steps of a millisecond, by the same means as the library.
class WakeUps {
  public:
    using Clock = std::chrono::steady_clock;

    WakeUps() : thread_([this] { Run(); }) {}
    ~WakeUps() { Latest(); }
    WakeUps(const WakeUps&) = delete;
    WakeUps& operator=(const WakeUps&) = delete;

    /// The longest delay. Ends the measurement.
    Clock::duration Latest()
    {
        {
            const std::lock_guard lock(mutex_);
            ended_ = true;
            end_.notify_all();
        }
        if (thread_.joinable()) {
            thread_.join();
        }
        return latest_;
    }

  private:
    void Run()
    {
        constexpr std::chrono::milliseconds kStep{1};
        std::unique_lock lock(mutex_);
        while (!ended_) {
            const auto begin = Clock::now();
            end_.wait_for(lock, kStep);
            latest_ = std::max(latest_, Clock::now() - begin - kStep);
        }
    }

    std::mutex mutex_;
    std::condition_variable end_;
    bool ended_ = false;
    Clock::duration latest_{0};
    std::thread thread_;  // last: it uses all above
};

/// Whether one of a few attempts keeps to the limit. Each attempt returns how long it took. The
/// delays of wake-ups do not count: they are the machine's, not the library's.
template <typename Attempt>
testing::AssertionResult KeepsTo(std::chrono::steady_clock::duration limit, const Attempt& attempt,
                                 int tries = 3)
{
    constexpr int kWakeUps = 4;  // in a row, from thread to thread and back
    std::ostringstream report;
    for (int number = 0; number < tries; ++number) {
        WakeUps wakeUps;
        const auto took = attempt();
        const auto late = wakeUps.Latest();
        if (took <= limit + kWakeUps * late) {
            return testing::AssertionSuccess();
        }
        using Milliseconds = std::chrono::duration<double, std::milli>;
        report << Milliseconds(took).count() << " ms (with wake-ups up to "
               << Milliseconds(late).count() << " ms late), ";
    }
    return testing::AssertionFailure()
           << report.str() << "where at most "
           << std::chrono::duration_cast<std::chrono::milliseconds>(limit).count()
           << " ms are expected";
}

}  // namespace pelacon::test
