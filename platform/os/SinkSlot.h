// A place for one callback that may be exchanged while it is being called.
#pragma once

#include <os/Lock.h>
#include <os/UseCount.h>

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

namespace pelacon::os {

/// Holds the sink that lines or events go to. Deliveries run concurrently and hold no lock, so a
/// sink may take whatever locks its owner likes. A sink that delivers to its own slot is not called
/// again from inside itself, and an exception that leaves it is dropped. A forked child has the
/// slot as its parent had it, and waits for no call that another thread of the parent was in.
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
                entry_->calls.WaitUntilUnused();
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
        const std::lock_guard lock(lock_);
        const ForkHold hold;
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
        const Call call = Enter();
        if (!call.entry) {
            return;
        }
        insideSink_ = true;
        try {
            call.entry->sink(arguments...);
        } catch (...) {  // NOLINT(bugprone-empty-catch): dropped, as the class says
        }
        insideSink_ = false;
    }

  private:
    struct Entry {
        explicit Entry(Sink callable) : sink(std::move(callable)) {}

        Sink sink;
        UseCount calls;
    };

    struct Call {
        explicit Call(std::shared_ptr<Entry> called)
            : entry(std::move(called)), use(entry ? &entry->calls : nullptr)
        {}

        std::shared_ptr<Entry> entry;
        UseCount::Use use;
    };

    Call Enter()
    {
        const std::lock_guard lock(lock_);
        return Call(entry_);
    }

    inline static thread_local bool insideSink_ = false;
    Lock lock_;
    std::shared_ptr<Entry> entry_;
    std::atomic<bool> present_{false};
};

}  // namespace pelacon::os
