// Targeted advertisements, from the radio and from clients to all registered clients.
#pragma once

#include <protocol/TargetAdv.h>
#include <service/core/Family.h>

#include <cstdint>
#include <map>

namespace pelacon::service {

/// A registration does not contain the business: every registered client is notified of all
/// businesses, and the library ignores those without a table.
class TargetAdvFamily : public Family {
  public:
    explicit TargetAdvFamily(const Context& context);

    void ClientArrived(Session& session, bool returning) override;
    void ClientLeft(Session& session) override;
    void Describe(json::Output& status) const override;

  private:
    std::int32_t Unregister(Session& session);
    void Notify(const protocol::TargetAdvRecord& record) const;

    std::map<Session*, std::uint64_t> registrations_;  // how many of each registered client
};

}  // namespace pelacon::service
