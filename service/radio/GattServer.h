// Services of this machine that other devices connect to.
#pragma once

#include <service/base/Interface.h>
#include <service/radio/Gatt.h>
#include <service/radio/Outcome.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace pelacon::service::radio {

/// Owns the values of a service. Characteristics are identified by their position in the list that
/// was given to Show. Only accesses that the characteristic's flags permit are passed on.
class GattServiceHost : public Interface {
  public:
    /// A peer reads; returns the value.
    virtual GattValue PeerReads(std::uint64_t peer, std::size_t characteristic) = 0;
    virtual void PeerWrites(std::uint64_t peer, std::size_t characteristic, GattValue value) = 0;
};

struct GattCharacteristic {
    Uuid uuid;
    std::int32_t flags = 0;
};

/// Peers see the service while this exists, from its being shown on.
class LocalGattService : public Interface {
  public:
    /// Sends a value to one peer. `sent` is called in the call or later, unless this is destroyed
    /// before; with kNotPermitted if the peer did not subscribe, and with kNotSupported if others
    /// did, too, and the radio can only send to all of them.
    virtual void Notify(std::uint64_t peer, std::size_t characteristic, const GattValue& value,
                        std::function<void(GattStatus)> sent) = 0;

    /// Sends a value to all subscribers. `sent` is called for each of them, as it is by Notify.
    virtual void NotifyAll(std::size_t characteristic, const GattValue& value,
                           std::function<void(std::uint64_t peer, GattStatus)> sent) = 0;

    virtual std::vector<std::uint64_t> Subscribers(std::size_t characteristic) const = 0;
};

/// Observes the peers that connect to this machine.
class GattPeerObserver : public Interface {
  public:
    virtual void PeerConnected(std::uint64_t peer) = 0;
    virtual void PeerDisconnected(std::uint64_t peer) = 0;
    virtual void PeerMtuChanged(std::uint64_t peer, std::int32_t mtu) = 0;
};

/// One server, which exists as long as this. Must outlive the services that it shows.
class LocalGattServer : public Interface {
  public:
    /// Begins to show a service to peers. The host must outlive the service. `done` is called once,
    /// unless the service is destroyed before: with kDone in the call or later, when peers see the
    /// service; otherwise later, and they will not see it.
    virtual std::unique_ptr<LocalGattService> Show(
        const Uuid& service, const std::vector<GattCharacteristic>& characteristics,
        GattServiceHost& host, OutcomeDone done) = 0;

    virtual bool IsConnected(std::uint64_t peer) const = 0;
};

/// The peripheral role of a Bluetooth adapter.
class GattServer : public Interface {
  public:
    /// Opens a server. The observer must outlive it.
    virtual std::unique_ptr<LocalGattServer> Open(GattPeerObserver& observer) = 0;
};

}  // namespace pelacon::service::radio
