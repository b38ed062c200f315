// The simulated GATT server of this machine, which other programs can connect to.
#pragma once

#include <service/base/ObserverList.h>
#include <service/radio/GattServer.h>
#include <service/simulation/Adapter.h>
#include <service/simulation/GattLink.h>
#include <service/simulation/Stack.h>

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace pelacon::service::simulation {

/// The device with the adapter's own address. Accepts connections while at least one service is
/// shown; connections end with the last server. Each connection is a separate peer with a separate
/// address.
class GattServer : public radio::GattServer, public GattDevice {
  public:
    GattServer(Scheduler& scheduler, Stack& stack, Adapter& adapter, const GattLinkConfig& config)
        : scheduler_(scheduler), stack_(stack), adapter_(adapter), config_(config)
    {}

    std::unique_ptr<radio::LocalGattServer> Open(radio::GattPeerObserver& observer) override;

    const GattLinkConfig& Config() const override { return config_; }
    radio::GattReason Join(GattLink& link) override;
    void Leave(GattLink& link) override;
    bool HasService(const radio::Uuid& service) const override;
    std::optional<std::int32_t> FlagsOf(const radio::Uuid& service,
                                        const radio::Uuid& characteristic) override;
    radio::GattValue Read(GattLink& link, const radio::Uuid& service,
                          const radio::Uuid& characteristic) override;
    void Write(GattLink& link, const radio::Uuid& service, const radio::Uuid& characteristic,
               radio::GattValue value) override;
    void Subscribe(GattLink& link, const radio::Uuid& service, const radio::Uuid& characteristic,
                   bool enable) override;

  private:
    class Server;
    class Service;

    /// A characteristic's position in a service; the service is null if it was not found.
    struct Place {
        Service* service = nullptr;
        std::size_t characteristic = 0;
    };

    Service* FindService(const radio::Uuid& service) const;
    Place Find(const radio::Uuid& service, const radio::Uuid& characteristic) const;
    GattLink* LinkOf(std::uint64_t peer) const;
    std::uint64_t PeerOf(GattLink& link) const { return peers_.at(&link); }
    void Close(Server& server);

    Scheduler& scheduler_;
    Stack& stack_;
    Adapter& adapter_;
    GattLinkConfig config_;
    ObserverList<Server> servers_;
    std::vector<Service*> services_;  // the shown ones, oldest first
    std::vector<GattLink*> links_;
    std::map<const GattLink*, std::uint64_t> peers_;
    std::uint64_t lastPeer_ = 0xF00000000000;  // a random static address, as peers have them
};

}  // namespace pelacon::service::simulation
