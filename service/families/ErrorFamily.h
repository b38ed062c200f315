// Connection errors, of which every client is notified.
#pragma once

#include <protocol/ErrorStatus.h>
#include <service/core/Family.h>

#include <cstdint>
#include <unordered_set>

namespace pelacon::service {

class ErrorFamily : public Family {
  public:
    explicit ErrorFamily(const Context& context);

    void ClientArrived(Session& session, bool returning) override;
    void ClientLeft(Session& session) override;

  private:
    std::size_t Notify(std::int32_t code) const;

    std::unordered_set<Session*> clients_;
};

}  // namespace pelacon::service
