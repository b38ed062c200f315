// The radio as other devices connect to it and work with the services that it shows.
#pragma once

#include <service/radio/Gatt.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace pelacon::service::radio {

/// Has a service's values, and hears what peers do with them. Characteristics are told by their
/// place in the list that the service was shown with. Only what the flags permit gets here.
class GattServiceHost {
  public:
    GattServiceHost() = default;
    virtual ~GattServiceHost() = default;
    GattServiceHost(const GattServiceHost&) = delete;
    GattServiceHost& operator=(const GattServiceHost&) = delete;

    /// A peer reads: the value that it gets.
    virtual GattValue PeerReads(std::uint64_t peer, std::size_t characteristic) = 0;
    virtual void PeerWrites(std::uint64_t peer, std::size_t characteristic, GattValue value) = 0;
};

struct GattCharacteristic {
    Uuid uuid;
    std::int32_t flags = 0;
};

/// A service that peers see for as long as this lives.
class LocalGattService {
  public:
    LocalGattService() = default;
    virtual ~LocalGattService() = default;
    LocalGattService(const LocalGattService&) = delete;
    LocalGattService& operator=(const LocalGattService&) = delete;

    /// Sends a value to a peer that subscribed to it. What became of it is told at once or later,
    /// unless this is destroyed before: kNotPermitted where the peer did not subscribe.
    virtual void Notify(std::uint64_t peer, std::size_t characteristic, const GattValue& value,
                        std::function<void(GattStatus)> sent) = 0;

    virtual std::vector<std::uint64_t> Subscribers(std::size_t characteristic) const = 0;
};

/// Hears of the peers that connect to this machine.
class GattPeerObserver {
  public:
    GattPeerObserver() = default;
    virtual ~GattPeerObserver() = default;
    GattPeerObserver(const GattPeerObserver&) = delete;
    GattPeerObserver& operator=(const GattPeerObserver&) = delete;

    virtual void PeerConnected(std::uint64_t peer) = 0;
    virtual void PeerDisconnected(std::uint64_t peer) = 0;
    virtual void PeerMtuChanged(std::uint64_t peer, std::int32_t mtu) = 0;
};

/// One server, for as long as this lives. It outlives the services that it shows.
class LocalGattServer {
  public:
    LocalGattServer() = default;
    virtual ~LocalGattServer() = default;
    LocalGattServer(const LocalGattServer&) = delete;
    LocalGattServer& operator=(const LocalGattServer&) = delete;

    /// Shows a service to peers. The host outlives it.
    virtual std::unique_ptr<LocalGattService> Show(
        const Uuid& service, const std::vector<GattCharacteristic>& characteristics,
        GattServiceHost& host) = 0;

    virtual bool IsConnected(std::uint64_t peer) const = 0;
};

/// Called under the world's lock, and calls back under it.
class GattServer {
  public:
    GattServer() = default;
    virtual ~GattServer() = default;
    GattServer(const GattServer&) = delete;
    GattServer& operator=(const GattServer&) = delete;

    /// Opens a server. The observer outlives it.
    virtual std::unique_ptr<LocalGattServer> Open(GattPeerObserver& observer) = 0;
};

}  // namespace pelacon::service::radio
