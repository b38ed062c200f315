// What the channel needs of an operating system. Everything above this interface is portable;
// its implementations are in linux/ and windows/.
#pragma once

#include <IPCMessage/Deadline.h>
#include <IPCMessage/Frame.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace pelacon::ipc {

enum class IoStatus {
    kDone,
    kTimeout,     ///< the deadline came first
    kWouldBlock,  ///< TrySend only: there is no room now
    kLost,        ///< the other end was closed, or Shutdown was called
};

struct IoResult {
    IoStatus status = IoStatus::kLost;
    std::size_t size = 0;
};

/// The process at the other end, according to the operating system.
struct Peer {
    std::uint32_t processId = 0;
    /// Equal for two connections whose user is the same, and different otherwise, except for users
    /// whom this process's system cannot tell apart.
    std::string user;
    bool isOperator = false;  ///< this process's own user, or the system's administrator
};

/// Frames that are received by one call.
struct FrameBatch {
    static constexpr std::size_t kFrames = 32;

    std::span<std::uint8_t> Room(std::size_t index) const noexcept { return frames[index].Room(); }

    std::array<FrameBuffer, kFrames> frames;
    std::array<std::size_t, kFrames> sizes{};
    std::size_t count = 0;
};

/// A connected pipe that carries whole frames, both ways. One thread may send while another
/// receives, but no two may send or receive at once; StopReceiving and Shutdown may come from any
/// thread at any time. In a child process made by fork, a connection of the parent's is lost and
/// all else is left alone.
class Connection {
  public:
    Connection() = default;
    virtual ~Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    virtual const Peer& GetPeer() const noexcept = 0;

    /// Sends a frame, waiting for room.
    virtual IoStatus Send(std::span<const std::uint8_t> frame) = 0;

    /// Sends a frame, waiting for room until the deadline. Nothing was sent unless this returns
    /// kDone.
    virtual IoStatus Send(std::span<const std::uint8_t> frame, Deadline& deadline) = 0;

    /// Sends a frame unless that would wait. May return kWouldBlock at any time.
    virtual IoStatus TrySend(std::span<const std::uint8_t> frame) = 0;

    /// Receives a frame. For a frame that is larger than the room (kMaxFrame bytes) the result's
    /// size is larger than the room, and the bytes in it are undefined.
    virtual IoResult Receive(std::span<std::uint8_t> room) = 0;
    virtual IoResult Receive(std::span<std::uint8_t> room, Deadline& deadline) = 0;

    /// Receives at least one frame, and further ones that have arrived already if the batch has
    /// room.
    virtual IoStatus ReceiveSome(FrameBatch& batch) = 0;

    /// Whether the other end is open, as far as this shows without receiving. Any thread may call
    /// it.
    virtual bool IsConnected() noexcept = 0;

    /// Ends receiving only: calls that receive return kLost, at the latest after the frames that
    /// had arrived before. Sending is still possible.
    virtual void StopReceiving() noexcept = 0;

    /// Closes the connection for both ends. Calls that wait, and later ones, return kLost.
    virtual void Shutdown() noexcept = 0;
};

/// Where services with this pipe name may listen, in the order in which to try; none if the name
/// cannot be used.
using PipePlaces = std::vector<std::string>;
PipePlaces FindPipePlaces(const std::wstring& pipeName);

enum class ConnectStatus {
    kConnected,
    kNoService,
    kBusy,       ///< a service is there but did not take the connection in time
    kUntrusted,  ///< the process that listens there runs as a user that this process does not trust
    kForbidden,  ///< this user may not connect to the service
};

/// The end of an attempt to connect.
struct ConnectResult {
    ConnectStatus status = ConnectStatus::kNoService;
    std::unique_ptr<Connection> connection = {};
    std::string place = {};       ///< where the status was found
    std::error_code reason = {};  ///< what the system said, if it refused
    Peer peer = {};               ///< who listens there, unless the system refused
};

/// Makes one attempt at one place, as Connect does.
ConnectResult ConnectTo(const std::string& place, Deadline& deadline,
                        const std::atomic<bool>& cancelled);

/// Connects to the first place where a trusted service listens. Makes one attempt, and waits for a
/// busy pipe until the deadline, or until `cancelled` becomes true.
ConnectResult Connect(const PipePlaces& places, Deadline& deadline,
                      const std::atomic<bool>& cancelled);

/// The service's end of a pipe name. Only one process has it at a time.
class Listener {
  public:
    Listener() = default;
    virtual ~Listener() = default;
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// Waits for a connection; null after Shutdown.
    virtual std::unique_ptr<Connection> Accept() = 0;

    /// Whether this service may serve the peer.
    virtual bool Admits(const Peer& peer) const = 0;

    /// How many connections the system allows this process.
    virtual std::size_t MostConnections() const noexcept = 0;

    /// Whether the connection accepted last may stay open. If not, it uses the file descriptor that
    /// is reserved for turning callers away, and must be closed before the next call of Accept.
    virtual bool HasRoom() = 0;

    /// Makes Accept return null, now and later.
    virtual void Shutdown() noexcept = 0;

    /// Turns all later callers away; the name stays taken. Must not be called during Accept. On
    /// Windows, callers find the pipe busy as long as another connection is open.
    virtual void Close() noexcept = 0;

    virtual const std::string& Address() const noexcept = 0;
    virtual const std::string& StateFile() const noexcept = 0;
};

/// Called with a sentence for operators.
using Warn = std::function<void(std::string_view sentence)>;

/// `warn` is called from inside Accept. Throws IPCServerError.
std::unique_ptr<Listener> Listen(const std::wstring& pipeName, Warn warn = {});

/// A token of random bytes from the operating system.
Token DrawToken();

}  // namespace pelacon::ipc
