// Events on their way from the library's threads to the command that waits for them.
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

/// The moment so many seconds from now, as the options of commands count them; nothing, which is no
/// limit, for nothing. More than a life is no more than a life, and so is what is no number.
inline std::optional<Deadline> After(std::optional<double> seconds)
{
    constexpr double kLife = 1e9;
    if (!seconds) {
        return std::nullopt;
    }
    const std::chrono::duration<double> wait(std::min(kLife, *seconds));
    return std::chrono::steady_clock::now() +
           std::chrono::duration_cast<std::chrono::milliseconds>(wait);
}

/// Posted to by callbacks, read by the command. A callback of the library has no context argument:
/// it reaches its mailbox through a static one, which must outlive the callback's registration.
template <typename Event>
class Mailbox {
  public:
    void Post(Event event)
    {
        const std::lock_guard lock(mutex_);
        events_.push_back(std::move(event));
        changed_.notify_one();
    }

    /// Has Next return nothing from now on: the command is to end.
    void Close()
    {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        changed_.notify_all();
    }

    /// The next event, waited for; nothing once the deadline has passed or the mailbox was closed.
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

}  // namespace pelacon::ctl
