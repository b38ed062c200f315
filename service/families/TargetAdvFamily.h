// Targeted advertisements: from the radio and from clients, to all clients that listen.
#pragma once

#include <protocol/TargetAdv.h>
#include <service/core/Family.h>

#include <cstdint>
#include <map>

namespace pelacon::service {

/// A registration does not say for which business it is: every client that listens is told of all
/// businesses, and its library drops what it has no table for.
class TargetAdvFamily : public Family {
  public:
    explicit TargetAdvFamily(const Context& context);

    void ClientArrived(Session& session, bool returning) override;
    void ClientLeft(Session& session) override;
    void Describe(nlohmann::json& status) const override;

  private:
    std::int32_t Unregister(Session& session);
    void Tell(const protocol::TargetAdvRecord& record) const;

    std::map<Session*, std::uint64_t> registrations_;  // how many of each client that listens
};

}  // namespace pelacon::service
