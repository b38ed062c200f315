// What the service has to send to one client, and does not wait for.
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

/// What the server has been through; counted from any thread.
struct ServerCounters {
    std::atomic<std::uint64_t> clients{0};
    std::atomic<std::uint64_t> callConnections{0};
    std::atomic<std::uint64_t> requests{0};
    std::atomic<std::uint64_t> repliesToNobody{0};
    std::atomic<std::uint64_t> notifications{0};
    std::atomic<std::uint64_t> notificationsDropped{0};
    std::atomic<std::uint64_t> slowClients{0};
    std::atomic<std::uint64_t> malformedFrames{0};
    std::atomic<std::uint64_t> refusedPeers{0};
};

/// Sends frames on a connection in the order in which they are put, without keeping anybody
/// waiting: at once where the other end keeps up, otherwise from a bounded queue.
class Outbox {
  public:
    using Urgency = IPCMessageServer::Urgency;

    Outbox(std::shared_ptr<Connection> connection, ServerCounters& counters);
    ~Outbox() { Close(); }
    Outbox(const Outbox&) = delete;
    Outbox& operator=(const Outbox&) = delete;

    /// Sends or queues a frame; false if the connection is lost. A queue that is full gives up its
    /// oldest droppable frame; where there is none, a droppable frame is dropped itself, and any
    /// other costs the connection.
    bool Put(const FrameHeader& header, std::span<const std::uint8_t> payload, Urgency urgency);

    /// The same with bytes as they are.
    bool PutBytes(std::span<const std::uint8_t> bytes);

    bool IsConnected() const noexcept { return connection_->IsConnected(); }

    /// Ends the connection, so that whoever reads from it notices.
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

    const std::shared_ptr<Connection> connection_;
    ServerCounters& counters_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Queued> queue_;
    bool sending_ = false;  // the thread has a frame that is no longer in the queue
    bool lost_ = false;
    FrameBuffer buffer_;
    std::thread thread_;  // once there was something to queue
};

}  // namespace pelacon::ipc
