// The GATT client's operations: connecting to peers, reading and writing their characteristics.
#pragma once

#include <protocol/GattClient.h>
#include <service/core/Family.h>

#include <cstdint>
#include <map>
#include <memory>

namespace pelacon::service {

class GattClientFamily : public Family {
  public:
    /// Limits of one program.
    static constexpr std::size_t kMostClients = 64;

    /// For how many characteristics of a connection notifications use the program's own spelling of
    /// the UUIDs; for others they use full UUIDs.
    static constexpr std::size_t kMostNames = 256;

    /// How long the service waits for a peer's answer: less than the library waits.
    static constexpr std::chrono::seconds kPeerTime{9};

    explicit GattClientFamily(const Context& context);
    ~GattClientFamily() override;

    void ClientLeft(Session& session) override;
    void Describe(json::Output& status) const override;

  private:
    class Client;

    protocol::ValueStatusReply Register(Session& session);
    void Connect(Session& session, const protocol::GattConnectRequest& request);
    std::int32_t Disconnect(Session& session, const protocol::GattClientRequest& request);
    std::int32_t GetService(Session& session, const protocol::GattServiceRequest& request);
    protocol::GattValueRecord Read(Session& session,
                                   const protocol::GattCharacteristicRequest& request);
    std::int32_t Write(Session& session, const protocol::GattValueRequest& request);
    std::int32_t Subscribe(Session& session, const protocol::GattCharacteristicRequest& request);

    Client* Find(const Session& session, std::int32_t clientId);
    std::size_t CountOf(const Session& session) const;

    /// Why a request to this client cannot be performed; kStatusDone if it can.
    static std::int32_t Check(const Client* client, bool isValid = true);

    /// Starts an operation on the client's connection, if Check allows it, and waits for its
    /// protocol::ServiceStatus.
    template <typename Ask>
    std::int32_t StatusOf(Session& session, std::int32_t clientId, bool isValid, const Ask& ask);

    radio::GattClient& radio_;
    IdAllocator& ids_;
    std::map<std::int32_t, std::unique_ptr<Client>> clients_;
};

}  // namespace pelacon::service
