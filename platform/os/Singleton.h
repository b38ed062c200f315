// Objects that a process has one of.
#pragma once

#include <os/Lock.h>

#include <atomic>

namespace pelacon::os {

/// An object that is made when it is first needed and never destroyed: threads may use it until the
/// very end of the process. A forked child finds it either made or not. Kept as
/// `static constinit Singleton<...>`, which no thread ever waits for.
template <typename Type>
class Singleton {
  public:
    /// `make` returns a new object; what it throws is passed on, and the next call makes another
    /// attempt. The rules of ForkHold apply to it.
    template <typename Make>
    Type& Get(const Make& make)
    {
        if (Type* const made = object_.load(std::memory_order_acquire)) {
            return *made;
        }
        const std::lock_guard lock(lock_);
        const ForkHold hold;
        Type* object = object_.load(std::memory_order_relaxed);
        if (object == nullptr) {
            object = make();
            object_.store(object, std::memory_order_release);
        }
        return *object;
    }

  private:
    std::atomic<Type*> object_{nullptr};
    Lock lock_;  // of making it
};

}  // namespace pelacon::os
