// A service without a pipe, for fuzz targets.
#pragma once

#include <service/core/Core.h>
#include <tests/support/TemporaryFolder.h>

#include <cstdint>

namespace pelacon::fuzz {

/// A transport to clients that are always there.
class AnyTransport : public service::Transport {
  public:
    bool Notify(std::uint64_t clientId, std::int32_t messageId,
                std::span<const std::uint8_t> payload, Urgency urgency) override;
    bool IsConnected(std::uint64_t /*clientId*/) const override { return true; }
    void Disconnect(std::uint64_t /*clientId*/) override {}
    void DisconnectAll() override {}
    void SendMalformed(std::uint64_t /*clientId*/) override {}
    Statistics GetStatistics() const override { return {}; }
};

/// The built-in world, whose radios take no time. Clients 1 and 2 are connected.
class WholeService {
  public:
    WholeService();
    ~WholeService() { core.Stop(); }

    /// The service of this process, restarted, so that nothing is left of the input before.
    static WholeService& Restarted();

    WholeService(const WholeService&) = delete;
    WholeService& operator=(const WholeService&) = delete;

  private:
    test::TemporaryFolder folder_;
    AnyTransport transport_;

  public:
    service::Core core;
};

}  // namespace pelacon::fuzz
