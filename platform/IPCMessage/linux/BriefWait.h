// What a thread does for a moment before a receive in which it sleeps.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>

namespace pelacon::ipc {

/// Decides which receives of a connection wait briefly before they sleep.
///
/// Several processors: while a thread sleeps, its processor may become idle, and to wake the
/// processor and the thread takes longer than most requests. So a thread that waits alone tries
/// again and again (spins). Threads that wait together leave the processors to those that answer
/// them.
///
/// One processor: a thread that waits together with others yields once. The service then answers
/// some of them, which need not be woken.
///
/// Where that is in vain, it becomes rare.
class BriefWait {
  public:
    using Clock = std::chrono::steady_clock;

    /// A receive in which a thread of this process waits for an answer.
    class Turn {
      public:
        Turn() noexcept { turns_.fetch_add(1, std::memory_order_relaxed); }
        ~Turn() { turns_.fetch_sub(1, std::memory_order_relaxed); }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

        /// Whether no other thread waits for an answer.
        bool IsAlone() const noexcept { return turns_.load(std::memory_order_relaxed) == 1; }

        static void ForgetAll() noexcept;

      private:
        static std::atomic<int> turns_;
    };

    /// Depends on the processors that the thread which makes the connection may use.
    BriefWait() noexcept;
    explicit BriefWait(bool severalProcessors) noexcept : spins_(severalProcessors) {}

    /// Whether to wait briefly in this turn.
    bool IsDue(const Turn& turn) noexcept
    {
        if (!Suits(turn)) {
            return false;
        }
        if (pause_ != 0) {
            --pause_;
            return false;
        }
        return true;
    }

    /// To be called before each attempt to receive.
    void Yield() const noexcept;

    /// Whether to try once more, after so long without success.
    bool GoesOn(const Turn& turn, Clock::duration elapsed) const noexcept
    {
        return spins_ && Suits(turn) && elapsed < kSpin;
    }

    /// To be called after the last attempt. A wait that another thread has ended says nothing.
    void End(const Turn& turn, bool received, Clock::duration elapsed) noexcept
    {
        if (received && elapsed < kWorthwhile) {
            inVain_ = 0;
            pause_ = 0;
        } else if (received || Suits(turn)) {
            inVain_ = std::min(inVain_ + 1, kMostInVain);
            pause_ = 1U << inVain_;
        }
    }

  private:
    /// Longer than a peer takes to be woken and to answer from memory.
    static constexpr std::chrono::microseconds kSpin{50};

    /// Another program has used the processor if a thread that yielded gets it back later.
    static constexpr std::chrono::milliseconds kWorthwhile{1};

    static constexpr std::uint32_t kMostInVain = 10;  // then 1,024 receives sleep at once

    bool Suits(const Turn& turn) const noexcept { return turn.IsAlone() == spins_; }

    const bool spins_;          ///< otherwise it yields
    std::uint32_t inVain_ = 0;  ///< brief waits in succession
    std::uint32_t pause_ = 0;   ///< receives until the next one
};

}  // namespace pelacon::ipc
