// The port: what the channel needs of an operating system. Everything above it is written once;
// everything below it lies in the platform's folder.
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
#include <vector>

namespace pelacon::ipc {

enum class IoStatus {
    kDone,
    kTimeout,     ///< the deadline came first
    kWouldBlock,  ///< TrySend only: there is no room now
    kLost,        ///< the other end is gone, or Shutdown was called
};

struct IoResult {
    IoStatus status = IoStatus::kLost;
    std::size_t size = 0;
};

/// Who is at the other end, as the operating system vouches for.
struct Peer {
    std::uint32_t processId = 0;
    std::string user;         ///< equal for two connections of one user, and only then
    bool isOperator = false;  ///< this process's own user, or the system's administrator
};

/// Frames that are received in one go.
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

    /// Sends a frame, waiting for room until the deadline. Nothing was sent unless it is kDone.
    virtual IoStatus Send(std::span<const std::uint8_t> frame, Deadline& deadline) = 0;

    /// Sends a frame if that takes no waiting. May always say kWouldBlock.
    virtual IoStatus TrySend(std::span<const std::uint8_t> frame) = 0;

    /// Receives a frame. A frame larger than the room (kMaxFrame bytes) is reported with a size
    /// larger than that, and its bytes are not to be looked at.
    virtual IoResult Receive(std::span<std::uint8_t> room) = 0;
    virtual IoResult Receive(std::span<std::uint8_t> room, Deadline& deadline) = 0;

    /// Receives at least one frame, and those that wait already, as far as the batch goes.
    virtual IoStatus ReceiveSome(FrameBatch& batch) = 0;

    /// Whether the other end is still there, as far as shows without receiving. Any thread may ask.
    virtual bool IsConnected() noexcept = 0;

    /// Ends receiving only: whoever receives finds the connection lost, at the latest behind what
    /// had come before. Sending goes on.
    virtual void StopReceiving() noexcept = 0;

    /// Ends the connection for both ends and wakes whoever waits in it; later calls find it lost.
    virtual void Shutdown() noexcept = 0;
};

/// Where the services that go by a pipe name may listen, best first; none if the name is unusable.
using PipePlaces = std::vector<std::string>;
PipePlaces FindPipePlaces(const std::wstring& pipeName);

enum class ConnectStatus {
    kConnected,
    kNoService,
    kBusy,       ///< a service is there but did not take the connection in time
    kUntrusted,  ///< what listens there runs as a user that this process does not trust
    kForbidden,  ///< this user may not connect to what is there
};

struct ConnectResult {
    ConnectStatus status = ConnectStatus::kNoService;
    std::unique_ptr<Connection> connection;
};

/// Connects to the first place where a trusted service listens: one try, that waits for a busy pipe
/// until the deadline (one of no time: not at all) or until `cancelled` becomes true.
ConnectResult Connect(const PipePlaces& places, Deadline& deadline,
                      const std::atomic<bool>& cancelled);

/// The service's end of a pipe name, held by one process at a time.
class Listener {
  public:
    Listener() = default;
    virtual ~Listener() = default;
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// Waits for a connection; null after Shutdown.
    virtual std::unique_ptr<Connection> Accept() = 0;

    /// Whether this peer may be served at all.
    virtual bool Admits(const Peer& peer) const = 0;

    /// How many connections the system lets this process have.
    virtual std::size_t MostConnections() const noexcept = 0;

    /// Whether the connection accepted last may stay. False: it took the means that are kept for
    /// turning callers away, and is to be closed before the next call of Accept.
    virtual bool HasRoom() = 0;

    /// Makes Accept return null, now and later.
    virtual void Shutdown() noexcept = 0;

    /// Turns away whoever comes from now on; the name stays taken. Not beside Accept. On Windows a
    /// pipe is busy, to those who come, as long as anybody is connected.
    virtual void Close() noexcept = 0;

    virtual const std::string& Address() const noexcept = 0;
    virtual const std::string& StateFile() const noexcept = 0;
};

/// Takes a sentence that operators should read.
using Warn = std::function<void(std::string_view sentence)>;

/// `warn` is called from inside Accept. Throws IPCServerError.
std::unique_ptr<Listener> Listen(const std::wstring& pipeName, Warn warn = {});

/// Fills the token from the system's source of randomness.
Token DrawToken();

/// Differs between a process and the children that fork made of it. One relaxed load.
std::uint64_t ForkGeneration() noexcept;

}  // namespace pelacon::ipc
