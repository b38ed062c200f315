// The callbacks for Wi-Fi configurations, connections and card states.
#pragma once

#include <PelaconSDK/Vod2dConfig.h>
#include <protocol/Vod2dConfig.h>
#include <sdk/ipc/CallbackList.h>

namespace pelacon {

/// Three lists, each with a lock of its own. A handler calls every table of its list, with that
/// list locked.
class WifiConfigCallbacks {
  public:
    void RegisterWifiCfgCallback(Vod2dWifiCfgCallback* table);
    void RegisterConnNotifyCallback(Vod2dWifiCfgCallback* table,
                                    const protocol::ConnNotifyRequest& accepted);
    void RegisterWifiCardStateCallback(WifiCardStateCallback* table,
                                       const protocol::CardState& accepted);

    /// The request that the service has accepted last; nothing where no table is registered.
    auto AcceptedWifiCfg() const { return configurations_.Accepted(); }
    auto AcceptedConnNotify() const { return connections_.Accepted(); }
    auto AcceptedWifiCardState() const { return cardStates_.Accepted(); }

    void WifiCfgCallback(const protocol::WifiCfg& record);
    void ConnNotifyCallback(const protocol::WifiCfg& record);
    void WifiCardStateChangeCallback(const protocol::CardStateChange& record);

  private:
    CallbackList<Vod2dWifiCfgCallback, protocol::Nothing> configurations_;
    CallbackList<Vod2dWifiCfgCallback, protocol::ConnNotifyRequest> connections_;
    CallbackList<WifiCardStateCallback, protocol::CardState> cardStates_;
};

}  // namespace pelacon
