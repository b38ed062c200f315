#include <IPCMessage/ServerConnections.h>
#include <os/Threads.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace pelacon::ipc {

ServerConnections::ServerConnections(std::unique_ptr<Listener> listener, ServerCounters& counters,
                                     Serve serve)
    : listener_(std::move(listener)),
      counters_(counters),
      serve_(std::move(serve)),
      acceptor_([this] { AcceptAll(); })
{}

ServerConnections::~ServerConnections()
{
    listener_->Shutdown();
    acceptor_.join();
    std::unique_lock lock(mutex_);
    for (const ServedConnection& served : entries_) {
        served.connection->StopReceiving();
    }
    const auto empty = [this] { return entries_.empty(); };
    if (!emptied_.wait_for(lock, kLastAnswers, empty)) {
        for (const ServedConnection& served : entries_) {
            served.connection->Shutdown();
        }
        emptied_.wait(lock, empty);
    }
}

void ServerConnections::Shutdown()
{
    const std::lock_guard lock(mutex_);
    for (const ServedConnection& served : entries_) {
        if (!served.apart) {
            served.connection->Shutdown();
        }
    }
}

void ServerConnections::SetApart(ServedConnection& served)
{
    const std::lock_guard lock(mutex_);
    served.apart = true;
}

void ServerConnections::AcceptAll()
{
    while (std::shared_ptr<Connection> connection = listener_->Accept()) {
        Take(std::move(connection));
    }
}

void ServerConnections::Take(std::shared_ptr<Connection> connection)
{
    const std::lock_guard lock(mutex_);
    if (!listener_->Admits(connection->GetPeer()) || !HasRoomFor(connection->GetPeer())) {
        counters_.refusedPeers.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    const auto entry = entries_.emplace(entries_.end(), std::move(connection));
    try {
        os::StartDetachedThread([this, entry] { Run(entry); });
    } catch (const std::system_error&) {
        entries_.erase(entry);
    }
}

bool ServerConnections::HasRoomFor(const Peer& peer) const
{
    std::size_t ofUser = 0;
    std::size_t ofProcess = 0;
    for (const ServedConnection& served : entries_) {
        const Peer& other = served.connection->GetPeer();
        ofUser += other.user == peer.user ? 1 : 0;
        ofProcess += other.processId == peer.processId ? 1 : 0;
    }
    return entries_.size() < kLimit && ofUser < kLimitPerUser && ofProcess < kLimitPerProcess;
}

void ServerConnections::Run(Entries::iterator entry)
{
    serve_(*entry);
    entry->connection->Shutdown();  // others may still hold it for a moment
    // Whoever waits in the destructor may go on as soon as the lock is released.
    const std::lock_guard lock(mutex_);
    entries_.erase(entry);
    emptied_.notify_all();
}

}  // namespace pelacon::ipc
