// A connection whose other end does what the test wants.
#pragma once

#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/support/SendOnlyConnection.h>

#include <atomic>

namespace pelacon::test {

/// Keeps what is sent. Has no room for the first frames; a blocking send waits at the gate.
class ScriptedConnection : public SendOnlyConnection {
  public:
    explicit ScriptedConnection(int framesWithoutRoom) : full(framesWithoutRoom) {}

    Gate waiting;
    Gate room;
    std::atomic<int> full;  ///< how many attempts find no room from now on
    Mailbox<ByteVector> sent;

    using SendOnlyConnection::Send;
    ipc::IoStatus Send(std::span<const std::uint8_t> frame) override
    {
        waiting.Open();
        room.Pass();
        sent.Put(ByteVector(frame.begin(), frame.end()));
        return ipc::IoStatus::kDone;
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

    void Shutdown() noexcept override { room.Open(); }
};

}  // namespace pelacon::test
