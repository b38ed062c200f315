#include <service/base/Log.h>
#include <service/base/Scheduler.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace pelacon::service {

void Timer::Cancel() noexcept
{
    if (scheduler_ != nullptr) {
        std::exchange(scheduler_, nullptr)->Remove(id_);
    }
}

bool Timer::IsPending() const
{
    return scheduler_ != nullptr && scheduler_->tasks_.contains(id_);
}

Scheduler::Scheduler(std::uint64_t seed) : random_(seed), thread_([this] { RunTimers(); }) {}

Scheduler::~Scheduler()
{
    Stop();
}

Timer Scheduler::After(Duration delay, std::function<void()> task)
{
    return Add(delay, Duration::zero(), std::move(task));
}

Timer Scheduler::Every(Duration period, std::function<void()> task)
{
    const Duration shortest = std::chrono::milliseconds(1);
    return Add(std::max(period, shortest), std::max(period, shortest), std::move(task));
}

Timer Scheduler::Add(Duration delay, Duration period, std::function<void()> body)
{
    const std::uint64_t id = ++lastTimer_;
    const Clock::time_point due = Clock::now() + delay;
    const bool isNext = queue_.empty() || due < queue_.begin()->first;
    tasks_.emplace(id, Task{due, period, std::make_shared<std::function<void()>>(std::move(body))});
    queue_.emplace(due, id);
    if (isNext) {
        timersChanged_.notify_one();
    }
    return {*this, id};
}

void Scheduler::Remove(std::uint64_t id) noexcept
{
    const auto found = tasks_.find(id);
    if (found != tasks_.end()) {
        queue_.erase({found->second.due, id});
        tasks_.erase(found);
    }
}

bool Scheduler::Wait(Duration limit, const std::function<bool()>& done)
{
    ipc::NotificationBatch::Flush();
    std::unique_lock lock(mutex_, std::adopt_lock);
    waiters_.wait_until(lock, Clock::now() + limit, [&] { return stopping_ || done(); });
    static_cast<void>(lock.release());  // the caller holds the lock, as before
    return done();
}

void Scheduler::Stop()
{
    {
        const Guard lock = Lock();
        stopping_ = true;
        waiters_.notify_all();
        timersChanged_.notify_all();
    }
    if (thread_.joinable()) {
        thread_.join();
    }
}

void Scheduler::RunTimers()
{
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        if (queue_.empty()) {
            timersChanged_.wait(lock);
        } else if (const Clock::time_point due = queue_.begin()->first; Clock::now() < due) {
            timersChanged_.wait_until(lock, due);
        } else {
            RunNext(lock);
        }
    }
}

void Scheduler::RunNext(std::unique_lock<std::mutex>& lock)
{
    // Kept for a task that runs again, which then takes no memory.
    auto entry = queue_.extract(queue_.begin());
    const std::uint64_t id = entry.value().second;
    const auto found = tasks_.find(id);
    const Duration period = found->second.period;
    // The task may cancel its own timer while it runs.
    const std::shared_ptr<std::function<void()>> body = found->second.body;
    if (period == Duration::zero()) {
        tasks_.erase(found);
    }
    try {
        const ipc::NotificationBatch batch;
        (*body)();
    } catch (const std::exception& failure) {
        log::Error("a timer's task failed: ", failure.what());
    }
    if (const auto again = tasks_.find(id); again != tasks_.end()) {
        again->second.due = std::max(again->second.due + period, Clock::now());
        entry.value().first = again->second.due;
        queue_.insert(std::move(entry));
    }
    // Requests may run between two tasks.
    lock.unlock();
    lock.lock();
}

}  // namespace pelacon::service
