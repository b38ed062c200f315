// Notifications that are sent together.
#pragma once

#include <memory>
#include <vector>

namespace pelacon::ipc {

class Outbox;

/// While a batch exists, notifications of its thread are held back for clients that read several in
/// one record: until there are enough for a record, Flush is called, or the batch ends. Of batches
/// inside each other, only the outermost has an effect.
class NotificationBatch {
  public:
    NotificationBatch() noexcept;
    ~NotificationBatch();
    NotificationBatch(const NotificationBatch&) = delete;
    NotificationBatch& operator=(const NotificationBatch&) = delete;

    /// Sends what this thread holds back. To be called before the thread waits for something.
    static void Flush() noexcept;

    /// For the server: whether this thread has a batch, which then flushes the outbox.
    static bool Hold(const std::shared_ptr<Outbox>& outbox) noexcept;

  private:
    std::vector<std::shared_ptr<Outbox>> held_;
};

}  // namespace pelacon::ipc
