#include <service/simulation/GattServer.h>

#include <algorithm>
#include <utility>

namespace pelacon::service::simulation {

using radio::GattReason;
using radio::GattStatus;
using radio::GattValue;
using radio::Uuid;

class GattServer::Service : public radio::LocalGattService {
  public:
    struct Characteristic {
        radio::GattCharacteristic shown;
        std::vector<GattLink*> subscribers;
    };

    Service(GattServer& device, const Uuid& uuid,
            const std::vector<radio::GattCharacteristic>& shown, radio::GattServiceHost& host)
        : device_(device), uuid_(uuid), host_(host)
    {
        for (const radio::GattCharacteristic& characteristic : shown) {
            characteristics_.push_back({characteristic, {}});
        }
    }

    void Show(radio::OutcomeDone done)
    {
        const StackBehaviour behaviour = device_.stack_.Next(StackOperation::kShowService);
        const auto end = [this, outcome = behaviour.outcome, done = std::move(done)] {
            if (outcome == radio::Outcome::kDone) {
                device_.services_.push_back(this);
            }
            done(outcome);
        };
        if (behaviour.delay.count() == 0 && behaviour.outcome == radio::Outcome::kDone) {
            end();
        } else {
            showing_ = device_.scheduler_.After(behaviour.delay, end);
        }
    }

    ~Service() override { std::erase(device_.services_, this); }

    void Notify(std::uint64_t peer, std::size_t characteristic, const GattValue& value,
                std::function<void(GattStatus)> sent) override
    {
        const Characteristic& one = characteristics_.at(characteristic);
        GattLink* const link = device_.LinkOf(peer);
        if (std::ranges::find(one.subscribers, link) == one.subscribers.end()) {
            sent(GattStatus::kNotPermitted);
            return;
        }
        const bool isIndication = (one.shown.flags & radio::kGattNotify) == 0;
        link->Notify(uuid_, one.shown.uuid, value, isIndication);
        sent(GattStatus::kDone);
    }

    void NotifyAll(std::size_t characteristic, const GattValue& value,
                   std::function<void(std::uint64_t, GattStatus)> sent) override
    {
        for (const std::uint64_t peer : Subscribers(characteristic)) {
            Notify(peer, characteristic, value,
                   [&sent, peer](GattStatus status) { sent(peer, status); });
        }
    }

    std::vector<std::uint64_t> Subscribers(std::size_t characteristic) const override
    {
        std::vector<std::uint64_t> peers;
        for (GattLink* const link : characteristics_.at(characteristic).subscribers) {
            peers.push_back(device_.PeerOf(*link));
        }
        return peers;
    }

    void Forget(GattLink& link)
    {
        for (Characteristic& characteristic : characteristics_) {
            std::erase(characteristic.subscribers, &link);
        }
    }

    const Uuid& GetUuid() const noexcept { return uuid_; }
    radio::GattServiceHost& Host() const noexcept { return host_; }
    std::vector<Characteristic>& Characteristics() noexcept { return characteristics_; }

  private:
    GattServer& device_;
    Uuid uuid_;
    radio::GattServiceHost& host_;
    std::vector<Characteristic> characteristics_;
    Timer showing_;
};

class GattServer::Server : public radio::LocalGattServer {
  public:
    Server(GattServer& device, radio::GattPeerObserver& observer)
        : device_(device), observer_(observer)
    {
        device_.servers_.Add(*this);
    }
    ~Server() override { device_.Close(*this); }

    std::unique_ptr<radio::LocalGattService> Show(
        const Uuid& service, const std::vector<radio::GattCharacteristic>& characteristics,
        radio::GattServiceHost& host, radio::OutcomeDone done) override
    {
        auto shown = std::make_unique<Service>(device_, service, characteristics, host);
        shown->Show(std::move(done));
        return shown;
    }

    bool IsConnected(std::uint64_t peer) const override { return device_.LinkOf(peer) != nullptr; }

    radio::GattPeerObserver& Observer() const noexcept { return observer_; }

  private:
    GattServer& device_;
    radio::GattPeerObserver& observer_;
};

std::unique_ptr<radio::LocalGattServer> GattServer::Open(radio::GattPeerObserver& observer)
{
    return std::make_unique<Server>(*this, observer);
}

void GattServer::Close(Server& server)
{
    servers_.Remove(server);
    if (servers_.IsEmpty()) {
        EndAll(links_, GattReason::kPeer);
    }
}

GattReason GattServer::Join(GattLink& link)
{
    if (services_.empty()) {
        return GattReason::kNotEstablished;
    }
    const std::uint64_t peer = ++lastPeer_;
    links_.push_back(&link);
    peers_.emplace(&link, peer);
    adapter_.SetConnected(peer, radio::BluetoothType::kLe, true);
    adapter_.SetConnected(adapter_.Address(), radio::BluetoothType::kLe, true);
    servers_.ForEach([&](const Server& server) {
        radio::GattPeerObserver& observer = server.Observer();
        observer.PeerConnected(peer);
        observer.PeerMtuChanged(peer, config_.mtu);
    });
    return GattReason::kNone;
}

void GattServer::Leave(GattLink& link)
{
    const std::uint64_t peer = PeerOf(link);
    std::erase(links_, &link);
    peers_.erase(&link);
    for (Service* const service : services_) {
        service->Forget(link);
    }
    adapter_.SetConnected(peer, radio::BluetoothType::kLe, false);
    if (links_.empty()) {
        adapter_.SetConnected(adapter_.Address(), radio::BluetoothType::kLe, false);
    }
    servers_.ForEach([peer](const Server& server) { server.Observer().PeerDisconnected(peer); });
}

GattLink* GattServer::LinkOf(std::uint64_t peer) const
{
    const auto found =
        std::ranges::find_if(links_, [&](const GattLink* link) { return peers_.at(link) == peer; });
    return found != links_.end() ? *found : nullptr;
}

GattServer::Service* GattServer::FindService(const Uuid& service) const
{
    const auto found = std::ranges::find(services_, service, &Service::GetUuid);
    return found != services_.end() ? *found : nullptr;
}

GattServer::Place GattServer::Find(const Uuid& service, const Uuid& characteristic) const
{
    Service* const found = FindService(service);
    if (found == nullptr) {
        return {};
    }
    const auto& characteristics = found->Characteristics();
    for (std::size_t i = 0; i < characteristics.size(); ++i) {
        if (characteristics[i].shown.uuid == characteristic) {
            return {found, i};
        }
    }
    return {};
}

bool GattServer::HasService(const Uuid& service) const
{
    return FindService(service) != nullptr;
}

std::optional<std::int32_t> GattServer::FlagsOf(const Uuid& service, const Uuid& characteristic)
{
    const Place place = Find(service, characteristic);
    return place.service != nullptr
               ? std::optional(place.service->Characteristics()[place.characteristic].shown.flags)
               : std::nullopt;
}

GattValue GattServer::Read(GattLink& link, const Uuid& service, const Uuid& characteristic)
{
    const Place place = Find(service, characteristic);
    return place.service->Host().PeerReads(PeerOf(link), place.characteristic);
}

void GattServer::Write(GattLink& link, const Uuid& service, const Uuid& characteristic,
                       GattValue value)
{
    const Place place = Find(service, characteristic);
    place.service->Host().PeerWrites(PeerOf(link), place.characteristic, std::move(value));
}

void GattServer::Subscribe(GattLink& link, const Uuid& service, const Uuid& characteristic,
                           bool enable)
{
    const Place place = Find(service, characteristic);
    auto& subscribers = place.service->Characteristics()[place.characteristic].subscribers;
    std::erase(subscribers, &link);
    if (enable) {
        subscribers.push_back(&link);
    }
}

}  // namespace pelacon::service::simulation
