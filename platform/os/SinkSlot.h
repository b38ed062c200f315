// A place for one callback that may be exchanged while it is being called.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace pelacon::os {

/// Holds the sink that lines or events go to. Deliveries run concurrently and hold no lock, so a
/// sink may take whatever locks its owner likes. A sink that delivers to its own slot is not called
/// again from inside itself, and what it throws ends with it.
template <typename... Arguments>
class SinkSlot {
    struct Entry;

  public:
    using Sink = std::function<void(Arguments...)>;

    /// A sink that was taken out and may still be running.
    class Replaced {
      public:
        /// Returns when the sink has ended its last call; at once inside a sink.
        void Wait() const
        {
            if (entry_ && !insideSink_) {
                entry_->WaitUntilIdle();
            }
        }

      private:
        friend class SinkSlot;
        explicit Replaced(std::shared_ptr<Entry> entry) : entry_(std::move(entry)) {}

        std::shared_ptr<Entry> entry_;
    };

    /// Puts a sink in place of the one before; an empty one takes nothing more. When this returns
    /// the old sink has ended its last call and gets no other (unless called from inside a sink,
    /// which cannot wait for itself).
    void Set(Sink sink) { Exchange(std::move(sink)).Wait(); }

    /// Set in two steps, for an owner that keeps more than the sink in step: the first only puts
    /// the sink in place, the second waits for the one before.
    [[nodiscard]] Replaced Exchange(Sink sink)
    {
        std::shared_ptr<Entry> next = sink ? std::make_shared<Entry>(std::move(sink)) : nullptr;
        const std::lock_guard lock(mutex_);
        present_.store(next != nullptr, std::memory_order_release);
        return Replaced(std::exchange(entry_, std::move(next)));
    }

    /// Whether there is a sink; one load.
    bool IsSet() const noexcept { return present_.load(std::memory_order_relaxed); }

    /// Calls the sink, if there is one and this thread is not inside it already.
    void Deliver(Arguments... arguments) noexcept
    {
        if (insideSink_) {
            return;
        }
        const std::shared_ptr<Entry> entry = Enter();
        if (!entry) {
            return;
        }
        insideSink_ = true;
        try {
            entry->sink(arguments...);
        } catch (...) {  // NOLINT(bugprone-empty-catch): a sink's failure is nobody else's
        }
        insideSink_ = false;
        entry->Leave();
    }

  private:
    struct Entry {
        explicit Entry(Sink callable) : sink(std::move(callable)) {}

        void Leave() noexcept
        {
            running.fetch_sub(1, std::memory_order_release);
            running.notify_all();
        }

        void WaitUntilIdle() noexcept
        {
            for (int now = running.load(std::memory_order_acquire); now != 0;
                 now = running.load(std::memory_order_acquire)) {
                running.wait(now, std::memory_order_acquire);
            }
        }

        Sink sink;
        std::atomic<int> running{0};
    };

    std::shared_ptr<Entry> Enter()
    {
        const std::lock_guard lock(mutex_);
        if (entry_) {
            entry_->running.fetch_add(1, std::memory_order_relaxed);
        }
        return entry_;
    }

    inline static thread_local bool insideSink_ = false;
    std::mutex mutex_;
    std::shared_ptr<Entry> entry_;
    std::atomic<bool> present_{false};
};

}  // namespace pelacon::os
