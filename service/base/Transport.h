// The core's way to its clients.
#pragma once

#include <IPCMessage/IPCMessageServer.h>
#include <service/base/Interface.h>

#include <cstdint>
#include <span>

namespace pelacon::service {

/// Implemented by PipeService, and by tests. Notify, IsConnected and GetStatistics may be called
/// with any lock held, the other members with none.
class Transport : public Interface {
  public:
    using Urgency = IPCMessageServer::Urgency;
    using Statistics = IPCMessageServer::Statistics;

    virtual bool Notify(std::uint64_t clientId, std::int32_t messageId,
                        std::span<const std::uint8_t> payload, Urgency urgency) = 0;
    virtual bool IsConnected(std::uint64_t clientId) const = 0;
    virtual void Disconnect(std::uint64_t clientId) = 0;
    virtual void DisconnectAll() = 0;
    virtual void SendMalformed(std::uint64_t clientId) = 0;
    virtual Statistics GetStatistics() const = 0;
};

}  // namespace pelacon::service
