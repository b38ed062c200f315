// How the simulated stacks perform operations.
#pragma once

#include <service/base/Scheduler.h>
#include <service/simulation/StackConfig.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace pelacon::service::simulation {

/// The radios ask it at the beginning of each operation. Operators can change it.
class Stack {
  public:
    explicit Stack(const StackConfig& config) : behaviours_(config) {}

    /// What is to become of an operation that begins now.
    StackBehaviour Next(StackOperation operation)
    {
        StackBehaviour& one = behaviours_[static_cast<std::size_t>(operation)];
        const StackBehaviour next = one;
        if (one.times && --*one.times == 0) {
            one = {};
        }
        return next;
    }

    void Set(StackOperation operation, const StackBehaviour& behaviour)
    {
        behaviours_[static_cast<std::size_t>(operation)] = behaviour;
    }

  private:
    StackConfig behaviours_;
};

/// An activity that takes time to start and may fail or end by itself: advertising, a scan. It is
/// in the list while it exists.
class StackActivity {
  public:
    StackActivity(Scheduler& scheduler, std::vector<StackActivity*>& list)
        : scheduler_(scheduler), list_(list)
    {
        list_.push_back(this);
    }
    ~StackActivity() { std::erase(list_, this); }
    StackActivity(const StackActivity&) = delete;
    StackActivity& operator=(const StackActivity&) = delete;

    /// Calls `started` in the call or later, or `ended` later, as the behaviour says; `ended` also
    /// if it ends by itself after its start. Both may destroy this.
    void Begin(const StackBehaviour& behaviour, std::function<void()> started,
               std::function<void(radio::Outcome)> ended)
    {
        ended_ = std::move(ended);
        endsAfter_ = behaviour.endsAfter;
        started_ = std::move(started);
        if (behaviour.outcome != radio::Outcome::kDone) {
            next_ =
                scheduler_.After(behaviour.delay, [this, why = behaviour.outcome] { End(why); });
        } else if (behaviour.delay.count() == 0) {
            Start();
        } else {
            next_ = scheduler_.After(behaviour.delay, [this] { Start(); });
        }
    }

    /// It ends, or fails to start.
    void End(radio::Outcome why)
    {
        next_.Cancel();
        const auto ended = std::exchange(ended_, nullptr);
        ended(why);
    }

  private:
    void Start()
    {
        if (endsAfter_) {
            next_ = scheduler_.After(*endsAfter_, [this] { End(radio::Outcome::kFailed); });
        }
        const auto started = std::exchange(started_, nullptr);
        started();
    }

    Scheduler& scheduler_;
    std::vector<StackActivity*>& list_;
    std::function<void()> started_;
    std::function<void(radio::Outcome)> ended_;
    std::optional<std::chrono::milliseconds> endsAfter_;
    Timer next_;
};

/// Ends each object in the list. The end of one may be the end of others, which then leave the
/// list. Returns how many there were.
template <typename One, typename Reason>
std::size_t EndAll(const std::vector<One*>& list, Reason why)
{
    const std::vector<One*> before = list;  // NOLINT(performance-unnecessary-copy-initialization)
    for (One* const one : before) {
        if (std::ranges::find(list, one) != list.end()) {
            one->End(why);
        }
    }
    return before.size();
}

}  // namespace pelacon::service::simulation
