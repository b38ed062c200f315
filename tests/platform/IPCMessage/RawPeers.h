// Peers that send and receive single frames, valid or not.
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

    /// The next frame; nothing when the connection is lost. Throws when nothing comes in time, or
    /// the bytes are no frame.
    std::optional<ipc::FrameHeader> Receive();

    /// The payload of the frame received last.
    ByteVector Payload() const;

    /// The header of the frame received last.
    const ipc::FrameHeader& Header() const { return header_; }

    /// Waits until the other end closes the connection; false when it does not.
    bool IsClosed();

  private:
    std::unique_ptr<ipc::Connection> connection_;
    ipc::FrameBuffer buffer_;
    ipc::FrameHeader header_;
};

/// A client's connection to the server.
class RawClient : public RawConnection {
  public:
    RawClient();

    /// Sends the greeting of a client. Connections with the same token belong to one client.
    bool Greet(ipc::FrameKind kind, std::uint8_t token = 1, std::uint64_t order = 0);
};

/// A service whose connections the test serves.
class RawService {
  public:
    RawService() : listener_(ipc::Listen(kPipe)) {}

    /// Waits for a connection with a greeting of that kind, and keeps all connections.
    void WaitFor(ipc::FrameKind kind);

    /// The next connection with a greeting of that kind; others are kept for later.
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
