// Events on their way from the library's callbacks to the command that waits for them.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace pelacon::ctl {

using Deadline = std::chrono::steady_clock::time_point;

/// The time this many seconds from now, or no deadline. Waits are cut to some 30 years, so that any
/// number fits the clock.
inline std::optional<Deadline> After(std::optional<double> seconds)
{
    constexpr double kLongest = 1e9;
    if (!seconds) {
        return std::nullopt;
    }
    const std::chrono::duration<double> wait(std::min(kLongest, *seconds));
    return std::chrono::steady_clock::now() +
           std::chrono::duration_cast<std::chrono::milliseconds>(wait);
}

template <typename Event>
class EventQueue {
  public:
    void Post(Event event)
    {
        const std::lock_guard lock(mutex_);
        events_.push_back(std::move(event));
        changed_.notify_one();
    }

    /// From now on Next returns nothing.
    void Close()
    {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        changed_.notify_all();
    }

    /// Waits for the next event. Returns nothing when the deadline has passed or the queue is
    /// closed.
    std::optional<Event> Next(std::optional<Deadline> deadline)
    {
        const auto ready = [this] { return closed_ || !events_.empty(); };
        std::unique_lock lock(mutex_);
        if (!deadline) {
            changed_.wait(lock, ready);
        } else if (!changed_.wait_until(lock, *deadline, ready)) {
            return std::nullopt;
        }
        if (closed_) {
            return std::nullopt;
        }
        Event event = std::move(events_.front());
        events_.pop_front();
        return event;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Event> events_;
    bool closed_ = false;
};

/// The program's queue of events of this type: the library's callbacks have no context argument.
/// Never destroyed, as a callback may still run when main has returned.
template <typename Event>
EventQueue<Event>& Events()
{
    static auto& events = *new EventQueue<Event>;
    return events;
}

}  // namespace pelacon::ctl
