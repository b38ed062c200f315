#include <IPCMessage/Outbox.h>

#include <algorithm>
#include <new>
#include <system_error>
#include <utility>

namespace pelacon::ipc {

Outbox::Outbox(std::shared_ptr<Connection> connection, ServerCounters& counters, Records records)
    : connection_(std::move(connection)), counters_(counters), records_(records)
{}

bool Outbox::Put(const FrameHeader& header, std::span<const std::uint8_t> payload, Urgency urgency)
{
    const std::lock_guard lock(mutex_);
    return SendOrQueue(buffer_.Write(header, payload), urgency);
}

bool Outbox::PutBytes(std::span<const std::uint8_t> bytes)
{
    const std::lock_guard lock(mutex_);
    return SendOrQueue(bytes, Urgency::kKept);
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

bool Outbox::SendOrQueue(std::span<const std::uint8_t> frame, Urgency urgency)
{
    if (!lost_ && queue_.empty() && !sending_) {
        const IoStatus status = connection_->TrySend(frame);
        if (status == IoStatus::kDone) {
            return true;
        }
        if (status != IoStatus::kWouldBlock) {
            Lose();
        }
    }
    if (lost_) {
        return false;
    }
    if (queue_.size() >= IPCMessageServer::kQueueLimit && !MakeRoom(urgency)) {
        return !lost_;
    }
    queue_.push_back({{frame.begin(), frame.end()}, urgency});
    changed_.notify_one();
    return StartThread();
}

/// Many clients never need the thread. If it cannot be started, the connection is closed.
bool Outbox::StartThread()
{
    if (!thread_.joinable()) {
        try {
            thread_ = std::thread([this] { SendQueued(); });
        } catch (const std::system_error&) {
            Lose();
        }
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

void Outbox::SendQueued()
{
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return lost_ || !queue_.empty(); });
        if (lost_) {
            return;
        }
        const std::vector<std::uint8_t> record = TakeRecord();
        sending_ = true;
        lock.unlock();
        const IoStatus status = connection_->Send(record);
        lock.lock();
        sending_ = false;
        if (status != IoStatus::kDone) {
            Lose();
        }
    }
}

/// The first frame of the queue, with those behind it that may be joined to it.
std::vector<std::uint8_t> Outbox::TakeRecord()
{
    std::vector<std::uint8_t> record = std::move(queue_.front().frame);
    queue_.pop_front();
    std::size_t more = records_ == Records::kJoined ? kMostJoined - 1 : 0;
    try {
        for (; more > 0 && !queue_.empty(); --more) {
            const std::vector<std::uint8_t>& next = queue_.front().frame;
            if (record.size() + next.size() > kMaxFrame) {
                break;
            }
            record.insert(record.end(), next.begin(), next.end());
            queue_.pop_front();
        }
    } catch (const std::bad_alloc&) {
        // The next frame begins a record of its own.
    }
    return record;
}

}  // namespace pelacon::ipc
