// The GATT server's operations: publishing services, and notifications of what peers do with them.
#pragma once

#include <protocol/GattServer.h>
#include <service/core/Family.h>

#include <cstdint>
#include <map>
#include <memory>

namespace pelacon::service {

/// Owns the values of all characteristics, which peers read and write.
class GattServerFamily : public Family {
  public:
    /// Limits of one program, one server and one service.
    static constexpr std::size_t kMostServers = 16;
    static constexpr std::size_t kMostServices = 64;
    static constexpr std::size_t kMostCharacteristics = 64;

    explicit GattServerFamily(const Context& context);
    ~GattServerFamily() override;

    void ClientLeft(Session& session) override;
    void Describe(json::Output& status) const override;

  private:
    class Server;
    class Service;

    protocol::ValueStatusReply Register(Session& session);
    protocol::ValueStatusReply AddService(Session& session,
                                          const protocol::GattAddServiceRequest& request);
    std::int32_t AddCharacteristic(Session& session,
                                   const protocol::GattAddCharacteristicRequest& request);
    std::int32_t Publish(Session& session, const protocol::GattPublishNotifyRequest& request);

    Server* Find(const Session& session, std::int32_t serverId);
    Service* Find(const Session& session, std::int32_t serverId, std::int32_t handle);

    /// Registers an operation on one service whose result is a protocol::ServiceStatus.
    template <typename Reply, typename Action>
    void ServeOnService(
        Router& router,
        const protocol::Operation<protocol::GattServiceHandleRequest, Reply>& operation,
        Action action);

    Scheduler& scheduler_;
    radio::GattServer& radio_;
    IdAllocator& ids_;
    std::map<std::int32_t, std::unique_ptr<Server>> servers_;
};

}  // namespace pelacon::service
