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
    while (std::shared_ptr<Connection> connection = listener_->Accept()) {
        Take(std::move(connection));
    }
}

void ServerConnections::Take(std::shared_ptr<Connection> connection)
{
    const std::lock_guard lock(open_->mutex);
    if (!listener_->Admits(connection->GetPeer()) || !HasRoomFor(connection->GetPeer())) {
        counters_.refusedPeers.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    const auto entry = open_->entries.emplace(open_->entries.end(), std::move(connection));
    try {
        os::StartDetachedThread([this, entry, open = open_] {
            serve_(*entry);
            Forget(*open, entry);
        });
    } catch (const std::system_error&) {
        open_->entries.erase(entry);
    }
}

bool ServerConnections::HasRoomFor(const Peer& peer) const
{
    std::size_t ofUser = 0;
    std::size_t ofProcess = 0;
    for (const ServedConnection& served : open_->entries) {
        const Peer& other = served.connection->GetPeer();
        ofUser += other.user == peer.user ? 1 : 0;
        ofProcess += other.processId == peer.processId ? 1 : 0;
    }
    return open_->entries.size() < kLimit && ofUser < kLimitPerUser && ofProcess < kLimitPerProcess;
}

/// Whoever waits in the destructor may go on as soon as the lock is released.
void ServerConnections::Forget(Open& open, Entries::iterator entry)
{
    entry->connection->Shutdown();  // others may still hold it for a moment
    const std::lock_guard lock(open.mutex);
    open.entries.erase(entry);
    open.emptied.notify_all();
}

}  // namespace pelacon::ipc
