// The Wi-Fi switch, the channel of the phone's connection, and who hears of them.
#pragma once

#include <protocol/WifiState.h>
#include <service/Family.h>

#include <cstdint>
#include <unordered_set>

namespace pelacon::service {

class WifiStateFamily : public Family {
  public:
    explicit WifiStateFamily(const Context& context);

    void ClientLeft(Session& session) override;
    void Describe(nlohmann::json& status) const override;

  private:
    std::int32_t Enable(bool on);
    void TellSwitch(bool on) const;
    void TellChannel(std::int32_t channel) const;

    radio::Wifi& wifi_;
    radio::WifiCards& cards_;
    std::unordered_set<Session*> switchListeners_;
    std::unordered_set<Session*> channelListeners_;
};

}  // namespace pelacon::service
