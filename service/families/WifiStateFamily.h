// The Wi-Fi switch, the channel of the phone's connection, and notifications of both.
#pragma once

#include <protocol/WifiState.h>
#include <service/core/Family.h>

#include <cstdint>
#include <optional>
#include <unordered_set>

namespace pelacon::service {

class WifiStateFamily : public Family {
  public:
    explicit WifiStateFamily(const Context& context);

    void ClientArrived(Session& session, bool returning) override;
    void ClientLeft(Session& session) override;
    void Describe(nlohmann::json& status) const override;

  private:
    std::optional<protocol::Int32Record> Enable(Session& session, bool on);
    void NotifySwitch(bool on) const;
    void NotifyChannel(std::int32_t channel) const;

    Scheduler& scheduler_;
    radio::Wifi& wifi_;
    radio::WifiCards& cards_;
    radio::Phone& phone_;
    std::unordered_set<Session*> switchListeners_;
    std::unordered_set<Session*> channelListeners_;
};

}  // namespace pelacon::service
