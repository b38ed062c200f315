// The Wi-Fi switch, the channel of the phone's connection, and notifications of both.
#pragma once

#include <protocol/WifiState.h>
#include <service/core/Family.h>

#include <cstdint>
#include <optional>

namespace pelacon::service {

class WifiStateFamily : public Family {
  public:
    explicit WifiStateFamily(const Context& context);

    void ClientArrived(Session& session, bool returning) override;
    void ClientLeft(Session& session) override;
    void Describe(json::Output& status) const override;

  private:
    std::optional<std::int32_t> Enable(Session& session, const protocol::FlagRequest& request);

    Scheduler& scheduler_;
    radio::Wifi& wifi_;
    radio::WifiCards& cards_;
    radio::Phone& phone_;
    Listeners switchListeners_;
    Listeners channelListeners_;
};

}  // namespace pelacon::service
