// Operators' programs that watch the notifications of a service.
#pragma once

#include <IPCMessage/Outbox.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <span>

namespace pelacon::ipc {

/// The outboxes of connections that get a copy of every notification.
class ServerWatchers {
  public:
    void Add(const std::shared_ptr<Outbox>& watcher)
    {
        const std::lock_guard lock(mutex_);
        watchers_.push_back(watcher);
        ++count_;
    }

    void Remove(const std::shared_ptr<Outbox>& watcher)
    {
        const std::lock_guard lock(mutex_);
        --count_;
        watchers_.remove(watcher);
    }

    /// Sends the watchers a copy of a notification to a client of the process.
    void Mirror(FrameHeader header, std::span<const std::uint8_t> payload, std::uint32_t processId)
    {
        if (count_.load(std::memory_order_relaxed) == 0) {
            return;
        }
        header.processId = processId;
        const std::lock_guard lock(mutex_);
        for (const std::shared_ptr<Outbox>& watcher : watchers_) {
            watcher->Put(header, payload, Outbox::Urgency::kDroppable);
        }
    }

    /// The counters of the watchers' outboxes, which are not part of those of clients.
    ServerCounters& Counters() noexcept { return counters_; }

  private:
    ServerCounters counters_;
    std::mutex mutex_;
    std::list<std::shared_ptr<Outbox>> watchers_;
    std::atomic<std::size_t> count_{0};
};

}  // namespace pelacon::ipc
