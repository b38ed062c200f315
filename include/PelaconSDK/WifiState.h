/* The Wi-Fi switch, channels and bands, and who hears of them. For WifiSystemApi.h. */
#ifndef PELACONSDK_WIFISTATE_H
#define PELACONSDK_WIFISTATE_H

#include <PelaconSDK/Export.h>

#ifdef __cplusplus

/* What became of EnableWifi. Other values are the service's own. */
PELACON_ENUM(SystemApiEnableWifiResult){
    kEnableWifiSuccess = 0, /* the switch is where it was asked to go */
    kEnableWifiFailed = 1,  /* it is not there after 5 s, or was switched the other way meanwhile */
    kEnableWifiNoAdapter = 2, /* there is no Wi-Fi adapter */
    kEnableWifiNoAnswer = 3,  /* the library is not started, or no answer came */
};

/* The Wi-Fi switch. Other values are the service's own. */
PELACON_ENUM(SystemApiWifiState){
    kWifiStateUnknown = 0, /* the library is not started, or no answer came */
    kWifiStateOff = 1,
    kWifiStateOn = 2,
};

/* The band that a channel belongs to. Other values are the service's own. */
PELACON_ENUM(WifiFrequenceType){
    kWifiFrequenceUnknown = -1, /* no such channel, the library is not started, or no answer came */
    kWifiFrequence24G = 0,
    kWifiFrequence5G = 1,
};

/* The two classes below are the application's to implement. The library keeps the pointer only; the
 * header of WifiSystemApi says for how long. Both are called on the receive thread with their list
 * locked: they may call any operation but those that register or unregister an object of the same
 * class, which would wait for ever. While one runs, no other notification is delivered. An
 * exception that leaves one ends the process. */

/* Called on changes of the Wi-Fi switch. When the service was restarted, or the connection to it
 * was lost, this object and those of the class below are called with the state that is found then.
 */
class PELACON_INTERFACE IWifiStateChangeNotification {
  public:
    /* The switch's new state, a SystemApiWifiState. */
    virtual void OnWifiStateChanged(int32_t state) = 0;

    virtual ~IWifiStateChangeNotification() = default;
};

/* Called on changes of the channel of the Wi-Fi connection. */
class PELACON_INTERFACE WifiRealMonitorStateCallBack {
  public:
    /* The channel that the phone's Wi-Fi connection is on now; 0 when it has none. */
    virtual void OnConnectChannel(int32_t channel) = 0;

    virtual ~WifiRealMonitorStateCallBack() = default;
};

#endif /* __cplusplus */

#endif /* PELACONSDK_WIFISTATE_H */
