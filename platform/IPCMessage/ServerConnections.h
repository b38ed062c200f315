// A service's open connections, each with its thread.
#pragma once

#include <IPCMessage/Outbox.h>
#include <IPCMessage/Transport.h>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

namespace pelacon::ipc {

/// Accepts connections and runs each on a thread of its own until it is done.
class ServerConnections {
  public:
    /// How many there may be at once: nobody shall use up the service's threads, neither a program
    /// that is at odds with itself nor a user who means it.
    static constexpr std::size_t kLimit = 2048;
    static constexpr std::size_t kLimitPerUser = 1024;
    static constexpr std::size_t kLimitPerProcess = 512;

    using Serve = std::function<void(const std::shared_ptr<Connection>& connection)>;

    /// `serve` is called on each connection's thread, and may begin at once.
    ServerConnections(std::unique_ptr<Listener> listener, ServerCounters& counters, Serve serve);

    /// Ends them all and waits for their threads.
    ~ServerConnections();

    ServerConnections(const ServerConnections&) = delete;
    ServerConnections& operator=(const ServerConnections&) = delete;

    const Listener& GetListener() const noexcept { return *listener_; }

    /// Ends all connections but those set apart.
    void Shutdown();

    /// Keeps a connection out of Shutdown.
    void SetApart(const Connection& connection);

  private:
    struct Entry {
        std::shared_ptr<Connection> connection;
        bool apart = false;
    };
    using Entries = std::list<Entry>;

    void AcceptAll();
    void Take(std::shared_ptr<Connection> connection);
    bool HasRoomFor(const Peer& peer) const;
    void Run(Entries::iterator entry);

    const std::unique_ptr<Listener> listener_;
    ServerCounters& counters_;
    const Serve serve_;
    mutable std::mutex mutex_;
    std::condition_variable emptied_;
    Entries entries_;
    std::thread acceptor_;
};

}  // namespace pelacon::ipc
