// The lock of everything that threads share.
#pragma once

#include <os/Fork.h>
#include <os/WordWait.h>

#include <atomic>
#include <cstdint>
#include <mutex>  // for std::lock_guard and std::unique_lock

namespace pelacon::os {

/// A recursive lock that stays usable in a forked child: what the forking thread held there is
/// still its own, and what any other thread held is free. Needs no constructor at run time and no
/// destructor, and never fails.
///
/// Which lock is taken when, in all of the library:
///
/// 1. The lock of a registry of callbacks comes first. It is held while callbacks run, and these
///    may call operations of the library.
/// 2. The lock of an exported class comes second. Its operations hold it while they wait for the
///    service, and release it before they change a registry, as a callback that holds the registry
///    may be waiting for them.
/// 3. All others come last, and are held for a moment: neither the service, nor a callback, nor a
///    lock of the first two kinds is waited for.
///
/// A child may find a lock free in the middle of what another thread of its parent was doing.
/// Therefore what locks guard is changed under a ForkHold wherever a change takes more than a word.
///
/// Log lines may be written with any lock held. That is why a log sink must not call operations.
class Lock {
  public:
    constexpr Lock() noexcept = default;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    void lock() noexcept
    {
        const std::uint64_t self = ThisThread();
        std::uint64_t seen = 0;
        if (word_.compare_exchange_strong(seen, Owned(self), std::memory_order_acquire)) {
            depth_ = 1;
        } else if (Owner(seen) == self) {
            ++depth_;
        } else {
            LockWhenFree(self);
        }
    }

    bool try_lock() noexcept
    {
        const std::uint64_t self = ThisThread();
        std::uint64_t seen = 0;
        while (Owner(seen) != self) {
            if (seen != 0 && !StayedBehind(Owner(seen))) {
                return false;
            }
            if (word_.compare_exchange_strong(seen, Owned(self), std::memory_order_acquire)) {
                depth_ = 1;
                return true;
            }
        }
        ++depth_;
        return true;
    }

    void unlock() noexcept
    {
        if (--depth_ == 0 && (word_.exchange(0, std::memory_order_release) & kAwaited) != 0) {
            WakeOne(word_);
        }
    }

  private:
    // The word is 0 when the lock is free; otherwise the owner's number, and one bit that says
    // whether somebody may be waiting.
    static constexpr std::uint64_t kAwaited = 1;
    static constexpr std::uint64_t Owned(std::uint64_t thread) { return thread << 1U; }
    static constexpr std::uint64_t Owner(std::uint64_t word) { return word >> 1U; }

    void LockWhenFree(std::uint64_t self) noexcept
    {
        std::uint64_t seen = word_.load(std::memory_order_relaxed);
        for (;;) {
            if (seen == 0 || StayedBehind(Owner(seen))) {
                // Others may wait as well: the bit stays set on their behalf.
                if (word_.compare_exchange_strong(seen, Owned(self) | kAwaited,
                                                  std::memory_order_acquire)) {
                    depth_ = 1;
                    return;
                }
            } else if ((seen & kAwaited) != 0 ||
                       word_.compare_exchange_strong(seen, seen | kAwaited)) {
                WaitWhile(word_, seen | kAwaited);
                seen = word_.load(std::memory_order_relaxed);
            }
        }
    }

    std::atomic<std::uint64_t> word_{0};
    std::uint32_t depth_ = 0;  // the owner's
};

}  // namespace pelacon::os
