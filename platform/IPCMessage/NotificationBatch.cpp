#include <IPCMessage/NotificationBatch.h>
#include <IPCMessage/Outbox.h>

#include <new>

namespace pelacon::ipc {

namespace {

/// The outermost batch of this thread.
thread_local constinit NotificationBatch* current = nullptr;

}  // namespace

NotificationBatch::NotificationBatch() noexcept
{
    if (current == nullptr) {
        current = this;
    }
}

NotificationBatch::~NotificationBatch()
{
    if (current == this) {
        Flush();
        current = nullptr;
    }
}

void NotificationBatch::Flush() noexcept
{
    if (current != nullptr) {
        for (const auto& outbox : current->held_) {
            outbox->Flush();
        }
        current->held_.clear();
    }
}

bool NotificationBatch::Hold(const std::shared_ptr<Outbox>& outbox) noexcept
{
    if (current == nullptr) {
        return false;
    }
    std::vector<std::shared_ptr<Outbox>>& held = current->held_;
    try {
        if (held.empty() || held.back() != outbox) {
            held.push_back(outbox);
        }
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

}  // namespace pelacon::ipc
