#include <protocol/ServiceStatus.h>
#include <service/families/GattServerFamily.h>
#include <service/families/RadioWait.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::service {

using protocol::ValueStatusReply;
using radio::GattStatus;
using radio::GattValue;
using radio::Uuid;

/// A service that was added to a server; peers see it while it is started.
class GattServerFamily::Service : public radio::GattServiceHost {
  public:
    Service(Session& session, std::int32_t serverId, std::int32_t handle, const Uuid& uuid)
        : session_(session), serverId_(serverId), handle_(handle), uuid_(uuid)
    {}

    /// Whether peers see it, or are about to.
    bool IsStarted() const noexcept { return shown_ != nullptr; }

    /// Returns the result of the start, also of one that is under way already.
    Completion<std::int32_t> Start(radio::LocalGattServer& server, Scheduler& scheduler)
    {
        if (!IsStarted()) {
            showing_.emplace(scheduler);
            shown_ = server.Show(uuid_, shownCharacteristics_, *this,
                                 [this](radio::Outcome outcome) { Shown(outcome); });
            showing_->GiveUpAfter(PatienceOf(protocol::kGattServerStartService),
                                  [this] { Stop(); });
        }
        return showing_->Status();
    }

    void Stop()
    {
        shown_.reset();
        showing_.reset();
    }

    std::int32_t Add(std::string_view text, std::int32_t flags, GattValue value)
    {
        const auto uuid = protocol::ParseUuid(text);
        if (!uuid ||
            std::ranges::find(shownCharacteristics_, *uuid, &radio::GattCharacteristic::uuid) !=
                shownCharacteristics_.end()) {
            return protocol::kStatusInvalidArgument;
        }
        if (IsStarted()) {
            return protocol::kStatusBusy;
        }
        if (characteristics_.size() >= kMostCharacteristics) {
            return protocol::kStatusLimitReached;
        }
        shownCharacteristics_.push_back({*uuid, flags});
        characteristics_.push_back({std::string(text), std::move(value)});
        return protocol::kStatusDone;
    }

    /// Sets the value and sends it to a peer, or, if that is 0, to all subscribers.
    std::int32_t Publish(const Uuid& uuid, const GattValue& value, std::uint64_t peer,
                         const radio::LocalGattServer& server)
    {
        const auto found =
            std::ranges::find(shownCharacteristics_, uuid, &radio::GattCharacteristic::uuid);
        if (found == shownCharacteristics_.end()) {
            return protocol::kStatusNotFound;
        }
        const auto index = static_cast<std::size_t>(found - shownCharacteristics_.begin());
        characteristics_[index].value = value;
        if (peer != 0 && !server.IsConnected(peer)) {
            return protocol::kStatusNotConnected;
        }
        if (!IsStarted()) {
            return peer == 0 ? protocol::kStatusDone : protocol::kStatusNotPermitted;
        }
        const auto sent = [this](std::uint64_t to, GattStatus status) {
            session_.Notify(protocol::kGattNotifySent,
                            {serverId_, {}, to, static_cast<std::uint32_t>(status)});
        };
        if (peer == 0) {
            shown_->NotifyAll(index, value, sent);
        } else {
            shown_->Notify(peer, index, value,
                           [sent, peer](GattStatus status) { sent(peer, status); });
        }
        return protocol::kStatusDone;
    }

    GattValue PeerReads(std::uint64_t peer, std::size_t characteristic) override
    {
        Notify(protocol::kGattPeerReads, peer, characteristic);
        return characteristics_[characteristic].value;
    }

    void PeerWrites(std::uint64_t peer, std::size_t characteristic, GattValue value) override
    {
        characteristics_[characteristic].value = std::move(value);
        Notify(protocol::kGattPeerWrites, peer, characteristic);
    }

  private:
    void Shown(radio::Outcome outcome)
    {
        showing_->End(StatusOf(outcome));
        if (outcome != radio::Outcome::kDone) {
            Stop();
        }
    }

    struct Characteristic {
        std::string text;  // its UUID as the program spelt it: the library compares texts
        GattValue value;
    };

    /// Notifies the program of an access, with the characteristic's current value.
    void Notify(const protocol::Notification<protocol::GattPeerRequestRecord>& notification,
                std::uint64_t peer, std::size_t index)
    {
        const Characteristic& characteristic = characteristics_[index];
        protocol::GattPeerRequestRecord record{};
        record.serverId = serverId_;
        record.serviceHandle = handle_;
        record.peer = peer;
        PutText(record.charUuid, characteristic.text);
        record.dataLen = static_cast<std::uint32_t>(PutBytes(record.data, characteristic.value));
        session_.Notify(notification, record);
    }

    Session& session_;
    std::int32_t serverId_;
    std::int32_t handle_;
    Uuid uuid_;
    std::vector<radio::GattCharacteristic> shownCharacteristics_;
    std::vector<Characteristic> characteristics_;  // the same ones
    std::optional<Attempt> showing_;               // the last start
    std::unique_ptr<radio::LocalGattService> shown_;
};

/// One server of a program.
class GattServerFamily::Server : public radio::GattPeerObserver {
  public:
    Server(Session& session, std::int32_t id, radio::GattServer& radio)
        : session_(session), id_(id), radio_(radio.Open(*this))
    {}

    const Session& Owner() const noexcept { return session_; }
    radio::LocalGattServer& Radio() noexcept { return *radio_; }
    std::size_t CountOfServices() const noexcept { return services_.size(); }
    std::size_t CountOfStarted() const
    {
        return static_cast<std::size_t>(std::ranges::count_if(
            services_, [](const auto& entry) { return entry.second.service->IsStarted(); }));
    }

    Service* Find(std::int32_t handle)
    {
        const auto found = services_.find(handle);
        return found != services_.end() ? found->second.service.get() : nullptr;
    }

    ValueStatusReply AddService(std::string_view text, IdAllocator& ids)
    {
        const auto uuid = protocol::ParseUuid(text);
        const bool isTaken = uuid && std::ranges::any_of(services_, [&](const auto& entry) {
                                 return entry.second.uuid == *uuid;
                             });
        if (!uuid || isTaken) {
            return {0, protocol::kStatusInvalidArgument};
        }
        if (services_.size() >= kMostServices) {
            return {0, protocol::kStatusLimitReached};
        }
        const std::int32_t handle = ids.Next();
        services_.emplace(handle,
                          Entry{*uuid, std::make_unique<Service>(session_, id_, handle, *uuid)});
        return {handle, protocol::kStatusDone};
    }

    void DeleteService(std::int32_t handle) { services_.erase(handle); }

    void PeerConnected(std::uint64_t peer) override
    {
        session_.Notify(protocol::kGattPeerConnected, {id_, {}, peer});
    }
    void PeerDisconnected(std::uint64_t peer) override
    {
        session_.Notify(protocol::kGattPeerDisconnected, {id_, {}, peer});
    }
    void PeerMtuChanged(std::uint64_t peer, std::int32_t mtu) override
    {
        session_.Notify(protocol::kGattMtuChanged,
                        {id_, {}, peer, static_cast<std::uint32_t>(mtu)});
    }

  private:
    struct Entry {
        Uuid uuid;
        std::unique_ptr<Service> service;
    };

    Session& session_;
    std::int32_t id_;
    std::unique_ptr<radio::LocalGattServer> radio_;
    std::map<std::int32_t, Entry> services_;  // they end before the server does
};

GattServerFamily::GattServerFamily(const Context& context)
    : scheduler_(context.scheduler), radio_(context.radios.GetGattServer()), ids_(context.ids)
{
    Router& router = context.router;
    router.Serve(protocol::kGattServerRegister, std::bind_front(&GattServerFamily::Register, this));
    router.Serve(protocol::kGattServerUnRegister,
                 [this](Session& session, const protocol::GattServerRequest& request) {
                     if (Find(session, request.serverId) == nullptr) {
                         return protocol::kStatusUnknownId;
                     }
                     servers_.erase(request.serverId);
                     return protocol::kStatusDone;
                 });
    router.Serve(protocol::kGattServerAddService,
                 std::bind_front(&GattServerFamily::AddService, this));
    router.Serve(protocol::kGattServerAddCharacteristic,
                 std::bind_front(&GattServerFamily::AddCharacteristic, this));
    router.Serve(protocol::kGattServerPublishNotify,
                 std::bind_front(&GattServerFamily::Publish, this));
    ServeOnService(router, protocol::kGattServerDeleteService,
                   [](Session&, Server& server, Service&, std::int32_t handle) {
                       server.DeleteService(handle);
                       return protocol::kStatusDone;
                   });
    ServeOnService(router, protocol::kGattServerStartService,
                   [this](Session& session, Server& server, Service& service, std::int32_t) {
                       return AwaitStatus(scheduler_, session,
                                          service.Start(server.Radio(), scheduler_),
                                          protocol::kGattServerStartService.timeout);
                   });
    ServeOnService(router, protocol::kGattServerStopService,
                   [](Session&, Server&, Service& service, std::int32_t) {
                       service.Stop();
                       return protocol::kStatusDone;
                   });
}

GattServerFamily::~GattServerFamily() = default;

template <typename Reply, typename Action>
void GattServerFamily::ServeOnService(
    Router& router, const protocol::Operation<protocol::GattServiceHandleRequest, Reply>& operation,
    Action action)
{
    router.Serve(operation, [this, action](Session& session,
                                           const protocol::GattServiceHandleRequest& request) {
        Server* const server = Find(session, request.serverId);
        Service* const service = server != nullptr ? server->Find(request.serviceHandle) : nullptr;
        if (service == nullptr) {
            return Reply{protocol::kStatusUnknownId};
        }
        return Reply{action(session, *server, *service, request.serviceHandle)};
    });
}

void GattServerFamily::ClientLeft(Session& session)
{
    std::erase_if(servers_, [&](const auto& entry) { return &entry.second->Owner() == &session; });
}

void GattServerFamily::Describe(json::Output& status) const
{
    std::size_t services = 0;
    std::size_t started = 0;
    for (const auto& [id, server] : servers_) {
        services += server->CountOfServices();
        started += server->CountOfStarted();
    }
    status["gattServers"] = {
        {"registered", servers_.size()}, {"services", services}, {"started", started}};
}

GattServerFamily::Server* GattServerFamily::Find(const Session& session, std::int32_t serverId)
{
    const auto found = servers_.find(serverId);
    return found != servers_.end() && &found->second->Owner() == &session ? found->second.get()
                                                                          : nullptr;
}

GattServerFamily::Service* GattServerFamily::Find(const Session& session, std::int32_t serverId,
                                                  std::int32_t handle)
{
    Server* const server = Find(session, serverId);
    return server != nullptr ? server->Find(handle) : nullptr;
}

ValueStatusReply GattServerFamily::Register(Session& session)
{
    const auto count = std::ranges::count_if(
        servers_, [&](const auto& entry) { return &entry.second->Owner() == &session; });
    if (static_cast<std::size_t>(count) >= kMostServers) {
        return {0, protocol::kStatusLimitReached};
    }
    const std::int32_t id = ids_.Next();
    servers_.emplace(id, std::make_unique<Server>(session, id, radio_));
    return {id, protocol::kStatusDone};
}

ValueStatusReply GattServerFamily::AddService(Session& session,
                                              const protocol::GattAddServiceRequest& request)
{
    Server* const server = Find(session, request.serverId);
    if (server == nullptr) {
        return {0, protocol::kStatusUnknownId};
    }
    return server->AddService(TextIn(request.serviceUuid), ids_);
}

std::int32_t GattServerFamily::AddCharacteristic(
    Session& session, const protocol::GattAddCharacteristicRequest& request)
{
    Service* const service = Find(session, request.serverId, request.serviceHandle);
    if (service == nullptr) {
        return protocol::kStatusUnknownId;
    }
    if (request.valueLen > sizeof request.value) {
        return protocol::kStatusInvalidArgument;
    }
    return service->Add(TextIn(request.charUuid), request.flags,
                        GattValue(request.value, request.value + request.valueLen));
}

std::int32_t GattServerFamily::Publish(Session& session,
                                       const protocol::GattPublishNotifyRequest& request)
{
    Server* const server = Find(session, request.serverId);
    Service* const service = server != nullptr ? server->Find(request.serviceHandle) : nullptr;
    if (service == nullptr) {
        return protocol::kStatusUnknownId;
    }
    const auto uuid = protocol::ParseUuid(TextIn(request.charUuid));
    if (!uuid || request.valueLen > sizeof request.value) {
        return protocol::kStatusInvalidArgument;
    }
    return service->Publish(*uuid, GattValue(request.value, request.value + request.valueLen),
                            request.peer, server->Radio());
}

}  // namespace pelacon::service
