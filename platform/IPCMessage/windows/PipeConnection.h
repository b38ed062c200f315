// A connection over a named pipe in message mode: each frame is one message.
#pragma once

#include <IPCMessage/Transport.h>
#include <os/windows/Handle.h>

#include <windows.h>

#include <mutex>

namespace pelacon::ipc {

/// Which end of a pipe a handle is. The two ends find their peer by different calls.
enum class PipeEnd { kClient, kServer };

class PipeConnection final : public Connection {
  public:
    /// Takes an open pipe in overlapped and message mode and finds its peer.
    PipeConnection(os::OwnedHandle pipe, PipeEnd end);

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
    class Use;

    /// Sending, or receiving.
    struct Direction {
        void End() noexcept
        {
            ended = true;
            SetEvent(end.get());
        }

        os::OwnedHandle done{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
        os::OwnedHandle end{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
        OVERLAPPED overlapped{};  // of the running transfer
        bool ended = false;
    };

    IoStatus SendFor(std::span<const std::uint8_t> frame, Deadline* deadline);
    IoResult ReceiveFor(std::span<std::uint8_t> room, Deadline* deadline);
    IoResult Finish(Direction& direction, BOOL begun, Deadline* deadline);
    IoResult Outcome(Direction& direction) noexcept;

    std::mutex mutex_;  // guards the closing of pipe_, uses_ and the directions' `ended`
    os::OwnedHandle pipe_;
    int uses_ = 0;
    Direction sending_;
    Direction receiving_;
    Peer peer_;
};

}  // namespace pelacon::ipc
