// The world's lock, its time and its chance.
#pragma once

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

/// Something that is to happen later, for as long as the timer lives. Like all that belongs to the
/// world, used (and destroyed) under the world's lock; once cancelled, its task does not run.
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

    /// Whether its task is still to run.
    bool IsPending() const;

  private:
    friend class Scheduler;
    Timer(Scheduler& scheduler, std::uint64_t id) : scheduler_(&scheduler), id_(id) {}

    Scheduler* scheduler_ = nullptr;
    std::uint64_t id_ = 0;
};

/// All that the service knows and simulates is guarded by one lock, and happens in one order:
/// requests, the comings and goings of clients, operators' commands and timers run under it, one at
/// a time. Members are called with the lock held, unless they say otherwise.
class Scheduler {
  public:
    using Clock = std::chrono::steady_clock;
    using Duration = Clock::duration;
    using Guard = std::unique_lock<std::mutex>;

    explicit Scheduler(std::uint64_t seed);

    /// Without the lock; as Stop.
    ~Scheduler();

    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;

    /// Takes the lock. Called without it, of course.
    [[nodiscard]] Guard Lock() { return Guard(mutex_); }

    /// Runs the task once, that much later, on the world's own thread and under its lock.
    [[nodiscard]] Timer After(Duration delay, std::function<void()> task);

    /// Runs the task again and again, the first time after one period. Runs that could not be kept
    /// up with are left out.
    [[nodiscard]] Timer Every(Duration period, std::function<void()> task);

    Random& GetRandom() noexcept { return random_; }

    /// Lets go of the lock and waits until `done` returns true (asked under the lock, at each
    /// Wake), the time is up, or the world stops. Returns what `done` says in the end. Only a
    /// request's handler or a command may wait, never a timer's task.
    bool Wait(Duration limit, const std::function<bool()>& done);

    /// Lets others have the lock for a moment, while something takes long.
    void Pause()
    {
        Wait(std::chrono::microseconds(100), [] { return false; });
    }

    /// Has all who wait look again.
    void Wake() noexcept { waiters_.notify_all(); }

    /// No timer's task runs afterwards, and nobody waits any more. Called without the lock, from
    /// no thread of the world's own.
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
    void RunNext(Guard& lock);

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

/// A result that comes later, and that somebody waits for. Copies share the result.
template <typename Result>
class Completion {
  public:
    explicit Completion(Scheduler& scheduler)
        : scheduler_(&scheduler), result_(std::make_shared<std::optional<Result>>())
    {}

    /// Brings the result; the first one counts.
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
