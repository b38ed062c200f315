// This machine as a GATT server: what one program serves, the others can read.
#pragma once

#include <service/radio/GattServer.h>
#include <service/simulation/Adapter.h>
#include <service/simulation/GattLink.h>

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace pelacon::service::simulation {

/// The device under the adapter's own address. It can be connected to while at least one service is
/// shown, and a connection lasts as long as there is a server. Each connection is a peer of its
/// own, with an address of its own.
class GattServer : public radio::GattServer, public GattDevice {
  public:
    GattServer(Adapter& adapter, const GattLinkConfig& config) : adapter_(adapter), config_(config)
    {}

    std::unique_ptr<radio::LocalGattServer> Open(radio::GattPeerObserver& observer) override;

    const GattLinkConfig& Config() const override { return config_; }
    radio::GattReason Join(GattLink& link) override;
    void Leave(GattLink& link) override;
    bool HasService(const radio::Uuid& service) const override;
    ReadResult Read(GattLink& link, const radio::Uuid& service,
                    const radio::Uuid& characteristic) override;
    radio::GattStatus Write(GattLink& link, const radio::Uuid& service,
                            const radio::Uuid& characteristic, radio::GattValue value) override;
    radio::GattStatus Subscribe(GattLink& link, const radio::Uuid& service,
                                const radio::Uuid& characteristic, bool enable) override;

  private:
    class Server;
    class Service;

    /// A place in a service; no service where there is no such place.
    struct Place {
        Service* service = nullptr;
        std::size_t characteristic = 0;
    };

    Service* FindService(const radio::Uuid& service) const;
    Place Find(const radio::Uuid& service, const radio::Uuid& characteristic) const;
    GattLink* LinkOf(std::uint64_t peer) const;
    std::uint64_t PeerOf(GattLink& link) const { return peers_.at(&link); }
    void Close(const Server& server);

    Adapter& adapter_;
    GattLinkConfig config_;
    std::vector<Server*> servers_;
    std::vector<Service*> services_;  // those that are shown, the eldest first
    std::vector<GattLink*> links_;
    std::map<const GattLink*, std::uint64_t> peers_;
    std::uint64_t lastPeer_ = 0xF00000000000;  // a random static address, as peers have them
};

}  // namespace pelacon::service::simulation
