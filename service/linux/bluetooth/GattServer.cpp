#include <service/linux/bluetooth/GattServer.h>
#include <service/linux/bluetooth/GattService.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

using radio::GattValue;

/// Observes the peers in the loop's thread.
class GattServer::PeerWatch : private GattPeers::Observer {
  public:
    struct Callbacks {
        std::function<void(std::uint64_t peer)> connected;  // also of those connected before
        std::function<void(std::uint64_t peer)> disconnected;
        std::function<void(std::uint64_t peer, std::int32_t mtu)> mtuChanged;
    };

    PeerWatch(GattPeers& peers, Callbacks callbacks)
        : peers_(peers), callbacks_(std::move(callbacks))
    {
        peers_.Add(*this);
        for (const std::uint64_t peer : peers_.All()) {
            callbacks_.connected(peer);
        }
    }
    ~PeerWatch() override { peers_.Remove(*this); }

  private:
    void PeerConnected(std::uint64_t peer) override { callbacks_.connected(peer); }
    void PeerDisconnected(std::uint64_t peer) override { callbacks_.disconnected(peer); }
    void PeerMtuChanged(std::uint64_t peer, std::int32_t mtu) override
    {
        callbacks_.mtuChanged(peer, mtu);
    }

    GattPeers& peers_;
    Callbacks callbacks_;
};

/// The part of a service that the scheduler's lock guards; the GattService is in the loop's thread.
class GattServer::Service : public radio::LocalGattService {
  public:
    Service(const GattServer& device, const Uuid& uuid,
            const std::vector<radio::GattCharacteristic>& characteristics,
            radio::GattServiceHost& owner, radio::OutcomeDone done);

    void Notify(std::uint64_t peer, std::size_t characteristic, const GattValue& value,
                std::function<void(GattStatus)> sent) override;
    void NotifyAll(std::size_t characteristic, const GattValue& value,
                   std::function<void(std::uint64_t, GattStatus)> sent) override;
    std::vector<std::uint64_t> Subscribers(std::size_t characteristic) const override;

  private:
    GattService::Callbacks MakeCallbacks(radio::OutcomeDone done);

    const GattServer& device_;
    radio::GattServiceHost& owner_;
    std::vector<std::vector<std::uint64_t>> subscribers_;  // of each characteristic
    Upcalls<Service> upcalls_;
    std::unique_ptr<InLoop<GattService>> service_;  // null if it could not be shown
};

GattServer::Service::Service(const GattServer& device, const Uuid& uuid,
                             const std::vector<radio::GattCharacteristic>& characteristics,
                             radio::GattServiceHost& owner, radio::OutcomeDone done)
    : device_(device),
      owner_(owner),
      subscribers_(characteristics.size()),
      upcalls_(device.gate_, *this),
      service_(device.host_.Create<GattService>(
          [uuid, characteristics, callbacks = MakeCallbacks(std::move(done))](Backend& backend) {
              return std::make_unique<GattService>(backend.stack, backend.peers, uuid,
                                                   characteristics, callbacks);
          }))
{}

GattService::Callbacks GattServer::Service::MakeCallbacks(radio::OutcomeDone done)
{
    // The lock is held while the owner returns the value, not while BlueZ gets it.
    const auto read = upcalls_.To(
        [](const Service& service, std::uint64_t peer, std::size_t place,
           std::optional<GattValue>& value) { value = service.owner_.PeerReads(peer, place); });
    return {
        .read =
            [read](std::uint64_t peer, std::size_t place) {
                std::optional<GattValue> value;
                read(peer, place, value);
                return value;
            },
        .written = upcalls_.To(
            [](const Service& service, std::uint64_t peer, std::size_t place,
               const GattValue& value) { service.owner_.PeerWrites(peer, place, value); }),
        .shown = upcalls_.To([done = std::move(done)](Service& service, radio::Outcome outcome) {
            if (outcome != radio::Outcome::kDone) {
                service.service_.reset();  // which would try again
            }
            done(outcome);
        }),
        .subscribed = upcalls_.To(
            [](Service& service, std::size_t place, const std::vector<std::uint64_t>& peers) {
                service.subscribers_.at(place) = peers;
            }),
    };
}

void GattServer::Service::Notify(std::uint64_t peer, std::size_t characteristic,
                                 const GattValue& value, std::function<void(GattStatus)> sent)
{
    if (!service_) {
        sent(GattStatus::kNotPermitted);
        return;
    }
    const auto done = upcalls_.To(
        [sent = std::move(sent)](const Service& /*service*/, GattStatus result) { sent(result); });
    service_->Post([peer, characteristic, value, done](GattService& service) {
        service.NotifyOne(peer, characteristic, value, done);
    });
}

void GattServer::Service::NotifyAll(std::size_t characteristic, const GattValue& value,
                                    std::function<void(std::uint64_t, GattStatus)> sent)
{
    if (!service_) {
        return;
    }
    // One call each, since each may destroy this.
    const auto sentTo = upcalls_.To(
        [sent = std::move(sent)](const Service& service, std::uint64_t peer, GattStatus result) {
            const bool isThere = service.device_.peers_.contains(peer);
            sent(peer, isThere ? result : GattStatus::kNotConnected);
        });
    const auto done = [peers = Subscribers(characteristic), sentTo](GattStatus result) {
        for (const std::uint64_t peer : peers) {
            sentTo(peer, result);
        }
    };
    service_->Post([characteristic, value, done](GattService& service) {
        service.Notify(characteristic, value, done);
    });
}

std::vector<std::uint64_t> GattServer::Service::Subscribers(std::size_t characteristic) const
{
    // The end of a peer's connection may be known before the end of its subscriptions.
    std::vector<std::uint64_t> peers = subscribers_.at(characteristic);
    std::erase_if(peers, [this](std::uint64_t peer) { return !device_.peers_.contains(peer); });
    return peers;
}

class GattServer::Server : public radio::LocalGattServer {
  public:
    Server(GattServer& device, radio::GattPeerObserver& observer)
        : device_(device), observer_(observer)
    {
        device_.servers_.Add(*this);
    }
    ~Server() override { device_.servers_.Remove(*this); }

    std::unique_ptr<radio::LocalGattService> Show(
        const Uuid& service, const std::vector<radio::GattCharacteristic>& characteristics,
        radio::GattServiceHost& host, radio::OutcomeDone done) override
    {
        return std::make_unique<Service>(device_, service, characteristics, host, std::move(done));
    }

    bool IsConnected(std::uint64_t peer) const override { return device_.peers_.contains(peer); }

    radio::GattPeerObserver& Observer() const noexcept { return observer_; }

  private:
    GattServer& device_;
    radio::GattPeerObserver& observer_;
};

GattServer::GattServer(const Host& host, const std::shared_ptr<Gate>& gate)
    : host_(host),
      gate_(gate),
      upcalls_(gate, *this),
      watch_(host.Create<PeerWatch>(
          [callbacks = PeerWatch::Callbacks{
               upcalls_.To(&GattServer::PeerConnected), upcalls_.To(&GattServer::PeerDisconnected),
               upcalls_.To(&GattServer::PeerMtuChanged)}](Backend& backend) {
              return std::make_unique<PeerWatch>(backend.peers, callbacks);
          }))
{}

GattServer::~GattServer() = default;

std::unique_ptr<radio::LocalGattServer> GattServer::Open(radio::GattPeerObserver& observer)
{
    return std::make_unique<Server>(*this, observer);
}

void GattServer::PeerConnected(std::uint64_t peer)
{
    peers_.insert(peer);
    servers_.ForEach([peer](const Server& server) { server.Observer().PeerConnected(peer); });
}

void GattServer::PeerDisconnected(std::uint64_t peer)
{
    peers_.erase(peer);
    servers_.ForEach([peer](const Server& server) { server.Observer().PeerDisconnected(peer); });
}

void GattServer::PeerMtuChanged(std::uint64_t peer, std::int32_t mtu)
{
    servers_.ForEach([=](const Server& server) { server.Observer().PeerMtuChanged(peer, mtu); });
}

}  // namespace pelacon::service::linux_radios::bluetooth
