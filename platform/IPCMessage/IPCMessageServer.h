// The service's half of the channel.
#pragma once

#include <IPCMessage/TagIPCMessageItem.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Why a server could not be started, in a sentence for people.
class IPCServerError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What becomes of a request. The kinds behind kNoPayload are for provoking faults.
enum class IPCReplyKind {
    kPayload,     ///< answered with the payload
    kNoPayload,   ///< answered, but with nothing
    kNever,       ///< not answered at all
    kDisconnect,  ///< the connection is closed instead
    kMalformed,   ///< bytes that are no frame are sent instead
};

struct IPCReply {
    IPCReplyKind kind = IPCReplyKind::kPayload;
    std::vector<std::uint8_t> payload;
};

/// One client program, known by a token that all its connections carry.
struct IPCClientInfo {
    std::uint64_t id = 0;         ///< never given twice by one server
    std::uint32_t processId = 0;  ///< as the kernel reports it
    bool returning = false;       ///< it was connected to a service before
};

/// What the service does with what clients send. Called on the server's threads, several at once;
/// one client's requests may come concurrently, as its threads make them. std::bad_alloc closes the
/// connection that the call is about; anything else that it throws ends the process.
class IPCServerHandler {
  public:
    virtual ~IPCServerHandler() = default;

    /// The client's event connection is up. From the moment of this call Notify reaches the client,
    /// so what is sent from inside it comes first. Requests that the client makes over a connection
    /// that is up come after this returns.
    virtual void ClientArrived(const IPCClientInfo& client) = 0;

    /// The client's event connection is gone, and with it everything the service holds for it.
    /// Requests of the same client may still come, and it may arrive again, with the same id as
    /// long as one of its connections is left; that is told after this returns.
    virtual void ClientLeft(std::uint64_t clientId) = 0;

    /// Answers a request. May block for as long as it likes: it holds up nobody but its caller.
    virtual IPCReply Request(std::uint64_t clientId, const TagIPCMessageItem& request) = 0;

    /// Takes a posted message. Requests that the client made after it come after this returns.
    virtual void Posted(std::uint64_t clientId, const TagIPCMessageItem& item) = 0;

    /// Answers a command of an operator (the service's own user, or root).
    virtual std::string Control(std::string_view command) = 0;

    /// Takes a sentence that operators should read, such as why callers are turned away. Called
    /// rarely, and possibly before the server's constructor has returned. Must not block.
    virtual void Warn(std::string_view /*sentence*/) {}
};

/// Listens on a pipe and serves the clients that connect to it.
class IPCMessageServer {
  public:
    /// Whether a notification may be dropped when its client does not keep up.
    enum class Urgency {
        kDroppable,  ///< the oldest of these make room, and are counted (scan results)
        kKept,       ///< a client that lets these fill its queue loses its event connection
    };

    struct Statistics {
        std::uint64_t clients = 0;               ///< event connections now up
        std::uint64_t callConnections = 0;       ///< call connections now open
        std::uint64_t requests = 0;              ///< requests received
        std::uint64_t repliesToNobody = 0;       ///< replies whose caller was gone
        std::uint64_t notifications = 0;         ///< notifications sent or queued
        std::uint64_t notificationsDropped = 0;  ///< droppable ones that made room
        std::uint64_t slowClients = 0;      ///< event connections closed because of a full queue
        std::uint64_t malformedFrames = 0;  ///< connections closed because of what they sent
        std::uint64_t refusedPeers = 0;     ///< connections that were turned away
    };

    static constexpr std::size_t kQueueLimit = 1024;  ///< notifications queued for one client

    /// Starts to listen. Throws IPCServerError: the pipe is taken by another service, its folder
    /// cannot be written, its name is too long. The handler outlives the server.
    IPCMessageServer(const std::wstring& pipeName, IPCServerHandler& handler);

    /// Closes all connections and waits for the handler's running calls; ones that block must have
    /// been told to end. Requests and commands whose calls end within half a second are
    /// answered before their connection closes.
    ~IPCMessageServer();

    IPCMessageServer(const IPCMessageServer&) = delete;
    IPCMessageServer& operator=(const IPCMessageServer&) = delete;

    /// Sends a notification to one client; false when it has no event connection, or the payload is
    /// larger than a frame takes (65,536 bytes). Never blocks.
    /// Notifications to one client arrive in the order of these calls. May be called from inside
    /// the handler, and with the caller's own locks held.
    bool Notify(std::uint64_t clientId, std::int32_t messageId,
                std::span<const std::uint8_t> payload, Urgency urgency = Urgency::kKept);

    /// Whether a client's event connection is up, also while the handler has a call of that client
    /// and cannot be called with ClientLeft.
    bool IsConnected(std::uint64_t clientId) const;

    /// Closes the event connection of one client, as if the line had failed.
    void Disconnect(std::uint64_t clientId);

    /// Closes every connection of a client, as a service that dies does, and goes on listening.
    /// Operators' connections stay, so that the command that asked for this is answered.
    void DisconnectAll();

    /// Sends bytes that are no frame on a client's event connection.
    void SendMalformed(std::uint64_t clientId);

    Statistics GetStatistics() const;

    /// Where the server listens, for people: a socket's path or a pipe's name.
    const std::string& Address() const;

    /// A file beside the pipe that belongs to this server as long as it lives, for what must
    /// outlast it (ids that are never given twice).
    const std::string& StateFile() const;

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};
