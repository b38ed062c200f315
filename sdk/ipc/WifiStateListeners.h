// The objects that are called for the Wi-Fi switch and for the channel of the Wi-Fi connection.
#pragma once

#include <PelaconSDK/WifiState.h>
#include <os/Lock.h>
#include <sdk/ipc/Registry.h>

#include <cstdint>

namespace pelacon {

class WifiStateListeners {
  public:
    /// For the channel. A registered object is not added again.
    void AddWifiStateCallback(WifiRealMonitorStateCallBack* callback);

    /// Calls every object, in the order of registration, with the list locked.
    void WifiConnectChannelCallback(std::int32_t channel);

    /// For the switch. An object is added as often as this is called, null never.
    void AddWifiStateChangeCallback(IWifiStateChangeNotification* observer);
    void RemoveWifiStateChangeCallback(IWifiStateChangeNotification* observer);

    /// Calls every object, likewise.
    void WifiSwitchStateChangeCallback(std::int32_t state);

    /// Whether an object is registered for each.
    bool HasWifiStateCallbacks() const;
    bool HasWifiStateChangeCallbacks() const;

  private:
    mutable os::Lock channelLock_;
    OrderedList<WifiRealMonitorStateCallBack*> channelCallbacks_;

    mutable os::Lock switchLock_;
    OrderedList<IWifiStateChangeNotification*> switchObservers_;
};

}  // namespace pelacon
