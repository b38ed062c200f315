// The two ends of a pipe as bare frames: peers that keep to no rule.
#pragma once

#include <IPCMessage/Transport.h>
#include <tests/platform/IPCMessage/Fixture.h>

#include <atomic>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace pelacon::test {

/// The bytes of a frame.
ByteVector MakeFrame(const ipc::FrameHeader& header, const ByteVector& payload = {},
                     std::string_view name = {});

/// One end of a connection.
class RawConnection {
  public:
    RawConnection() = default;
    explicit RawConnection(std::unique_ptr<ipc::Connection> connection)
        : connection_(std::move(connection))
    {}

    bool IsOpen() const { return connection_ != nullptr; }
    ipc::Connection& Get() { return *connection_; }

    /// False when the connection is lost.
    bool SendBytes(const ByteVector& bytes);
    bool Send(const ipc::FrameHeader& header, const ByteVector& payload = {});

    /// The next frame; nothing when the connection is lost. Throws when nothing comes for long, or
    /// what comes is no frame.
    std::optional<ipc::FrameHeader> Receive();

    /// The payload of the frame received last.
    ByteVector Payload() const;

    /// Whether the other end closes the connection, whatever it sends before.
    bool IsClosed();

  private:
    std::unique_ptr<ipc::Connection> connection_;
    ipc::FrameBuffer buffer_;
    ipc::FrameHeader header_;
};

/// A connection to the server, as a client's.
class RawClient : public RawConnection {
  public:
    RawClient();

    /// Opens a client's connection. Those with the same token are one client's.
    bool Greet(ipc::FrameKind kind, std::uint8_t token = 1, std::uint64_t order = 0);
};

/// A service that hands out the connections that clients make.
class RawService {
  public:
    RawService() : listener_(ipc::Listen(kPipe)) {}

    /// Waits for a connection with a greeting of that kind, and keeps all that come.
    void WaitFor(ipc::FrameKind kind);

    /// The next connection with its greeting read, of that kind: others are kept for later.
    std::unique_ptr<RawConnection> Accept(ipc::FrameKind kind);

    /// The next event connection, welcomed.
    std::unique_ptr<RawConnection> AcceptEvents();

  private:
    using Waiting = std::vector<std::pair<ipc::FrameKind, std::unique_ptr<RawConnection>>>;

    Waiting::iterator Find(ipc::FrameKind kind);

    std::unique_ptr<ipc::Listener> listener_;
    Waiting waiting_;
};

}  // namespace pelacon::test
