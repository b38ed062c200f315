// The clients of a service. A client has several connections.
#pragma once

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

/// Connections belong to one client if they have the same token and, according to the operating
/// system, the same process of the same user opened them.
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

/// One client. Exists as long as it has a connection.
class ServerClient {
  public:
    ServerClient(std::uint64_t id, ClientKey key) : id_(id), key_(std::move(key)) {}

    std::uint64_t Id() const noexcept { return id_; }
    const ClientKey& Key() const noexcept { return key_; }

    /// Becomes the client's event connection. Closes an earlier one and waits until its leave has
    /// ended. False if the server stops.
    bool Arrive(std::shared_ptr<Outbox> outbox);

    /// Notify returns false from now on.
    void BeginLeave();

    /// Another event connection may arrive.
    void EndLeave();

    /// The event connection's outbox, or null.
    std::shared_ptr<Outbox> GetOutbox() const;

    /// Everything that was sent on the event connection before a frame of this order has been
    /// handled.
    void Finish(std::uint64_t order);

    /// Waits until everything sent before this order has been handled or was lost with its
    /// connection. False if the server stops first.
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
    /// Keeps a connection's client in existence.
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
    std::shared_ptr<Outbox> FindOutbox(std::uint64_t id) const;

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
