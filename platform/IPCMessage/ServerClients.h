// The clients of a service: what ties the connections of each together.
#pragma once

#include <IPCMessage/IPCMessageServer.h>
#include <IPCMessage/Outbox.h>
#include <IPCMessage/Transport.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <unordered_map>

namespace pelacon::ipc {

/// Connections belong together if they bring the same token and the operating system says that the
/// same process of the same user opened them.
struct ClientKey {
    Token token{};
    std::uint32_t processId = 0;
    std::string user;

    bool operator<(const ClientKey& other) const
    {
        return std::tie(token, processId, user) <
               std::tie(other.token, other.processId, other.user);
    }
};

/// One client, as long as it has a connection.
class ServerClient {
  public:
    ServerClient(std::uint64_t id, ClientKey key) : id_(id), key_(std::move(key)) {}

    std::uint64_t Id() const noexcept { return id_; }
    const ClientKey& Key() const noexcept { return key_; }

    /// Takes the place of the client's event connection. One that is there already is ended, and
    /// its leave waited for. False if the server stops.
    bool Arrive(std::shared_ptr<Outbox> outbox);

    /// Notify finds nobody from now on.
    void BeginLeave();

    /// The place is free again.
    void EndLeave();

    /// The event connection's outbox, or null.
    std::shared_ptr<Outbox> GetOutbox() const;

    /// All that was sent before a frame of this order, on the event connection, has been dealt
    /// with.
    void Finish(std::uint64_t order);

    /// Waits until that is so. What got lost with its connection is not waited for. False if the
    /// server stops first.
    bool WaitFor(std::uint64_t order)
    {
        return order <= finished_.load(std::memory_order_acquire) || WaitLong(order);
    }

    /// Ends all waits.
    void Stop();

  private:
    friend class ServerClients;

    bool WaitLong(std::uint64_t order);

    const std::uint64_t id_;
    const ClientKey key_;
    std::size_t connections_ = 0;  // guarded by ServerClients

    std::atomic<std::uint64_t> finished_{0};  // written under the lock
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::shared_ptr<Outbox> outbox_;
    bool present_ = false;  // from Arrive to EndLeave
    bool stopped_ = false;
};

class ServerClients {
  public:
    /// One connection's share in its client.
    class Membership {
      public:
        Membership(ServerClients& clients, const ClientKey& key)
            : clients_(clients), client_(clients.Join(key))
        {}
        ~Membership() { clients_.Leave(client_); }
        Membership(const Membership&) = delete;
        Membership& operator=(const Membership&) = delete;

        ServerClient& operator*() const noexcept { return *client_; }
        ServerClient* operator->() const noexcept { return client_.get(); }

      private:
        ServerClients& clients_;
        const std::shared_ptr<ServerClient> client_;
    };

    /// The event connection's outbox of a client, or null.
    std::shared_ptr<Outbox> FindOutbox(std::uint64_t id, std::uint32_t& processId) const;

    void Stop();

  private:
    std::shared_ptr<ServerClient> Join(const ClientKey& key);
    void Leave(const std::shared_ptr<ServerClient>& client);

    mutable std::mutex mutex_;
    std::uint64_t lastId_ = 0;
    bool stopped_ = false;
    std::map<ClientKey, std::shared_ptr<ServerClient>> byKey_;
    std::unordered_map<std::uint64_t, std::shared_ptr<ServerClient>> byId_;
};

}  // namespace pelacon::ipc
