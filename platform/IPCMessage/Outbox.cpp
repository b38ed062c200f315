#include <IPCMessage/Outbox.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace pelacon::ipc {

Outbox::Outbox(std::shared_ptr<Connection> connection, ServerCounters& counters, Records records)
    : connection_(std::move(connection)), counters_(counters), records_(records)
{}

bool Outbox::Put(const FrameHeader& header, std::span<const std::uint8_t> payload, Urgency urgency,
                 When when)
{
    const std::lock_guard lock(mutex_);
    return SendOrQueue(buffer_.Write(header, payload), urgency,
                       header.kind == FrameKind::kNotification, when);
}

bool Outbox::PutBytes(std::span<const std::uint8_t> bytes)
{
    const std::lock_guard lock(mutex_);
    return SendOrQueue(bytes, Urgency::kKept, false, When::kNow);
}

void Outbox::Flush() noexcept
{
    const std::lock_guard lock(mutex_);
    SendQueued();
}

void Outbox::Close()
{
    {
        const std::lock_guard lock(mutex_);
        Lose();
    }
    if (thread_.joinable()) {
        thread_.join();
    }
}

bool Outbox::SendOrQueue(std::span<const std::uint8_t> frame, Urgency urgency, bool isNotification,
                         When when)
{
    const bool isHeld = when == When::kWithOthers && records_ == Records::kJoined;
    if (!isHeld && !lost_ && !threadSends_ && queue_.empty()) {
        const IoStatus status = connection_->TrySend(frame);
        if (status == IoStatus::kDone) {
            return true;
        }
        status == IoStatus::kWouldBlock ? LeaveToThread() : Lose();
    }
    if (lost_) {
        return false;
    }
    if (queue_.size() >= IPCMessageServer::kQueueLimit && !MakeRoom(urgency)) {
        return !lost_;
    }
    queue_.push_back({{frame.begin(), frame.end()}, urgency, isNotification});
    if (!isHeld || queue_.size() >= kMostJoined) {
        SendQueued();
    }
    return !lost_;
}

/// False if there is no room for the new frame.
bool Outbox::MakeRoom(Urgency urgency)
{
    const auto oldest = std::find_if(queue_.begin(), queue_.end(), [](const Queued& queued) {
        return queued.urgency == Urgency::kDroppable;
    });
    if (oldest == queue_.end() && urgency == Urgency::kKept) {
        counters_.slowClients.fetch_add(1, std::memory_order_relaxed);
        Lose();
        return false;
    }
    counters_.notificationsDropped.fetch_add(1, std::memory_order_relaxed);
    if (oldest == queue_.end()) {
        return false;
    }
    queue_.erase(oldest);
    return true;
}

void Outbox::Lose()
{
    lost_ = true;
    queue_.clear();
    connection_->Shutdown();
    changed_.notify_one();
}

/// Sends what the queue has, unless that is left to the thread.
void Outbox::SendQueued()
{
    while (!queue_.empty() && !threadSends_) {
        const std::size_t count = CountOfRecord();
        switch (connection_->TrySend(Join(count, buffer_))) {
            case IoStatus::kDone:
                Forget(count);
                break;
            case IoStatus::kWouldBlock:
                LeaveToThread();
                break;
            default:
                Lose();
        }
    }
}

/// How many frames at the front of the queue the next record has.
std::size_t Outbox::CountOfRecord() const
{
    const Queued& first = queue_.front();
    const bool isJoined = records_ == Records::kJoined && first.isNotification;
    const std::size_t most = isJoined ? std::min(queue_.size(), kMostJoined) : 1;
    std::size_t size = first.frame.size();
    std::size_t count = 1;
    for (; count < most; ++count) {
        const Queued& next = queue_[count];
        size += next.frame.size();
        if (!next.isNotification || size > kMostJoinedBytes) {
            break;
        }
    }
    return count;
}

/// Writes the first frames of the queue to a record.
std::span<const std::uint8_t> Outbox::Join(std::size_t count, const FrameBuffer& record) const
{
    auto end = record.Room().begin();
    for (std::size_t index = 0; index < count; ++index) {
        const std::vector<std::uint8_t>& frame = queue_[index].frame;
        end = std::copy(frame.begin(), frame.end(), end);
    }
    return {record.Room().begin(), end};
}

void Outbox::Forget(std::size_t count)
{
    queue_.erase(queue_.begin(), queue_.begin() + static_cast<std::ptrdiff_t>(count));
}

/// Lets the thread send until the queue is empty. Many clients never need it. If it cannot be
/// started, the connection is closed.
void Outbox::LeaveToThread()
{
    threadSends_ = true;
    changed_.notify_one();
    if (!thread_.joinable()) {
        try {
            threadsRecord_.emplace();
            thread_ = std::thread([this] { RunThread(); });
        } catch (const std::exception&) {  // no memory, or no thread
            Lose();
        }
    }
}

void Outbox::RunThread()
{
    std::unique_lock lock(mutex_);
    while (!lost_) {
        if (queue_.empty()) {
            threadSends_ = false;
            changed_.wait(lock, [this] { return lost_ || threadSends_; });
            continue;
        }
        const std::size_t count = CountOfRecord();
        const auto record = Join(count, *threadsRecord_);
        Forget(count);
        lock.unlock();
        const IoStatus status = connection_->Send(record);
        lock.lock();
        if (status != IoStatus::kDone) {
            Lose();
        }
    }
}

}  // namespace pelacon::ipc
