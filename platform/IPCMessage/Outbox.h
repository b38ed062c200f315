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
#include <span>
#include <thread>
#include <vector>

namespace pelacon::ipc {

/// The server's statistics. Any thread may count.
using ServerCounters = IPCServerCounts<std::atomic<std::uint64_t>>;

/// Sends frames on a connection in the order in which they are put, and never waits: at once if the
/// other end keeps up, otherwise from a bounded queue. Queued frames may be joined to one record.
class Outbox {
  public:
    using Urgency = IPCMessageServer::Urgency;

    /// How queued frames are sent: each as a record, or up to kMostJoined in one.
    enum class Records : std::uint8_t { kSingle, kJoined };

    Outbox(std::shared_ptr<Connection> connection, ServerCounters& counters,
           Records records = Records::kSingle);
    ~Outbox() { Close(); }
    Outbox(const Outbox&) = delete;
    Outbox& operator=(const Outbox&) = delete;

    /// Sends or queues a frame; false if the connection is lost. If the queue is full, its oldest
    /// droppable frame is dropped. If it has none, the new frame is dropped if it is droppable, and
    /// the connection is closed otherwise.
    bool Put(const FrameHeader& header, std::span<const std::uint8_t> payload, Urgency urgency);

    /// Sends or queues bytes that need not be a frame.
    bool PutBytes(std::span<const std::uint8_t> bytes);

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
    };

    bool SendOrQueue(std::span<const std::uint8_t> frame, Urgency urgency);
    bool MakeRoom(Urgency urgency);
    bool StartThread();
    void Lose();
    void SendQueued();
    std::vector<std::uint8_t> TakeRecord();

    const std::shared_ptr<Connection> connection_;
    ServerCounters& counters_;
    const Records records_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Queued> queue_;
    bool sending_ = false;  // the thread sends a record that is no longer in the queue
    bool lost_ = false;
    FrameBuffer buffer_;
    std::thread thread_;  // started by the first frame that is queued
};

}  // namespace pelacon::ipc
