// The adapter's operations: on and off, name, address, state.
#pragma once

#include <protocol/BleManager.h>
#include <service/core/Family.h>

#include <cstdint>
#include <string_view>

namespace pelacon::service {

class AdapterFamily : public Family {
  public:
    explicit AdapterFamily(const Context& context);

    void ClientArrived(Session& session, bool returning) override;
    void ClientLeft(Session& session) override;
    void Describe(json::Output& status) const override;

  private:
    std::int32_t Switch(Session& session, bool on);
    std::int32_t Rename(Session& session, std::string_view name);
    protocol::MacAndNameReply MacAndName() const;

    Scheduler& scheduler_;
    radio::Adapter& adapter_;
    Listeners listeners_;  // clients that are notified of changes
};

}  // namespace pelacon::service
