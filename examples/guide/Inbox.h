// What callbacks hand to the main thread. A callback puts its event here and returns at once; the
// main thread takes the events one by one, and may take its time.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

template <typename Event>
class Inbox {
  public:
    void Put(Event event)
    {
        const std::lock_guard lock(mutex_);
        events_.push_back(std::move(event));
        arrived_.notify_one();
    }

    /// The next event, or none if it does not arrive in time.
    std::optional<Event> Next(std::chrono::milliseconds patience = std::chrono::seconds(10))
    {
        std::unique_lock lock(mutex_);
        if (!arrived_.wait_for(lock, patience, [&] { return !events_.empty(); })) {
            return std::nullopt;
        }
        Event event = std::move(events_.front());
        events_.pop_front();
        return event;
    }

  private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<Event> events_;
};
