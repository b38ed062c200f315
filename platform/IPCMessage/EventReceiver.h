// The event connection: notifications from the service, posted messages to it, and the thread that
// keeps it up.
#pragma once

#include <IPCMessage/ServicePresence.h>
#include <IPCMessage/Transport.h>
#include <os/Fork.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace pelacon::ipc {

class EventReceiver {
  public:
    using Callback = std::function<void(TagIPCMessageItem& item)>;

    EventReceiver(PipePlaces places, const Token& token);

    /// Tries once to connect, without waiting, and starts the receive thread, which holds the
    /// receiver as long as it runs. Throws std::system_error.
    static void Start(const std::shared_ptr<EventReceiver>& receiver);

    /// Tries once to connect if the event connection is not up, and waits for a busy pipe until the
    /// deadline. Returns kDone when the connection is up; otherwise kTimeout or kLost.
    IoStatus EnsureUp(Deadline& deadline)
    {
        return up_.load(std::memory_order_acquire) ? IoStatus::kDone : BringUp(deadline);
    }

    /// How many frames that no later request may overtake have been sent.
    std::uint64_t Order() const noexcept { return order_.load(std::memory_order_acquire); }

    /// Sends a message that fits a frame, without waiting.
    bool Post(const TagIPCMessageItem& item);

    void Register(std::int32_t messageId, Callback callback);

    /// Ends the connection and the thread and forgets the callbacks. Waits for the thread's end,
    /// unless it is the caller.
    void Stop() noexcept;

    std::uint64_t Connected() const noexcept { return connected_.load(std::memory_order_relaxed); }
    std::uint64_t Unhandled() const noexcept { return unhandled_.load(std::memory_order_relaxed); }

  private:
    using Callbacks = std::unordered_map<std::int32_t, Callback>;
    using Lock = std::unique_lock<std::mutex>;

    IoStatus BringUp(Deadline& deadline);
    IoStatus BringUp(Lock& lock, Deadline& deadline);
    IoStatus Connect(Lock& lock, Deadline& deadline);
    bool Greet(std::shared_ptr<Connection> connection);

    /// Whether this is a child that fork made inside a callback: all here is its parent's.
    bool IsInherited() const noexcept { return os::ForkGeneration() != generation_; }

    void Run();
    std::shared_ptr<Connection> NextConnection();
    bool ReadUntilLost(Connection& connection);
    bool Take(FrameBuffer& record, std::size_t size, bool& welcomed);
    bool TakeJoined(std::span<const std::uint8_t> record);
    bool TakeNotification(FrameBuffer& frame, const FrameHeader& header);
    void Welcomed();
    void Deliver(FrameBuffer& frame, const FrameHeader& header);
    bool Forget();

    const PipePlaces places_;
    const Token token_;
    const std::uint32_t generation_ = os::ForkGeneration();

    std::atomic<bool> up_{false};
    std::atomic<bool> stopped_{false};
    std::atomic<std::uint64_t> order_{0};
    std::atomic<std::uint64_t> connected_{0};
    std::atomic<std::uint64_t> unhandled_{0};

    std::mutex mutex_;  // for all below; also puts what is sent in order
    std::condition_variable changed_;
    std::shared_ptr<Connection> connection_;
    std::optional<ServicePresence::Connection> presence_;  // with connection_
    bool connecting_ = false;                              // somebody tries to, without the lock
    bool wasConnected_ = false;
    std::chrono::milliseconds retryAfter_;
    bool ended_ = true;  // the receive thread has
    FrameBuffer sendBuffer_;

    const std::shared_ptr<const Callbacks> noCallbacks_ = std::make_shared<Callbacks>();
    std::shared_ptr<const Callbacks> callbacks_ = noCallbacks_;
    std::atomic<std::uint64_t> callbacksVersion_{1};  // written under the lock

    // Used by the receive thread only, which replaces the table when the version has changed.
    std::shared_ptr<const Callbacks> callbacksInUse_;
    std::uint64_t versionInUse_ = 0;
    FrameBatch batch_;
    FrameBuffer joined_;  // one of the frames that were joined to a record
    TagIPCMessageItem item_;
};

}  // namespace pelacon::ipc
