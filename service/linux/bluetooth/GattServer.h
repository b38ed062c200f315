// The services of this machine and the devices that connect to it, as families see them.
#pragma once

#include <service/base/ObserverList.h>
#include <service/linux/bluetooth/Host.h>
#include <service/radio/GattServer.h>

#include <cstdint>
#include <memory>
#include <set>

namespace pelacon::service::linux_radios::bluetooth {

/// All servers have the same peers: what BlueZ shows is shown to every device.
class GattServer : public radio::GattServer {
  public:
    GattServer(const Host& host, const std::shared_ptr<Gate>& gate);
    ~GattServer() override;

    std::unique_ptr<radio::LocalGattServer> Open(radio::GattPeerObserver& observer) override;

  private:
    class Server;
    class Service;
    class PeerWatch;

    void PeerConnected(std::uint64_t peer);
    void PeerDisconnected(std::uint64_t peer);
    void PeerMtuChanged(std::uint64_t peer, std::int32_t mtu);

    const Host& host_;
    std::shared_ptr<Gate> gate_;
    ObserverList<Server> servers_;
    std::set<std::uint64_t> peers_;
    Upcalls<GattServer> upcalls_;
    std::unique_ptr<InLoop<PeerWatch>> watch_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
