// The way to the clients, as the service sees it.
#pragma once

#include <IPCMessage/IPCMessageServer.h>
#include <service/base/Interface.h>

#include <cstdint>
#include <span>

namespace pelacon::service {

/// What the core needs of the channel's server half. The pipe is one; tests have another. Notify,
/// IsConnected and GetStatistics may be called under any lock, the rest with none held.
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
