#include <PelaconSDK/BleGattClient.h>
#include <protocol/ServiceStatus.h>
#include <service/families/GattClientFamily.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>

namespace pelacon::service {

using protocol::GattClientRequest;
using radio::GattReason;
using radio::Uuid;

namespace {

struct Path {
    Uuid service;
    Uuid characteristic;

    auto operator<=>(const Path&) const = default;  // NOLINT(modernize-use-nullptr)
};

/// The characteristic that a request names; nothing if one of its texts is not a UUID.
template <typename Request>
std::optional<Path> PathOf(const Request& request)
{
    const auto service = protocol::ParseUuid(TextIn(request.serviceUuid));
    const auto characteristic = protocol::ParseUuid(TextIn(request.charUuid));
    return service && characteristic ? std::optional(Path{*service, *characteristic})
                                     : std::nullopt;
}

}  // namespace

/// One client id of a program, with its connection while there is one.
class GattClientFamily::Client : public radio::GattConnectionObserver {
  public:
    Client(Session& session, std::int32_t id) : session_(&session), id_(id) {}

    const Session& Owner() const noexcept { return *session_; }
    radio::GattConnection* Connection() noexcept { return connection_.get(); }
    bool IsConnected() const { return connection_ != nullptr && connection_->IsUp(); }

    void Connect(radio::GattClient& radio, std::uint64_t address)
    {
        Disconnect();
        connection_ = radio.Connect(address, *this);
    }

    /// Ends the connection, or the attempt, and notifies the program; false if there is none.
    bool Disconnect()
    {
        if (connection_ == nullptr) {
            return false;
        }
        Ended(GattReason::kLocal);
        return true;
    }

    void Connected() override
    {
        wasUp_ = true;
        session_->Notify(protocol::kGattConnectionState,
                         {id_, kBleGattConnected, static_cast<std::int32_t>(GattReason::kNone)});
    }

    void Ended(GattReason reason) override
    {
        const std::unique_ptr<radio::GattConnection> ending = std::move(connection_);
        names_.clear();
        session_->Notify(std::exchange(wasUp_, false) ? protocol::kGattConnectionEnd
                                                      : protocol::kGattConnectionState,
                         {id_, kBleGattDisconnected, static_cast<std::int32_t>(reason)});
    }

    void Notified(const Uuid& service, const Uuid& characteristic, const radio::GattValue& value,
                  bool isIndication) override
    {
        const auto named = names_.find({service, characteristic});
        const bool isNamed = named != names_.end();
        protocol::GattValueRecord record{};
        record.clientId = id_;
        PutText(record.serviceUuid, isNamed ? named->second.first : protocol::LongText(service));
        PutText(record.charUuid,
                isNamed ? named->second.second : protocol::LongText(characteristic));
        record.dataLen = static_cast<std::uint32_t>(PutBytes(record.value, value));
        record.status = isIndication ? kBleGattIndication : kBleGattNotification;
        session_->Notify(protocol::kGattNotification, record);
    }

    /// Keeps the program's own spelling of a characteristic's UUIDs, for notifications.
    void Name(const Path& path, std::string_view service, std::string_view characteristic)
    {
        if (names_.size() < kMostNames || names_.contains(path)) {
            names_[path] = {std::string(service), std::string(characteristic)};
        }
    }

  private:
    Session* session_;
    std::int32_t id_;
    std::unique_ptr<radio::GattConnection> connection_;
    bool wasUp_ = false;
    std::map<Path, std::pair<std::string, std::string>> names_;
};

GattClientFamily::GattClientFamily(const Context& context)
    : radio_(context.radios.GetGattClient()), ids_(context.ids)
{
    Router& router = context.router;
    router.Serve(protocol::kGattClientRegister, std::bind_front(&GattClientFamily::Register, this));
    router.Serve(protocol::kGattClientUnRegister,
                 [this](Session& session, const GattClientRequest& request) {
                     if (Find(session, request.clientId) == nullptr) {
                         return protocol::kStatusUnknownId;
                     }
                     clients_.erase(request.clientId);
                     return protocol::kStatusDone;
                 });
    router.Serve(protocol::kGattClientConnect, std::bind_front(&GattClientFamily::Connect, this));
    router.Serve(protocol::kGattClientDisconnect,
                 std::bind_front(&GattClientFamily::Disconnect, this));
    router.Serve(protocol::kGattClientSearchServices,
                 [this](Session& session, const GattClientRequest& request) {
                     return StatusOf(session, request.clientId, true, [](Client& client) {
                         return client.Connection()->Discover();
                     });
                 });
    router.Serve(protocol::kGattClientGetService,
                 std::bind_front(&GattClientFamily::GetService, this));
    router.Serve(protocol::kGattClientRead, std::bind_front(&GattClientFamily::Read, this));
    router.Serve(protocol::kGattClientWrite, std::bind_front(&GattClientFamily::Write, this));
    router.Serve(protocol::kGattClientRegisterNotification,
                 std::bind_front(&GattClientFamily::Subscribe, this));
    router.Serve(protocol::kGattClientGetMtu,
                 [this](Session& session, const GattClientRequest& request) {
                     Client* const client = Find(session, request.clientId);
                     const std::int32_t status = Check(client);
                     return protocol::ValueStatusReply{
                         status == protocol::kStatusDone ? client->Connection()->Mtu() : 0, status};
                 });
}

GattClientFamily::~GattClientFamily() = default;

void GattClientFamily::ClientLeft(Session& session)
{
    std::erase_if(clients_, [&](const auto& entry) { return &entry.second->Owner() == &session; });
}

void GattClientFamily::Describe(json::Output& status) const
{
    const auto connected = std::count_if(clients_.begin(), clients_.end(), [](const auto& entry) {
        return entry.second->IsConnected();
    });
    status["gattClients"] = {{"registered", clients_.size()}, {"connected", connected}};
}

GattClientFamily::Client* GattClientFamily::Find(const Session& session, std::int32_t clientId)
{
    const auto found = clients_.find(clientId);
    return found != clients_.end() && &found->second->Owner() == &session ? found->second.get()
                                                                          : nullptr;
}

std::size_t GattClientFamily::CountOf(const Session& session) const
{
    return static_cast<std::size_t>(
        std::count_if(clients_.begin(), clients_.end(),
                      [&](const auto& entry) { return &entry.second->Owner() == &session; }));
}

protocol::ValueStatusReply GattClientFamily::Register(Session& session)
{
    if (CountOf(session) >= kMostClients) {
        return {0, protocol::kStatusLimitReached};
    }
    const std::int32_t id = ids_.Next();
    clients_.emplace(id, std::make_unique<Client>(session, id));
    return {id, protocol::kStatusDone};
}

// The request is not answered: for an unknown id, the program is notified as if the peer had not
// been found.
void GattClientFamily::Connect(Session& session, const protocol::GattConnectRequest& request)
{
    Client* const client = Find(session, request.clientId);
    if (client != nullptr) {
        client->Connect(radio_, request.address);
        return;
    }
    session.Notify(protocol::kGattConnectionState,
                   {request.clientId, kBleGattDisconnected,
                    static_cast<std::int32_t>(GattReason::kNotEstablished)});
}

std::int32_t GattClientFamily::Disconnect(Session& session, const GattClientRequest& request)
{
    Client* const client = Find(session, request.clientId);
    if (client == nullptr) {
        return protocol::kStatusUnknownId;
    }
    return client->Disconnect() ? protocol::kStatusDone : protocol::kStatusNotConnected;
}

std::int32_t GattClientFamily::Check(const Client* client, bool isValid)
{
    if (client == nullptr) {
        return protocol::kStatusUnknownId;
    }
    if (!isValid) {
        return protocol::kStatusInvalidArgument;
    }
    return client->IsConnected() ? protocol::kStatusDone : protocol::kStatusNotConnected;
}

template <typename Ask>
std::int32_t GattClientFamily::StatusOf(Session& session, std::int32_t clientId, bool isValid,
                                        const Ask& ask)
{
    Client* const client = Find(session, clientId);
    if (const std::int32_t refusal = Check(client, isValid); refusal != protocol::kStatusDone) {
        return refusal;
    }
    // Everything may change during the wait: neither the client nor the family is used after it.
    const auto status = session.Await(ask(*client), kPeerTime);
    return status ? static_cast<std::int32_t>(*status) : protocol::kStatusPeerUnreachable;
}

std::int32_t GattClientFamily::GetService(Session& session,
                                          const protocol::GattServiceRequest& request)
{
    Client* const client = Find(session, request.clientId);
    const auto uuid = protocol::ParseUuid(TextIn(request.serviceUuid));
    const std::int32_t status = Check(client, uuid.has_value());
    return status != protocol::kStatusDone || client->Connection()->HasService(*uuid)
               ? status
               : protocol::kStatusNotFound;
}

protocol::GattValueRecord GattClientFamily::Read(Session& session,
                                                 const protocol::GattCharacteristicRequest& request)
{
    protocol::GattValueRecord reply{};
    reply.clientId = request.clientId;
    PutText(reply.serviceUuid, TextIn(request.serviceUuid));
    PutText(reply.charUuid, TextIn(request.charUuid));
    Client* const client = Find(session, request.clientId);
    const auto path = PathOf(request);
    reply.status = Check(client, path.has_value());
    if (reply.status != protocol::kStatusDone) {
        return reply;
    }
    const auto result =
        session.Await(client->Connection()->Read(path->service, path->characteristic), kPeerTime);
    reply.status = protocol::kStatusPeerUnreachable;
    if (result) {
        reply.status = static_cast<std::int32_t>(result->status);
        reply.dataLen = static_cast<std::uint32_t>(PutBytes(reply.value, result->value));
    }
    return reply;
}

std::int32_t GattClientFamily::Write(Session& session, const protocol::GattValueRequest& request)
{
    const auto path = PathOf(request);
    const bool isValid = path && request.dataLen <= sizeof request.value;
    return StatusOf(session, request.clientId, isValid, [&](Client& client) {
        return client.Connection()->Write(
            path->service, path->characteristic,
            radio::GattValue(request.value, request.value + request.dataLen));
    });
}

std::int32_t GattClientFamily::Subscribe(Session& session,
                                         const protocol::GattCharacteristicRequest& request)
{
    const auto path = PathOf(request);
    return StatusOf(session, request.clientId, path.has_value(), [&](Client& client) {
        client.Name(*path, TextIn(request.serviceUuid), TextIn(request.charUuid));
        return client.Connection()->Subscribe(path->service, path->characteristic,
                                              request.enable != 0);
    });
}

}  // namespace pelacon::service
