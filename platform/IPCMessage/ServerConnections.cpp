#include <IPCMessage/ServerConnections.h>
#include <os/Threads.h>

#include <new>
#include <system_error>
#include <utility>

namespace pelacon::ipc {

namespace {

/// How long no connection is accepted after memory ran out.
constexpr std::chrono::milliseconds kNoMemoryPause{50};

}  // namespace

ServerConnections::ServerConnections(std::unique_ptr<Listener> listener, ServerCounters& counters,
                                     Serve serve, Warn warn)
    : listener_(std::move(listener)),
      counters_(counters),
      serve_(std::move(serve)),
      warn_(std::move(warn)),
      limits_(listener_->MostConnections()),
      acceptor_([this] { AcceptAll(); })
{}

ServerConnections::~ServerConnections()
{
    listener_->Shutdown();
    acceptor_.join();
    listener_->Close();
    std::unique_lock lock(open_->mutex);
    for (const ServedConnection& served : open_->entries) {
        served.connection->StopReceiving();
    }
    const auto empty = [this] { return open_->entries.empty(); };
    if (!open_->emptied.wait_for(lock, kLastAnswers, empty)) {
        for (const ServedConnection& served : open_->entries) {
            served.connection->Shutdown();
        }
        open_->emptied.wait(lock, empty);
    }
}

void ServerConnections::Shutdown()
{
    const std::lock_guard lock(open_->mutex);
    for (const ServedConnection& served : open_->entries) {
        if (!served.apart) {
            served.connection->Shutdown();
        }
    }
}

void ServerConnections::SetApart(ServedConnection& served)
{
    const std::lock_guard lock(open_->mutex);
    served.apart = true;
}

void ServerConnections::AcceptAll()
{
    for (;;) {
        try {
            std::shared_ptr<Connection> connection = listener_->Accept();
            if (!connection) {
                return;
            }
            Take(std::move(connection));
        } catch (const std::bad_alloc&) {
            ReportNoMemory();
            std::this_thread::sleep_for(kNoMemoryPause);
        }
    }
}

void ServerConnections::Take(std::shared_ptr<Connection> connection)
{
    const Peer peer = connection->GetPeer();
    if (!listener_->HasRoom()) {
        return Refuse(peer, "the system has no file descriptor left");
    }
    if (!listener_->Admits(peer)) {
        return Refuse(peer, "this service does not serve it");
    }
    const ConnectionCounts counts = Count(peer);
    const ConnectionPlace place = limits_.PlaceFor(counts, peer.isOperator);
    if (place == ConnectionPlace::kNone) {
        return Refuse(peer, std::to_string(counts.all) + " connections are open, " +
                                std::to_string(counts.ofUser) + " of this user, " +
                                std::to_string(counts.ofProcess) + " of this process");
    }
    try {
        Start(std::move(connection), place);
    } catch (const std::system_error& failure) {
        Refuse(peer, failure.what());
    }
}

void ServerConnections::Start(std::shared_ptr<Connection> connection, ConnectionPlace place)
{
    const std::lock_guard lock(open_->mutex);
    const auto entry = open_->entries.emplace(open_->entries.end(), std::move(connection), place);
    try {
        os::StartDetachedThread([this, entry, open = open_] {
            try {
                serve_(*entry);
            } catch (const std::bad_alloc&) {
                ReportNoMemory();
            }
            Forget(*open, entry);
        });
    } catch (...) {
        open_->entries.erase(entry);
        throw;
    }
}

ConnectionCounts ServerConnections::Count(const Peer& peer) const
{
    const std::lock_guard lock(open_->mutex);
    ConnectionCounts counts{open_->entries.size()};
    for (const ServedConnection& served : open_->entries) {
        const Peer& other = served.connection->GetPeer();
        counts.ofUser += other.user == peer.user ? 1 : 0;
        counts.ofProcess += other.processId == peer.processId ? 1 : 0;
    }
    return counts;
}

void ServerConnections::Refuse(const Peer& peer, const std::string& reason) noexcept
{
    counters_.refusedPeers.fetch_add(1, std::memory_order_relaxed);
    try {
        Report("a connection of process " + std::to_string(peer.processId) + ", user " + peer.user +
               ", is turned away: " + reason);
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): it has been counted
    }
}

void ServerConnections::Report(const std::string& what) noexcept
{
    try {
        std::uint64_t suppressed = 0;
        {
            const std::lock_guard lock(reports_.mutex);
            const auto now = std::chrono::steady_clock::now();
            if (now < reports_.next) {
                ++reports_.suppressed;
                return;
            }
            reports_.next = now + kReportEvery;
            suppressed = std::exchange(reports_.suppressed, 0);
        }
        warn_(suppressed == 0
                  ? what
                  : what + "; " + std::to_string(suppressed) + " more since the last report");
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): no memory for it
    }
}

/// The destructor, if it waits, returns as soon as the lock is released.
void ServerConnections::Forget(Open& open, Entries::iterator entry)
{
    entry->connection->Shutdown();  // others may still hold it for a moment
    const std::lock_guard lock(open.mutex);
    open.entries.erase(entry);
    open.emptied.notify_all();
}

}  // namespace pelacon::ipc
