/* The Wi-Fi switch, channels and bands, and the callbacks for them. For WifiSystemApi.h and
 * WifiSystem.h. */
#ifndef PELACONSDK_WIFISTATE_H
#define PELACONSDK_WIFISTATE_H

#include <PelaconSDK/Export.h>

PELACON_C_BEGIN

/* The result of EnableWifi. Other values are the service's own. */
enum PELACON_ENUM(SystemApiEnableWifiResult) {
    kEnableWifiSuccess = 0,   /* Wi-Fi is in the requested state */
    kEnableWifiFailed = 1,    /* it is not after 5 s, or was switched the other way meanwhile */
    kEnableWifiNoAdapter = 2, /* there is no Wi-Fi adapter */
    kEnableWifiNoAnswer = 3,  /* the library is not started, or no answer */
};

/* The Wi-Fi switch. Other values are the service's own. */
enum PELACON_ENUM(SystemApiWifiState) {
    kWifiStateUnknown = 0, /* the library is not started, or no answer */
    kWifiStateOff = 1,
    kWifiStateOn = 2,
};

/* The band that a channel belongs to. Other values are the service's own. */
enum PELACON_ENUM(WifiFrequenceType) {
    kWifiFrequenceUnknown = -1, /* no such channel, the library is not started, or no answer */
    kWifiFrequence24G = 0,
    kWifiFrequence5G = 1,
};

/* Called as IWifiStateChangeNotification is. */
typedef struct WifiStateCallbacksC {
    /* As IWifiStateChangeNotification::OnWifiStateChanged. */
    void (*onWifiStateChanged)(int32_t state);
} WifiStateCallbacksC;

/* Called as WifiRealMonitorStateCallBack is. */
typedef struct WifiChannelCallbacksC {
    /* As WifiRealMonitorStateCallBack::OnConnectChannel. */
    void (*onConnectChannel)(int32_t channel);
} WifiChannelCallbacksC;

PELACON_C_END

#ifdef __cplusplus

/* The application implements the two classes below. The library keeps the pointer only;
 * WifiSystemApi.h says how long an object must live. Objects are called on the receive thread, and
 * may call any operation. An exception that leaves one ends the process (std::terminate). After a
 * restart of the service, and after a lost connection to it, the objects are called with the
 * present state. */

/* Called on changes of the Wi-Fi switch. */
class PELACON_INTERFACE IWifiStateChangeNotification {
  public:
    /* The new state of the switch, a SystemApiWifiState. */
    virtual void OnWifiStateChanged(int32_t state) = 0;

    virtual ~IWifiStateChangeNotification() = default;
};

/* Called on changes of the channel of the Wi-Fi connection. */
class PELACON_INTERFACE WifiRealMonitorStateCallBack {
  public:
    /* The channel of the phone's Wi-Fi connection; 0 when it has none. */
    virtual void OnConnectChannel(int32_t channel) = 0;

    virtual ~WifiRealMonitorStateCallBack() = default;
};

#endif /* __cplusplus */

#endif /* PELACONSDK_WIFISTATE_H */
