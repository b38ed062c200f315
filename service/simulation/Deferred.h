// Tasks that are done now or later.
#pragma once

#include <service/base/Scheduler.h>

#include <cstdint>
#include <functional>
#include <map>
#include <utility>

namespace pelacon::service::simulation {

/// Runs tasks after a delay. Those that are left when it is destroyed are dropped.
class Deferred {
  public:
    explicit Deferred(Scheduler& scheduler) : scheduler_(scheduler) {}

    /// Runs the task in the call if there is no delay.
    void Run(Scheduler::Duration delay, std::function<void()> task)
    {
        if (delay == Scheduler::Duration::zero()) {
            task();
            return;
        }
        const std::uint64_t id = ++last_;
        timers_[id] = scheduler_.After(delay, [this, id, task = std::move(task)] {
            timers_.erase(id);
            task();  // may destroy this
        });
    }

  private:
    Scheduler& scheduler_;
    std::uint64_t last_ = 0;
    std::map<std::uint64_t, Timer> timers_;
};

}  // namespace pelacon::service::simulation
