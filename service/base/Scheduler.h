// The service's lock, timers and random numbers.
#pragma once

#include <IPCMessage/NotificationBatch.h>
#include <service/base/Random.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <utility>

namespace pelacon::service {

class Scheduler;

/// A task that runs later unless the timer is destroyed or cancelled before. Used and destroyed
/// with the scheduler's lock held.
class Timer {
  public:
    Timer() = default;
    ~Timer() { Cancel(); }
    Timer(Timer&& other) noexcept
        : scheduler_(std::exchange(other.scheduler_, nullptr)), id_(other.id_)
    {}
    Timer& operator=(Timer&& other) noexcept
    {
        if (this != &other) {
            Cancel();
            scheduler_ = std::exchange(other.scheduler_, nullptr);
            id_ = other.id_;
        }
        return *this;
    }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    void Cancel() noexcept;

    /// Whether the task will run.
    bool IsPending() const;

  private:
    friend class Scheduler;
    Timer(Scheduler& scheduler, std::uint64_t id) : scheduler_(&scheduler), id_(id) {}

    Scheduler* scheduler_ = nullptr;
    std::uint64_t id_ = 0;
};

/// One lock guards the whole state of the service and its radios. Requests, the arrival and leave
/// of clients, operators' commands and timers run one at a time with this lock held. Members are
/// called with the lock held unless their description says otherwise.
class Scheduler {
  public:
    using Clock = std::chrono::steady_clock;
    using Duration = Clock::duration;

    /// Holds the lock. What is notified meanwhile is sent together, when the lock has been
    /// released.
    class [[nodiscard]] Guard {
      public:
        explicit Guard(std::mutex& mutex) : lock_(mutex) {}

      private:
        ipc::NotificationBatch batch_;
        std::unique_lock<std::mutex> lock_;  // last, as it is released first
    };

    explicit Scheduler(std::uint64_t seed);

    /// Calls Stop; called without the lock.
    ~Scheduler();

    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;

    /// Takes the lock; called without it.
    [[nodiscard]] Guard Lock() { return Guard(mutex_); }

    /// Runs the task once after the delay, on the scheduler's thread and with the lock held.
    [[nodiscard]] Timer After(Duration delay, std::function<void()> task);

    /// Runs the task repeatedly, the first time after one period. If a run is late, the ones missed
    /// are left out.
    [[nodiscard]] Timer Every(Duration period, std::function<void()> task);

    Random& GetRandom() noexcept { return random_; }

    /// Releases the lock and waits until `done` returns true, the time is up, or the scheduler
    /// stops. `done` is called with the lock held, at each Wake. Returns the last result of `done`.
    /// Handlers of requests and commands may wait, and the start of the service; a timer's task
    /// must not.
    bool Wait(Duration limit, const std::function<bool()>& done);

    /// Releases the lock for a moment, in the middle of something that takes long.
    void Pause()
    {
        Wait(std::chrono::microseconds(100), [] { return false; });
    }

    /// Makes all waits call their `done`.
    void Wake() noexcept { waiters_.notify_all(); }

    /// Ends all waits; no timer's task runs afterwards. Called without the lock, and not on the
    /// scheduler's thread.
    void Stop();

    bool IsStopping() const noexcept { return stopping_; }

  private:
    friend class Timer;

    struct Task {
        Clock::time_point due;
        Duration period;  // zero: once
        std::shared_ptr<std::function<void()>> body;
    };

    Timer Add(Duration delay, Duration period, std::function<void()> body);
    void Remove(std::uint64_t id) noexcept;
    void RunTimers();
    void RunNext(std::unique_lock<std::mutex>& lock);

    std::mutex mutex_;
    std::condition_variable waiters_;
    std::condition_variable timersChanged_;
    std::map<std::uint64_t, Task> tasks_;
    std::set<std::pair<Clock::time_point, std::uint64_t>> queue_;
    std::uint64_t lastTimer_ = 0;
    bool stopping_ = false;
    Random random_;
    std::thread thread_;
};

/// A result that a handler waits for. Copies share the result.
template <typename Result>
class Completion {
  public:
    explicit Completion(Scheduler& scheduler)
        : scheduler_(&scheduler), result_(std::make_shared<std::optional<Result>>())
    {}

    /// Sets the result, unless it has been set.
    void Set(Result result) const
    {
        if (!result_->has_value()) {
            *result_ = std::move(result);
            scheduler_->Wake();
        }
    }

    const std::optional<Result>& Get() const noexcept { return *result_; }

  private:
    Scheduler* scheduler_;
    std::shared_ptr<std::optional<Result>> result_;
};

}  // namespace pelacon::service
