// Whether to try to receive for a moment before a receive that sleeps.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>

namespace pelacon::ipc {

/// Decides which receives of a connection spin. While a thread sleeps, its processor may become
/// idle, and to wake both takes longer than most requests; a peer on another processor often
/// answers sooner. Where spins are in vain, they become rare.
class Spin {
  public:
    using Clock = std::chrono::steady_clock;

    /// How long to spin: longer than a peer takes to be woken and to answer from memory.
    static constexpr std::chrono::microseconds kDuration{50};

    /// A receive during which its thread may spin.
    class Turn {
      public:
        Turn() noexcept { turns_.fetch_add(1, std::memory_order_relaxed); }
        ~Turn() { turns_.fetch_sub(1, std::memory_order_relaxed); }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

        /// Whether no other thread of the process waits. Peers of several threads need the
        /// processors themselves.
        bool IsOnlyOne() const noexcept { return turns_.load(std::memory_order_relaxed) == 1; }

      private:
        static std::atomic<int> turns_;
    };

    /// Spinning is not possible if this process may use one processor only.
    Spin() noexcept;
    explicit Spin(bool isPossible) noexcept : isPossible_(isPossible) {}

    bool IsPossible() const noexcept { return isPossible_; }

    /// Whether the next receive spins.
    bool IsDue() noexcept
    {
        if (pause_ == 0) {
            return true;
        }
        --pause_;
        return false;
    }

    /// To be called after a spin, with whether something was received meanwhile.
    void Note(bool received) noexcept
    {
        inVain_ = received ? 0 : std::min(inVain_ + 1, kMostInVain);
        pause_ = received ? 0 : 1U << inVain_;
    }

  private:
    static constexpr std::uint32_t kMostInVain = 10;  // then 1,024 receives do not spin

    const bool isPossible_;
    std::uint32_t inVain_ = 0;  ///< spins in succession
    std::uint32_t pause_ = 0;   ///< receives until the next spin
};

}  // namespace pelacon::ipc
