// A connection from which nothing is received, for tests of what is sent.
#pragma once

#include <IPCMessage/Transport.h>

namespace pelacon::test {

/// What Send and TrySend do is left to the derived class.
class SendOnlyConnection : public ipc::Connection {
  public:
    using ipc::Connection::Send;

    const ipc::Peer& GetPeer() const noexcept override { return peer_; }
    ipc::IoStatus Send(std::span<const std::uint8_t> frame, ipc::Deadline& /*deadline*/) override
    {
        return Send(frame);
    }
    ipc::IoResult Receive(std::span<std::uint8_t> /*room*/) override { return {}; }
    ipc::IoResult Receive(std::span<std::uint8_t> /*room*/, ipc::Deadline& /*deadline*/) override
    {
        return {};
    }
    ipc::IoStatus ReceiveSome(ipc::FrameBatch& /*batch*/) override { return ipc::IoStatus::kLost; }
    bool IsConnected() noexcept override { return true; }
    void StopReceiving() noexcept override {}
    void Shutdown() noexcept override {}

  private:
    ipc::Peer peer_;
};

}  // namespace pelacon::test
