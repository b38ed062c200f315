// Calls from the loop's thread to objects that the scheduler's lock guards.
#pragma once

#include <service/base/Scheduler.h>

#include <functional>
#include <memory>
#include <utility>

namespace pelacon::service::linux_radios {

/// All calls from the loop to the radios of one state of the service pass here, until it is closed.
class Gate {
  public:
    explicit Gate(Scheduler& scheduler) : scheduler_(scheduler) {}

    /// In the loop's thread: calls this with the scheduler's lock held, unless the gate is closed
    /// or the scheduler stops.
    template <typename Call>
    void Pass(const Call& call)
    {
        const Scheduler::Guard lock = scheduler_.Lock();
        if (!isClosed_ && !scheduler_.IsStopping()) {
            call();
        }
    }

    /// No call passes any more. With the scheduler's lock held.
    void Close() noexcept { isClosed_ = true; }

  private:
    Scheduler& scheduler_;
    bool isClosed_ = false;
};

/// A member of an object that lives under the scheduler's lock: makes functions that may be called
/// in the loop's thread at any time, and do nothing once the object is gone. Created and destroyed
/// with the lock held.
template <typename Object>
class Upcalls {
  public:
    Upcalls(std::shared_ptr<Gate> gate, Object& object)
        : gate_(std::move(gate)), object_(std::make_shared<Object*>(&object))
    {}
    ~Upcalls() { *object_ = nullptr; }
    Upcalls(const Upcalls&) = delete;
    Upcalls& operator=(const Upcalls&) = delete;

    /// A function that calls `use`, a member of the object or a function that takes it, through the
    /// gate.
    template <typename Use>
    auto To(Use use) const
    {
        return [gate = gate_, object = object_, use = std::move(use)](auto&&... arguments) {
            gate->Pass([&] {
                if (*object != nullptr) {
                    std::invoke(use, **object, std::forward<decltype(arguments)>(arguments)...);
                }
            });
        };
    }

  private:
    std::shared_ptr<Gate> gate_;
    std::shared_ptr<Object*> object_;  // null once the object is gone; guarded by the lock
};

}  // namespace pelacon::service::linux_radios
