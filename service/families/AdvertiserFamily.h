// Advertising: each client has advertisers.
#pragma once

#include <protocol/BleAdvertiser.h>
#include <service/core/Family.h>

#include <cstdint>
#include <map>
#include <memory>

namespace pelacon::service {

class AdvertiserFamily : public Family {
  public:
    /// How many advertisers a client can have.
    static constexpr std::size_t kMostAdvertisers = 64;

    explicit AdvertiserFamily(const Context& context);
    ~AdvertiserFamily() override;

    void ClientLeft(Session& session) override;

    /// Only the ids are known: advertisers exist again but do not advertise, and the client is
    /// notified of that.
    void Repair(Session& session, const protocol::RepairRequest& held) override;

    void Describe(json::Output& status) const override;

  private:
    class Broadcast;
    using Advertisers = std::map<std::int32_t, std::unique_ptr<Broadcast>>;  // null: silent

    protocol::ValueStatusReply Register(Session& session);
    std::int32_t Unregister(Session& session, const protocol::AdvertiserRequest& request);
    std::int32_t Start(Session& session, const protocol::StartAdvertiseRequest& request);
    std::int32_t Stop(Session& session, const protocol::AdvertiserRequest& request);

    std::unique_ptr<Broadcast>* Find(Session& session, std::int32_t id);
    void Silence(Session& session, std::int32_t id);
    void AdapterWentOff();

    Context context_;
    radio::Adapter& adapter_;
    radio::Advertiser& radio_;
    std::map<Session*, Advertisers> clients_;
};

}  // namespace pelacon::service
