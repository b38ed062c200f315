// A service's open connections, each with its thread.
#pragma once

#include <IPCMessage/ConnectionLimits.h>
#include <IPCMessage/Outbox.h>
#include <IPCMessage/Transport.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace pelacon::ipc {

/// An open connection.
struct ServedConnection {
    ServedConnection(std::shared_ptr<Connection> open, ConnectionPlace granted)
        : connection(std::move(open)), place(granted)
    {}

    const std::shared_ptr<Connection> connection;
    const ConnectionPlace place;
    bool apart = false;  // see ServerConnections::SetApart
};

/// Accepts connections and serves each on a thread of its own.
class ServerConnections {
  public:
    /// How long the destructor waits for requests that are being answered. Later answers are lost.
    static constexpr std::chrono::milliseconds kLastAnswers{500};

    /// The least time between two reports of connections that are turned away.
    static constexpr std::chrono::minutes kReportEvery{1};

    using Serve = std::function<void(ServedConnection& served)>;

    /// `serve` is called on each connection's thread, possibly before this returns. `warn` is
    /// called without any lock.
    ServerConnections(std::unique_ptr<Listener> listener, ServerCounters& counters, Serve serve,
                      Warn warn);

    /// Closes all connections, after running requests were answered, and waits for their threads.
    ~ServerConnections();

    ServerConnections(const ServerConnections&) = delete;
    ServerConnections& operator=(const ServerConnections&) = delete;

    const Listener& GetListener() const noexcept { return *listener_; }

    /// Closes all connections except those set apart.
    void Shutdown();

    /// Excludes a connection from Shutdown.
    void SetApart(ServedConnection& served);

    /// Counts a connection that is turned away, and reports it unless there was a report recently.
    void Refuse(const ServedConnection& served, const std::string& reason) noexcept
    {
        Refuse(served.connection->GetPeer(), reason);
    }

    /// Reports that memory ran out, unless there was a report recently.
    void ReportNoMemory() noexcept { Report("a connection is closed: no memory is left"); }

  private:
    using Entries = std::list<ServedConnection>;

    /// Shared with each thread, whose end may come after the destructor's.
    struct Open {
        std::mutex mutex;
        std::condition_variable emptied;
        Entries entries;
    };

    /// When to report next, and how many reports were suppressed.
    struct Reports {
        std::mutex mutex;
        std::chrono::steady_clock::time_point next;
        std::uint64_t suppressed = 0;
    };

    void AcceptAll();
    void Take(std::shared_ptr<Connection> connection);
    void Start(std::shared_ptr<Connection> connection, ConnectionPlace place);
    ConnectionCounts Count(const Peer& peer) const;
    void Refuse(const Peer& peer, const std::string& reason) noexcept;
    void Report(const std::string& what) noexcept;
    static void Forget(Open& open, Entries::iterator entry);

    const std::unique_ptr<Listener> listener_;
    ServerCounters& counters_;
    const Serve serve_;
    const Warn warn_;
    const ConnectionLimits limits_;
    Reports reports_;
    const std::shared_ptr<Open> open_ = std::make_shared<Open>();
    std::thread acceptor_;
};

}  // namespace pelacon::ipc
