// A connection over a SOCK_SEQPACKET socket, which preserves the boundaries of frames.
#pragma once

#include "BriefWait.h"
#include "Descriptor.h"

#include <IPCMessage/Transport.h>

#include <sys/socket.h>

#include <memory>

namespace pelacon::ipc {

class SocketConnection final : public Connection {
  public:
    /// Takes the connected socket, and reads from the kernel which process is at its other end.
    template <typename Open>
    explicit SocketConnection(const Open& open) : SocketConnection()
    {
        if (socket_.Take(open)) {
            IdentifyPeer();
        }
    }

    ~SocketConnection() override;

    bool IsOpen() const noexcept { return static_cast<bool>(socket_); }
    int Socket() const noexcept { return socket_.Get(); }

    /// To be called once a socket that was not connected yet is.
    void IdentifyPeer();
    uid_t PeerUser() const noexcept { return user_; }

    const Peer& GetPeer() const noexcept override { return peer_; }
    IoStatus Send(std::span<const std::uint8_t> frame) override;
    IoStatus Send(std::span<const std::uint8_t> frame, Deadline& deadline) override;
    IoStatus TrySend(std::span<const std::uint8_t> frame) override;
    IoResult Receive(std::span<std::uint8_t> room) override;
    IoResult Receive(std::span<std::uint8_t> room, Deadline& deadline) override;
    IoStatus ReceiveSome(FrameBatch& batch) override;
    bool IsConnected() noexcept override;
    void StopReceiving() noexcept override;
    void Shutdown() noexcept override;

  private:
    SocketConnection();

    IoResult ReceiveOnce(std::span<std::uint8_t> room, int flags) noexcept;
    IoResult ReceiveBounded(std::span<std::uint8_t> room) noexcept;
    IoResult ReceiveBriefly(std::span<std::uint8_t> room, const BriefWait::Turn& turn) noexcept;
    IoStatus Await(short events, Deadline& deadline) noexcept;
    bool BoundReceives() noexcept;
    void UnboundReceives() noexcept;

    struct BatchHeaders;

    Descriptor socket_;
    bool receivesBounded_ = false;
    BriefWait briefWait_;
    std::unique_ptr<BatchHeaders> batchHeaders_;
    uid_t user_ = static_cast<uid_t>(-1);
    Peer peer_;
};

/// A new unconnected socket, close-on-exec; -1 on failure.
int OpenSocket() noexcept;

}  // namespace pelacon::ipc
