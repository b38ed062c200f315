// A connection whose other end does what the test wants.
#pragma once

#include <IPCMessage/Transport.h>
#include <tests/platform/IPCMessage/Fixture.h>

#include <atomic>

namespace pelacon::test {

/// Keeps what is sent. Has no room for the first frames; a blocking send waits at the gate.
class ScriptedConnection : public ipc::Connection {
  public:
    explicit ScriptedConnection(int framesWithoutRoom) : full(framesWithoutRoom) {}

    Gate waiting;
    Gate room;
    std::atomic<int> full;  ///< how many attempts find no room from now on
    Mailbox<ByteVector> sent;

    const ipc::Peer& GetPeer() const noexcept override { return peer_; }

    ipc::IoStatus Send(std::span<const std::uint8_t> frame) override
    {
        waiting.Open();
        room.Pass();
        sent.Put(ByteVector(frame.begin(), frame.end()));
        return ipc::IoStatus::kDone;
    }
    ipc::IoStatus Send(std::span<const std::uint8_t> frame, ipc::Deadline& /*deadline*/) override
    {
        return Send(frame);
    }
    ipc::IoStatus TrySend(std::span<const std::uint8_t> frame) override
    {
        if (full > 0) {
            --full;
            return ipc::IoStatus::kWouldBlock;
        }
        sent.Put(ByteVector(frame.begin(), frame.end()));
        return ipc::IoStatus::kDone;
    }

    ipc::IoResult Receive(std::span<std::uint8_t> /*room*/) override { return {}; }
    ipc::IoResult Receive(std::span<std::uint8_t> /*room*/, ipc::Deadline& /*deadline*/) override
    {
        return {};
    }
    ipc::IoStatus ReceiveSome(ipc::FrameBatch& /*batch*/) override { return ipc::IoStatus::kLost; }
    bool IsConnected() noexcept override { return true; }
    void StopReceiving() noexcept override {}
    void Shutdown() noexcept override { room.Open(); }

  private:
    ipc::Peer peer_;
};

}  // namespace pelacon::test
