/* The Wi-Fi system API: the computer's soft access point, the channels that it and a paired phone
 * can meet on, the Wi-Fi switch, connection errors, and a scan for networks. C++ only. */
#ifndef PELACONSDK_WIFISYSTEMAPI_H
#define PELACONSDK_WIFISYSTEMAPI_H

#include <PelaconSDK/ErrorListener.h>
#include <PelaconSDK/Export.h>
#include <PelaconSDK/SoftAp.h>
#include <PelaconSDK/WifiState.h>

#ifdef __cplusplus

#include <list>
#include <string>

/* One object per process, reached through GetInstance:
 *
 *     WifiSystemApi& wifi = WifiSystemApi::GetInstance();
 *     SoftAPInfo ap;
 *     ap.requestByte = kSoftApBand5G;
 *     if (wifi.SystemCreateSoftAP(ap) == kSoftApSuccess) {
 *         std::cout << ap.ssid << ' ' << ap.password << '\n';
 *     }
 *
 * 1. Every operation, but Scan and those of the error notifier, is one request to the service. It
 *    blocks its caller for 5 s at most, where nothing else is said.
 * 2. An operation that cannot be sent (the library is not started) or is not answered (the service
 *    is not running, does not answer in time, or goes away meanwhile) returns the value that is
 *    named "unanswered" at it, and changes no argument. Nothing tells the two cases apart, or them
 *    from a service that answers just this; the log does.
 * 3. All operations may be called from any thread. Those marked "serialised" wait for each other,
 *    for as long as one of them waits for its answer (creating and destroying a soft AP, 20 s).
 * 4. Callbacks come on the receive thread, errors on a thread of their own; each class says what it
 *    may call. Pointers that were registered stay registered when the library is stopped. When the
 *    service was restarted, or the connection to it was lost, the library repeats the registrations
 *    that they need, and they are called with the state that is found then.
 * 5. Nothing here throws, but std::bad_alloc for want of memory, std::system_error where a mutex or
 *    the first use of the error notifier fails for want of resources, and DestroyInstance as it
 *    says. */
class PELACON_API WifiSystemApi {
  public:
    /* The one object. It is there until the process ends. */
    static WifiSystemApi& GetInstance();

    WifiSystemApi(const WifiSystemApi&) = delete;
    WifiSystemApi& operator=(const WifiSystemApi&) = default;

    /* ---- The soft AP ---- */

    /* Creates the soft AP, with the band and for the purpose that info names, and fills the rest of
     * info. Returns info.errorCode, a SoftApResult; every answer fills info, also one that says
     * that it failed. Unanswered -1, with info as it was: then diagnostic event 954079014 with code
     * 6 is raised and the list of processes is logged. Serialised; 20 s at most. */
    int SystemCreateSoftAP(SoftAPInfo& info);

    /* Destroys it, for this purpose. Returns the service's result, a SoftApResult. Unanswered -1;
     * then diagnostic event 954079014 with code 7 is raised and the list of processes is logged.
     * Serialised; 20 s at most. */
    int SystemDestroySoftAP(EGoPurpose purpose);

    /* Has the service pick the soft AP's channel anew. Returns the channel; 0 when there is no soft
     * AP. Unanswered 0. Serialised. */
    unsigned char SystemRefreshSoftAPChannel();

    /* The channel that the soft AP is on; 0 when there is none. Unanswered 0. */
    unsigned char GetSoftAPChannel();

    /* Whether this service has a soft AP up. Unanswered false. Serialised. */
    bool CheckMySoftAPExist();

    /* The network name that the soft AP has, or will have. Unanswered empty. Serialised. */
    std::string GetSSID();

    /* Draws a new network name and pass phrase. A soft AP that is up keeps its own until it is
     * created again. Serialised. */
    void ChangeSSIDAndPasswd();

    /* The last SoftApResult of creating or destroying. Unanswered -1. Serialised. */
    int GetSoftApError();

    /* The IPv4 address of the soft AP, dotted; empty when there is none. Unanswered empty. */
    std::string GetLegacyAPIP();

    /* Whether this computer's own Wi-Fi is connected to an access point. Every answer fills channel
     * (0 when it is not connected) and ssid (at most 32 bytes). Unanswered false. Serialised. */
    bool IsAPConnected(int& channel, std::string& ssid);

    /* ---- The paired device, and what is restarted for it ---- */

    /* The model name of the paired device, of which the service keeps 255 bytes. Returns whether
     * the service took it. Unanswered false. */
    bool SetPairDeviceModelName(std::string name);

    /* Reads it; every answer fills name. Returns whether there is one. Unanswered false. */
    bool GetPairDeviceModelName(std::string& name);

    /* The product types that the soft AP is for, each sent with a comma behind it. Returns whether
     * the service took them. Unanswered false. */
    bool SetListProductType(std::list<std::string> types);

    /* A flag that the service keeps: the mobile hotspot has to be restarted. Unanswered false. */
    bool GetRestartMobileHotpotFlag();
    void SetRestartMobileHotpotFlag(bool flag);

    /* Restarts the virtual adapter that the soft AP runs on, which ends the soft AP; afterWakeUp
     * says that the computer's wake-up is the reason, and counts as such. Returns whether it came
     * back. Unanswered false; 10 s at most. */
    bool RestartWiFiDirectVirtualAdapter(bool afterWakeUp);

    /* How often the adapter was restarted, and how often of these because of a wake-up since
     * ResetWakeUpCount. Unanswered 0. */
    unsigned int GetRestartCount();
    unsigned int GetWakeUpRestartCount();
    void ResetWakeUpCount();

    /* The interface index and the GUID, as text in braces, of the soft AP's adapter. Unanswered 0,
     * and empty. */
    unsigned long GetAdapterIndex();
    std::string GetAdapterGuid();

    /* ---- Who hears of the soft AP ---- */

    /* Registers this object for connections to the soft AP, in place of the one before. It is kept
     * when the request could be sent, whatever became of it: one that is registered while there is
     * no service is called once there is one. When this returns, the one before is not used any
     * more. Null is refused, with nothing sent. Serialised. */
    void RegistSoftApConnectStatus(ISoftApConnectStatus* listener);

    /* Tells this object of the soft AP's advertisement and devices, after those registered before
     * it. Returns the service's result: the object is kept, or forgotten, when it is 0. An object
     * is kept once, however often it is registered. When the second returns 0, no call of the
     * object is under way and none follows. Unanswered -1. */
    int RegisterSoftApNotificationEventCallback(ISoftAPNotification* listener);
    int UnRegisterSoftApNotificationEventCallback(ISoftAPNotification* listener);

    /* ---- Channels ----
     *
     * The service keeps what the application tells it of the paired phone, and computes everything:
     * which channels both sides support, bands, frequencies. A setter that is unanswered does
     * nothing. */

    /* The channels that this computer supports: decimal numbers separated by commas, those of the
     * 2.4 GHz band and those of the 5 GHz band, and the channel that its own Wi-Fi is on (0: none).
     * Unanswered, all three stay as they were. */
    void GetPCChannelList(std::string& channels24G, std::string& channels5G, int& current);

    /* The same, as numbers in place of what the lists held. A piece of a list that is no number, or
     * does not fit 32 bits, counts as 0. */
    void GetPCSupportChannelList(std::list<int>& channels24G, std::list<int>& channels5G,
                                 int& current);

    /* The channel that the phone's own Wi-Fi is on; 0, or what is no channel, for none.
     * Unanswered 0. */
    void SetPhoneCurrentChannel(int channel);
    int GetRecordPhoneChannel();

    /* The channels that the phone supports: added one by one to those of the 5 GHz and of the
     * 2.4 GHz band, and all forgotten together. One that is there already, or is no channel of the
     * band, is not added. */
    void AddPhoneSupportChannel(int channel);
    void AddPhoneSupport24Channel(int channel);
    void RemovePhoneSupportChannels();

    /* What was added, the 5 GHz channels and the 2.4 GHz channels, in the order in which they were.
     * Unanswered empty. */
    std::list<int> GetRecordPhoneChannelList();
    std::list<int> GetRecordPhone24GChannelList();

    /* All of them as text, the 2.4 GHz channels first. Unanswered, text stays as it was. */
    void GetPhoneChannelList(std::string& text);

    /* Has the service look whether the soft AP was to be on the 5 GHz band and failed to get there,
     * and move it to the 2.4 GHz band if so. */
    void CheckIsSet5GFailed();

    /* The channel that the soft AP would get now, in the 5 GHz band or not, without moving it; 0
     * when there is none. Unanswered 0. Serialised. */
    int RepickChannelWithoutEffect(bool want5G);

    /* Moves the soft AP to the 5 GHz or the 2.4 GHz band. Returns the channel that it is on then; 0
     * when there is none. Unanswered 0. Serialised. */
    int SetAPFrequence(bool want5G);

    /* Which band a channel belongs to. Unanswered kWifiFrequenceUnknown, and false. */
    WifiFrequenceType GetFrequenceType(int channel);
    bool Is5GChannel(int channel);
    bool Is24GChannel(int channel);

    /* The centre frequency of a channel in MHz, such as 2437 for channel 6; 0 for what is no
     * channel. Unanswered 0. */
    int GetFrequencyFromChannel(const int& channel);

    /* ---- The Wi-Fi switch ---- */

    /* Switches this computer's Wi-Fi on or off. Unanswered kEnableWifiNoAnswer; 10 s at most. */
    SystemApiEnableWifiResult EnableWifi(bool enable);

    /* Whether it is on. Unanswered kWifiStateUnknown. */
    SystemApiWifiState GetWifiState();

    /* Tells this object of the Wi-Fi switch, after those registered before it. An object that is
     * registered twice is told twice, and forgotten by one unregistration. Returns whether the
     * service agreed: only then the object is kept, or forgotten. Null is never kept. When the
     * second returns true, no call of the object is under way and none follows. Unanswered
     * false. */
    bool RegistWifiStateChangeCallback(IWifiStateChangeNotification* observer);
    bool UnRegistWifiStateChangeCallback(IWifiStateChangeNotification* observer);

    /* Tells this object of the channel of the Wi-Fi connection, after those registered before it;
     * not to be mistaken for the one above, which differs in one letter's case. It is kept once,
     * when the service agrees, and for good: it stays valid until PelaconSvcStop has returned, or
     * the process ends. Null is refused, with nothing sent. Serialised. */
    void RegistWifiStateChangeCallBack(WifiRealMonitorStateCallBack* callback);

    /* Starts a scan for networks on this computer's first Wi-Fi interface, through the operating
     * system and not through the service; the library need not be started. Returns whether there is
     * such an interface: what became of the scan is not known here, and it may well have been
     * refused (on Linux it takes the right to administer networks). */
    bool Scan();

    /* ---- Connection errors ----
     *
     * Errors that the service tells of, and those that an application posts, reach every listener
     * on a thread of their own. These operations send nothing to the service. */

    /* Adds a listener. False for null and for one that is there already. */
    bool RegistListener(ErrorListener* listener);

    /* Takes a listener away. False for null and for one that is not there.
     *
     * Mind: a listener that still has an error waiting for it when it is taken away ends the
     * delivery of errors altogether, to everybody and for the rest of the process. Take listeners
     * away when no error is on its way, or not at all. */
    bool UnregistListener(ErrorListener* listener);

    /* Tells every listener of this error, as if the service had. Does not wait for them. */
    void PostNotification(ConnectErrorCode code);

    /* The text of a code. */
    std::string GetErrorString(ConnectErrorCode code);

    /* Ends the delivery of errors: what waits is delivered first. There is no way back: errors that
     * are posted later reach nobody. Does not destroy this object, and need not be called.
     *
     * To be called once, from one thread. A second call throws std::system_error
     * (std::errc::invalid_argument), as does one from inside a listener
     * (std::errc::resource_deadlock_would_occur). */
    void DestroyInstance();

  private:
    WifiSystemApi() = default;
    ~WifiSystemApi() = default;
};

#endif /* __cplusplus */

#endif /* PELACONSDK_WIFISYSTEMAPI_H */
