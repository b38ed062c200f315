// What a thread does for a moment before a receive in which it sleeps.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>

namespace pelacon::ipc {

/// Decides which receives of a connection wait briefly before they sleep.
///
/// Several processors: while a thread sleeps, its processor may become idle, and to wake both takes
/// longer than most requests. So a thread that waits alone tries again and again (spins). Threads
/// that wait together leave the processors to those that answer them.
///
/// One processor: a thread that waits together with others yields once. The service then answers
/// some of them, which need not be woken.
///
/// Where that is in vain, it becomes rare.
class BriefWait {
  public:
    using Clock = std::chrono::steady_clock;

    /// A receive of any connection of this process.
    class Turn {
      public:
        Turn() noexcept { turns_.fetch_add(1, std::memory_order_relaxed); }
        ~Turn() { turns_.fetch_sub(1, std::memory_order_relaxed); }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

        /// Whether no other thread receives.
        bool IsAlone() const noexcept { return turns_.load(std::memory_order_relaxed) == 1; }

      private:
        static std::atomic<int> turns_;
    };

    /// Depends on the processors that the calling thread may use.
    BriefWait() noexcept;
    explicit BriefWait(bool severalProcessors) noexcept : spins_(severalProcessors) {}

    /// Whether to wait briefly in this turn, beginning with Yield and an attempt to receive.
    bool IsDue(const Turn& turn) noexcept
    {
        if (turn.IsAlone() != spins_) {
            return false;
        }
        if (pause_ != 0) {
            --pause_;
            return false;
        }
        start_ = Clock::now();
        return true;
    }

    /// To be called before each attempt.
    void Yield() const noexcept;

    /// Whether to try once more, after an attempt in which nothing was received.
    bool GoesOn(const Turn& turn) const noexcept
    {
        return spins_ && turn.IsAlone() && Clock::now() < start_ + kSpin;
    }

    /// To be called after the last attempt, with whether something was received.
    void End(bool received) noexcept
    {
        const bool wasWorthIt = received && Clock::now() < start_ + kWorthwhile;
        inVain_ = wasWorthIt ? 0 : std::min(inVain_ + 1, kMostInVain);
        pause_ = wasWorthIt ? 0 : 1U << inVain_;
    }

  private:
    /// Longer than a peer takes to be woken and to answer from memory.
    static constexpr std::chrono::microseconds kSpin{50};

    /// Another program has used the processor if a thread that yielded gets it back later.
    static constexpr std::chrono::milliseconds kWorthwhile{1};

    static constexpr std::uint32_t kMostInVain = 10;  // then 1,024 receives sleep at once

    const bool spins_;  ///< otherwise it yields
    Clock::time_point start_;
    std::uint32_t inVain_ = 0;  ///< brief waits in succession
    std::uint32_t pause_ = 0;   ///< receives until the next one
};

}  // namespace pelacon::ipc
