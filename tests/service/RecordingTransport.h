// A transport that records what is sent.
#pragma once

#include <service/base/Transport.h>
#include <service/core/Wire.h>

#include <cstdint>
#include <vector>

namespace pelacon::service::tests {

/// Keeps what is sent. Used by one thread at a time.
class RecordingTransport : public Transport {
  public:
    struct Sent {
        std::uint64_t clientId;
        std::int32_t messageId;
        Bytes payload;
        Urgency urgency;
    };

    bool Notify(std::uint64_t clientId, std::int32_t messageId,
                std::span<const std::uint8_t> payload, Urgency urgency) override
    {
        sent.push_back({clientId, messageId, {payload.begin(), payload.end()}, urgency});
        return true;
    }
    bool IsConnected(std::uint64_t /*clientId*/) const override { return true; }
    void Disconnect(std::uint64_t clientId) override { disconnected.push_back(clientId); }
    void DisconnectAll() override {}
    void SendMalformed(std::uint64_t /*clientId*/) override {}
    Statistics GetStatistics() const override { return {}; }

    std::vector<Sent> sent;
    std::vector<std::uint64_t> disconnected;
};

}  // namespace pelacon::service::tests
