// The adapter's operations: on and off, name, address, state.
#pragma once

#include <protocol/BleManager.h>
#include <service/core/Family.h>

#include <string_view>
#include <unordered_set>

namespace pelacon::service {

class AdapterFamily : public Family {
  public:
    explicit AdapterFamily(const Context& context);

    void ClientArrived(Session& session, bool returning) override;
    void ClientLeft(Session& session) override;
    void Describe(nlohmann::json& status) const override;

  private:
    protocol::StatusReply Switch(Session& session, bool on);
    protocol::StatusReply Rename(Session& session, std::string_view name);
    protocol::MacAndNameReply MacAndName() const;
    void NotifyState(radio::AdapterState state) const;

    Scheduler& scheduler_;
    radio::Adapter& adapter_;
    std::unordered_set<Session*> listeners_;  // clients that are notified of changes
};

}  // namespace pelacon::service
