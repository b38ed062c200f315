// The service's half of the channel.
#pragma once

#include <IPCMessage/TagIPCMessageItem.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Why a server could not be started: a sentence for people.
class IPCServerError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// How a request is answered. The kinds after kNoPayload are for fault injection.
enum class IPCReplyKind {
    kPayload,     ///< answered with the payload
    kNoPayload,   ///< answered without payload
    kNever,       ///< not answered at all
    kDisconnect,  ///< the connection is closed instead
    kMalformed,   ///< bytes that are not a frame are sent instead
};

struct IPCReply {
    IPCReplyKind kind = IPCReplyKind::kPayload;
    std::vector<std::uint8_t> payload;
};

/// One client program, identified by a token that all its connections carry.
struct IPCClientInfo {
    std::uint64_t id = 0;         ///< never used twice by one server
    std::uint32_t processId = 0;  ///< from the kernel
    bool returning = false;       ///< it was connected to a service before
};

/// The service's part of the channel. Called on the server's threads, on several at once; requests
/// of one client may be concurrent, like the threads that make them. std::bad_alloc closes the
/// connection that the call is about; anything else that it throws ends the process.
class IPCServerHandler {
  public:
    virtual ~IPCServerHandler() = default;

    /// The client's event connection is up. Notify reaches the client from the start of this call,
    /// so notifications that this function sends arrive first. Requests that the client makes while
    /// its event connection is up are handled after this returns.
    virtual void ClientArrived(const IPCClientInfo& client) = 0;

    /// The client's event connection is closed; the service drops everything it holds for the
    /// client. Further requests of this client are possible. It may arrive again, after this has
    /// returned, and has the same id then if one of its connections was left.
    virtual void ClientLeft(std::uint64_t clientId) = 0;

    /// Answers a request. May block: that delays only the thread that made the request.
    virtual IPCReply Request(std::uint64_t clientId, const TagIPCMessageItem& request) = 0;

    /// Handles a posted message. Requests that the client made after it are handled after this
    /// returns.
    virtual void Posted(std::uint64_t clientId, const TagIPCMessageItem& item) = 0;

    /// Answers a command of an operator (the service's own user, or root).
    virtual std::string Control(std::string_view command) = 0;

    /// Answers a command of a user who is no operator; nothing if only operators may send it.
    virtual std::optional<std::string> ControlOfAnyUser(std::string_view /*command*/)
    {
        return std::nullopt;
    }

    /// Called with a sentence for operators, such as why callers are turned away. The calls are
    /// rare and may begin before the server's constructor has returned. Must not block.
    virtual void Warn(std::string_view /*sentence*/) {}
};

/// What a server has counted since its start.
template <typename Count>
struct IPCServerCounts {
    Count clients{0};               ///< event connections now up
    Count callConnections{0};       ///< call connections now open
    Count requests{0};              ///< requests received
    Count repliesToNobody{0};       ///< replies whose caller had given up
    Count notifications{0};         ///< notifications sent or queued
    Count notificationsDropped{0};  ///< droppable ones that were dropped
    Count slowClients{0};           ///< event connections closed because of a full queue
    Count malformedFrames{0};       ///< connections closed because of an invalid frame
    Count refusedPeers{0};          ///< connections that were turned away
};

/// A service's way to its clients. Notify, IsConnected and GetStatistics may be called from inside
/// the handler and with locks of the caller held, the other functions with none.
class IPCServerTransport {
  public:
    /// Whether a notification may be dropped when its client is too slow.
    enum class Urgency {
        kDroppable,  ///< the oldest of these are dropped first, and counted (scan results)
        kKept,       ///< if these fill a client's queue, its event connection is closed
    };

    using Statistics = IPCServerCounts<std::uint64_t>;

    IPCServerTransport() = default;
    virtual ~IPCServerTransport() = default;
    IPCServerTransport(const IPCServerTransport&) = delete;
    IPCServerTransport& operator=(const IPCServerTransport&) = delete;

    /// Sends a notification to one client; false if the client has no event connection or the
    /// payload is larger than 65,536 bytes. Never blocks. Notifications to one client arrive in the
    /// order of these calls; within a NotificationBatch they may be sent later, and together.
    virtual bool Notify(std::uint64_t clientId, std::int32_t messageId,
                        std::span<const std::uint8_t> payload,
                        Urgency urgency = Urgency::kKept) = 0;

    /// Whether a client's event connection is up. A running call of Posted for this client delays
    /// ClientLeft; this function does not wait for it.
    virtual bool IsConnected(std::uint64_t clientId) const = 0;

    /// Closes the event connection of one client, as if the line had failed.
    virtual void Disconnect(std::uint64_t clientId) = 0;

    /// Closes every connection of every client, as the end of the service would, and goes on
    /// listening. Operators' connections stay, so that the command that asked for this is answered.
    virtual void DisconnectAll() = 0;

    /// Sends bytes that are not a frame on a client's event connection.
    virtual void SendMalformed(std::uint64_t clientId) = 0;

    virtual Statistics GetStatistics() const = 0;
};

/// Listens on a pipe and serves the clients that connect to it.
class IPCMessageServer : public IPCServerTransport {
  public:
    static constexpr std::size_t kQueueLimit = 1024;  ///< notifications queued for one client

    /// Starts to listen. Throws IPCServerError, for instance if another service has the pipe or its
    /// folder cannot be written. The handler must outlive the server.
    IPCMessageServer(const std::wstring& pipeName, IPCServerHandler& handler);

    /// Closes all connections and waits for the handler's running calls, so calls that block must
    /// have been made to end. Requests and commands whose calls end within half a second are
    /// answered before their connection is closed.
    ~IPCMessageServer() override;

    bool Notify(std::uint64_t clientId, std::int32_t messageId,
                std::span<const std::uint8_t> payload, Urgency urgency = Urgency::kKept) override;
    bool IsConnected(std::uint64_t clientId) const override;
    void Disconnect(std::uint64_t clientId) override;
    void DisconnectAll() override;
    void SendMalformed(std::uint64_t clientId) override;
    Statistics GetStatistics() const override;

    /// Where the server listens, as text for people: a socket's path or a pipe's name.
    const std::string& Address() const;

    /// A file that belongs to this server while it exists, for state that must survive it (ids that
    /// are never used twice).
    const std::string& StateFile() const;

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};
