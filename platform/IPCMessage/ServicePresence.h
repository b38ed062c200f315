// Whether this process is connected to a service, as its message client knows.
#pragma once

#include <atomic>
#include <cstdint>

namespace pelacon::ipc {

/// The client connects only to a process whose user the operating system names and this process
/// trusts. So while it is connected such a service is running, whatever the list of processes
/// shows. Everything is inline: another implementation of the message client need not know of
/// this; nothing is known of its service then.
class ServicePresence {
  public:
    /// An event connection that is up, for as long as this lives.
    class Connection {
      public:
        Connection() noexcept
        {
            ever_.fetch_add(1);
            now_.fetch_add(1);
        }
        ~Connection() { now_.fetch_sub(1); }
        Connection(const Connection&) = delete;
        Connection& operator=(const Connection&) = delete;
    };

    /// The message client counts its connections from now on.
    static void BeginToCount() noexcept { counted_.store(true); }

    static bool IsConnected() noexcept { return now_.load() != 0; }

    enum class Change {
        kFound,  ///< a client has connected, for the first time
        kLost,   ///< a connection is lost that had been welcomed
    };
    using Observer = void (*)(Change change) noexcept;

    /// Calls the observer from now on: on the client's receive thread, without a lock, and not for
    /// a client that is being stopped.
    static void Observe(Observer observer) noexcept { observer_.store(observer); }

    static void Report(Change change) noexcept
    {
        if (const Observer observer = observer_.load()) {
            observer(change);
        }
    }

    /// Made before a request, says afterwards whether the request can have reached a service.
    class Watch {
      public:
        bool CanHaveReached() const noexcept
        {
            return !wasCounted_ || wasConnected_ || ever_.load() != before_;
        }

      private:
        bool wasCounted_ = counted_.load();
        std::uint64_t before_ = ever_.load();
        bool wasConnected_ = IsConnected();
    };

  private:
    inline static std::atomic<bool> counted_{false};
    inline static std::atomic<std::uint64_t> ever_{0};
    inline static std::atomic<std::int32_t> now_{0};
    inline static std::atomic<Observer> observer_{nullptr};
};

}  // namespace pelacon::ipc
