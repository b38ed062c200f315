// A service's open connections, each with its thread.
#pragma once

#include <IPCMessage/Outbox.h>
#include <IPCMessage/Transport.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace pelacon::ipc {

/// An open connection.
struct ServedConnection {
    explicit ServedConnection(std::shared_ptr<Connection> open) : connection(std::move(open)) {}

    const std::shared_ptr<Connection> connection;
    bool apart = false;  // see ServerConnections::SetApart
};

/// Accepts connections and runs each on a thread of its own until it is done.
class ServerConnections {
  public:
    /// How many there may be at once: nobody shall use up the service's threads, neither a program
    /// that is at odds with itself nor a user who means it.
    static constexpr std::size_t kLimit = 2048;
    static constexpr std::size_t kLimitPerUser = 1024;
    static constexpr std::size_t kLimitPerProcess = 512;

    /// How long the end of all waits for answers that are under way. Whoever does not take his by
    /// then gets none.
    static constexpr std::chrono::milliseconds kLastAnswers{500};

    using Serve = std::function<void(ServedConnection& served)>;

    /// `serve` is called on each connection's thread, and may begin at once.
    ServerConnections(std::unique_ptr<Listener> listener, ServerCounters& counters, Serve serve);

    /// Ends them all, those whose thread is at an answer after that, and waits for the threads.
    ~ServerConnections();

    ServerConnections(const ServerConnections&) = delete;
    ServerConnections& operator=(const ServerConnections&) = delete;

    const Listener& GetListener() const noexcept { return *listener_; }

    /// Ends all connections but those set apart.
    void Shutdown();

    /// Keeps a connection out of Shutdown.
    void SetApart(ServedConnection& served);

  private:
    using Entries = std::list<ServedConnection>;

    /// Each thread holds it to its very end, which may come after the destructor's.
    struct Open {
        std::mutex mutex;
        std::condition_variable emptied;
        Entries entries;
    };

    void AcceptAll();
    void Take(std::shared_ptr<Connection> connection);
    bool HasRoomFor(const Peer& peer) const;
    static void Forget(Open& open, Entries::iterator entry);

    const std::unique_ptr<Listener> listener_;
    ServerCounters& counters_;
    const Serve serve_;
    const std::shared_ptr<Open> open_ = std::make_shared<Open>();
    std::thread acceptor_;
};

}  // namespace pelacon::ipc
