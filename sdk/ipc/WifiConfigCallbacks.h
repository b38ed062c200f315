// Who hears of Wi-Fi configurations, connections and card states.
#pragma once

#include <PelaconSDK/Vod2dConfig.h>
#include <protocol/Vod2dConfig.h>
#include <sdk/ipc/CallbackList.h>

#include <cstdint>

namespace pelacon {

/// Three lists, each with a mutex of its own. A handler tells every table of its list, with that
/// list locked.
class WifiConfigCallbacks {
  public:
    void RegisterWifiCfgCallback(Vod2dWifiCfgCallback* table);
    void RegisterConnNotifyCallback(Vod2dWifiCfgCallback* table,
                                    const protocol::ConnNotifyRequest& accepted);
    void RegisterWifiCardStateCallback(WifiCardStateCallback* table,
                                       const protocol::CardState& accepted);

    /// What the service has accepted, to ask it for again; nothing where no table is registered.
    auto AcceptedWifiCfg() const { return configurations_.Accepted(); }
    auto AcceptedConnNotify() const { return connections_.Accepted(); }
    auto AcceptedWifiCardState() const { return cardStates_.Accepted(); }

    void WifiCfgCallback(const std::uint8_t* payload) const;
    void ConnNotifyCallback(const std::uint8_t* payload) const;
    void WifiCardStateChangeCallback(const std::uint8_t* payload) const;

  private:
    CallbackList<Vod2dWifiCfgCallback, protocol::Nothing> configurations_;
    CallbackList<Vod2dWifiCfgCallback, protocol::ConnNotifyRequest> connections_;
    CallbackList<WifiCardStateCallback, protocol::CardState> cardStates_;
};

}  // namespace pelacon
