// Waiting until something is not in use any more.
#pragma once

#include <os/Fork.h>
#include <os/WordWait.h>

#include <atomic>
#include <cstdint>

namespace pelacon::os {

/// How many threads are using something. In a forked child it starts at 0: the threads that were
/// counted stayed behind, and a use that the forking thread had begun is not counted any more.
class UseCount {
  public:
    /// One use; the thread that begins it ends it. Without a count nothing is counted.
    class Use {
      public:
        explicit Use(UseCount* count) noexcept : count_(count)
        {
            if (count_ != nullptr) {
                std::uint64_t seen = count_->word_.load();
                while (!count_->word_.compare_exchange_weak(seen, Current(seen) + 1)) {
                }
            }
        }

        ~Use()
        {
            if (count_ != nullptr && generation_ == ForkGeneration()) {
                count_->word_.fetch_sub(1);
                WakeAll(count_->word_);
            }
        }

        bool IsCounted() const noexcept { return count_ != nullptr; }

        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

      private:
        UseCount* count_;
        std::uint32_t generation_ = ForkGeneration();
    };

    /// Returns when all uses have ended.
    void WaitUntilUnused() const noexcept
    {
        for (std::uint64_t seen = word_.load(); static_cast<std::uint32_t>(Current(seen)) != 0;
             seen = word_.load()) {
            WaitWhile(word_, seen);
        }
    }

  private:
    // The upper half is the fork generation that counted, the lower half the count.
    static std::uint64_t Current(std::uint64_t word) noexcept
    {
        const std::uint64_t generation = ForkGeneration();
        return word >> 32U == generation ? word : generation << 32U;
    }

    std::atomic<std::uint64_t> word_{0};
};

}  // namespace pelacon::os
