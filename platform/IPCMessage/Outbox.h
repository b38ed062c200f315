// Frames that the service sends to one client without waiting.
#pragma once

#include <IPCMessage/IPCMessageServer.h>
#include <IPCMessage/Transport.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <vector>

namespace pelacon::ipc {

/// The server's statistics. Any thread may count.
using ServerCounters = IPCServerCounts<std::atomic<std::uint64_t>>;

/// Sends frames on a connection in the order in which they are put, and never waits: at once if the
/// other end keeps up, otherwise from a bounded queue. Queued frames may be joined to one record.
/// Whatever is sent at once is sent by the calling thread, the rest by a thread of the outbox.
class Outbox {
  public:
    using Urgency = IPCMessageServer::Urgency;

    /// How queued frames are sent: each as a record, or up to kMostJoined in one.
    enum class Records : std::uint8_t { kSingle, kJoined };

    /// When a notification is sent: at once, or with others, if they may be joined, and at Flush at
    /// the latest.
    enum class When : std::uint8_t { kNow, kWithOthers };

    Outbox(std::shared_ptr<Connection> connection, ServerCounters& counters,
           Records records = Records::kSingle);
    ~Outbox() { Close(); }
    Outbox(const Outbox&) = delete;
    Outbox& operator=(const Outbox&) = delete;

    /// Sends or queues a frame; false if the connection is lost. If the queue is full, its oldest
    /// droppable frame is dropped. If it has none, the new frame is dropped if it is droppable, and
    /// the connection is closed otherwise.
    bool Put(const FrameHeader& header, std::span<const std::uint8_t> payload, Urgency urgency,
             When when = When::kNow);

    /// Sends or queues bytes that need not be a frame.
    bool PutBytes(std::span<const std::uint8_t> bytes);

    /// Sends what was held back to be sent with others.
    void Flush() noexcept;

    std::uint32_t PeerProcess() const noexcept { return connection_->GetPeer().processId; }
    bool IsConnected() const noexcept { return connection_->IsConnected(); }

    /// Closes the connection, so that the thread that receives from it ends.
    void Shutdown() noexcept { connection_->Shutdown(); }

    /// Ends the connection and waits for the queue's thread.
    void Close();

  private:
    struct Queued {
        std::vector<std::uint8_t> frame;
        Urgency urgency;
        bool isNotification;  // others are not joined
    };

    bool SendOrQueue(std::span<const std::uint8_t> frame, Urgency urgency, bool isNotification,
                     When when);
    bool MakeRoom(Urgency urgency);
    void SendQueued();
    void LeaveToThread();
    void Lose();
    void RunThread();
    std::size_t CountOfRecord() const;
    std::span<const std::uint8_t> Join(std::size_t count, const FrameBuffer& record) const;
    void Forget(std::size_t count);

    const std::shared_ptr<Connection> connection_;
    ServerCounters& counters_;
    const Records records_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Queued> queue_;
    bool threadSends_ = false;  // the queue, and what it has taken from there
    bool lost_ = false;
    FrameBuffer buffer_;
    std::optional<FrameBuffer> threadsRecord_;  // with the thread
    std::thread thread_;                        // started by the first frame that finds no room
};

}  // namespace pelacon::ipc
