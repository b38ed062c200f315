// The service and its pipe.
#pragma once

#include <IPCMessage/IPCMessageServer.h>
#include <service/base/Transport.h>
#include <service/core/Core.h>

#include <memory>
#include <string>

namespace pelacon::service {

/// Serves a pipe while it exists.
class PipeService : private Transport {
  public:
    /// Throws IPCServerError and IdError.
    PipeService(const std::wstring& pipeName, Settings settings);
    ~PipeService() override;
    PipeService(const PipeService&) = delete;
    PipeService& operator=(const PipeService&) = delete;

    /// Where it listens, as text for people.
    const std::string& Address() const { return server_->Address(); }

  private:
    bool Notify(std::uint64_t clientId, std::int32_t messageId,
                std::span<const std::uint8_t> payload, Urgency urgency) override;
    bool IsConnected(std::uint64_t clientId) const override
    {
        return server_->IsConnected(clientId);
    }
    void Disconnect(std::uint64_t clientId) override { server_->Disconnect(clientId); }
    void DisconnectAll() override { server_->DisconnectAll(); }
    void SendMalformed(std::uint64_t clientId) override { server_->SendMalformed(clientId); }
    Statistics GetStatistics() const override { return server_->GetStatistics(); }

    Core core_;
    std::unique_ptr<IPCMessageServer>
        server_;  // its threads use this pointer until its destructor has returned
};

}  // namespace pelacon::service
