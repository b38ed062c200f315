/* The Wi-Fi system API: the computer's soft access point (soft AP), the channels that it shares
 * with a paired phone, the Wi-Fi switch, connection errors, and a scan for networks. For C++; the C
 * form is in WifiSystem.h. */
#ifndef PELACONSDK_WIFISYSTEMAPI_H
#define PELACONSDK_WIFISYSTEMAPI_H

#include <PelaconSDK/ErrorListener.h>
#include <PelaconSDK/Export.h>
#include <PelaconSDK/SoftAp.h>
#include <PelaconSDK/WifiState.h>
#include <PelaconSDK/WifiSystem.h>

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
 * 1. Every operation except Scan and those for connection errors is one request to the service,
 *    with a time-out of 5 s unless stated otherwise.
 * 2. An operation that cannot be sent (the library is not started) or is not answered (the service
 *    is not running, does not answer in time, or ends meanwhile) returns the value that is given
 *    after "Unanswered" and changes no argument. The result does not show which of these happened,
 *    nor whether the service answered with this very value; the log does.
 * 3. Operations marked "serialised" run one after the other, also while one of them waits for its
 *    answer (creating and destroying a soft AP: up to 20 s). Operations that register or unregister
 *    an object also wait while an object of the same class is being called on another thread.
 * 4. Objects are called on the receive thread, error listeners on a thread of their own. They stay
 *    registered when the library is stopped. After a restart of the service, and after a lost
 *    connection to it, the library repeats their registrations, and they are called with the
 *    present state.
 * 5. Operations throw only std::bad_alloc. In addition, the first operation for connection errors
 *    throws std::system_error if the thread of the listeners cannot be created, and DestroyInstance
 *    throws as described there. */
class PELACON_API WifiSystemApi {
  public:
    /* The one object; it exists until the process ends. */
    static WifiSystemApi& GetInstance();

    WifiSystemApi(const WifiSystemApi&) = delete;
    WifiSystemApi& operator=(const WifiSystemApi&) = default;

    /* ---- The soft AP ---- */

    /* Creates the soft AP with the band and the purpose in info, and fills the rest of info.
     * Returns info.errorCode, a SoftApResult; every answer fills info, also after a failure.
     * Unanswered -1; then diagnostic event 954079014 with code 6 is raised and the list of
     * processes is logged. Serialised; time-out 20 s. */
    int SystemCreateSoftAP(SoftAPInfo& info);

    /* Destroys the soft AP of this purpose. Returns the service's result, a SoftApResult.
     * Unanswered -1; then diagnostic event 954079014 with code 7 is raised and the list of
     * processes is logged. Serialised; time-out 20 s. */
    int SystemDestroySoftAP(EGoPurpose purpose);

    /* Makes the service choose the soft AP's channel again. Returns the channel; 0 when there is no
     * soft AP. Unanswered 0. Serialised. */
    unsigned char SystemRefreshSoftAPChannel();

    /* The soft AP's channel; 0 when there is no soft AP. Unanswered 0. */
    unsigned char GetSoftAPChannel();

    /* Whether there is a soft AP. Unanswered false. Serialised. */
    bool CheckMySoftAPExist();

    /* The network name that the soft AP has, or will have. Unanswered empty. Serialised. */
    std::string GetSSID();

    /* Generates a new network name and pass phrase. A soft AP that is up keeps its own until it is
     * created again. Serialised. */
    void ChangeSSIDAndPasswd();

    /* The SoftApResult of the last creation or destruction. Unanswered -1. Serialised. */
    int GetSoftApError();

    /* The IPv4 address of the soft AP, dotted; empty when there is none. Unanswered empty. */
    std::string GetLegacyAPIP();

    /* Whether this computer's own Wi-Fi is connected to an access point. Every answer fills channel
     * (0 when it is not connected) and ssid (at most 32 bytes). Unanswered false. Serialised. */
    bool IsAPConnected(int& channel, std::string& ssid);

    /* ---- The paired device, and restarts for it ---- */

    /* Sets the model name of the paired device; the service keeps 255 bytes. Returns whether the
     * service accepted it. Unanswered false. */
    bool SetPairDeviceModelName(std::string name);

    /* Reads the model name; every answer fills name. Returns whether there is one. Unanswered
     * false. */
    bool GetPairDeviceModelName(std::string& name);

    /* Sets the product types that the soft AP is for, each sent with a comma after it. Returns
     * whether the service accepted them. Unanswered false. */
    bool SetListProductType(std::list<std::string> types);

    /* Reads and sets a flag that the service stores: whether the mobile hotspot must be restarted.
     * Unanswered false. */
    bool GetRestartMobileHotpotFlag();
    void SetRestartMobileHotpotFlag(bool flag);

    /* Restarts the virtual adapter of the soft AP, which ends the soft AP; afterWakeUp marks (and
     * counts) a restart because the computer woke up. Returns whether the adapter is up again.
     * Unanswered false; time-out 10 s. */
    bool RestartWiFiDirectVirtualAdapter(bool afterWakeUp);

    /* The number of restarts of the adapter, and of those after a wake-up since ResetWakeUpCount.
     * Unanswered 0. */
    unsigned int GetRestartCount();
    unsigned int GetWakeUpRestartCount();
    void ResetWakeUpCount();

    /* The interface index of the soft AP's adapter, and its GUID as text in braces. Unanswered 0,
     * and empty. */
    unsigned long GetAdapterIndex();
    std::string GetAdapterGuid();

    /* ---- Callbacks for the soft AP ---- */

    /* Registers this object for connections to the soft AP, in place of the one before. It is
     * registered whenever the library is started, whatever the service answers: without a service
     * it is called as soon as there is one. When this returns, the object before is not used any
     * more. Null is refused, and nothing is sent. Serialised. */
    void RegistSoftApConnectStatus(ISoftApConnectStatus* listener);

    /* Registers, or unregisters, this object for the soft AP's advertisement and devices. Returns
     * the service's result; only when that is 0, the object is registered (only once) or
     * unregistered. After an unregistration with result 0 the object is not used any more.
     * Unanswered -1. */
    int RegisterSoftApNotificationEventCallback(ISoftAPNotification* listener);
    int UnRegisterSoftApNotificationEventCallback(ISoftAPNotification* listener);

    /* ---- Channels ----
     *
     * The service stores what the application sets for the paired phone, and computes everything:
     * the channels that both sides support, bands, frequencies. A setter that is unanswered has no
     * effect. */

    /* The channels that this computer supports, as decimal numbers separated by commas: those of
     * the 2.4 GHz band, those of the 5 GHz band, and the channel of its own Wi-Fi connection (0:
     * none). Unanswered, the arguments are unchanged. */
    void GetPCChannelList(std::string& channels24G, std::string& channels5G, int& current);

    /* The same as numbers, which replace the contents of the lists. A piece of the text that is not
     * a number, or does not fit 32 bits, becomes 0. */
    void GetPCSupportChannelList(std::list<int>& channels24G, std::list<int>& channels5G,
                                 int& current);

    /* Set and read the channel of the phone's own Wi-Fi connection; 0, or a number that is not a
     * channel, means none. Unanswered 0. */
    void SetPhoneCurrentChannel(int channel);
    int GetRecordPhoneChannel();

    /* Change the list of the channels that the phone supports: add a channel of the 5 GHz band, add
     * one of the 2.4 GHz band, remove all. A channel that is listed already, or that is not in the
     * band, is not added. */
    void AddPhoneSupportChannel(int channel);
    void AddPhoneSupport24Channel(int channel);
    void RemovePhoneSupportChannels();

    /* The channels that were added in the 5 GHz band, and in the 2.4 GHz band, in the order of
     * adding. Unanswered empty. */
    std::list<int> GetRecordPhoneChannelList();
    std::list<int> GetRecordPhone24GChannelList();

    /* All of them as text, the 2.4 GHz channels first. Unanswered, text is unchanged. */
    void GetPhoneChannelList(std::string& text);

    /* Makes the service check whether the soft AP should be in the 5 GHz band and could not be
     * moved there, and if so move it to the 2.4 GHz band. */
    void CheckIsSet5GFailed();

    /* The channel that would be chosen for the soft AP now, in the 5 GHz band or in the 2.4 GHz
     * band; 0 when there is none. The soft AP is not moved. Unanswered 0. Serialised. */
    int RepickChannelWithoutEffect(bool want5G);

    /* Moves the soft AP to the 5 GHz or the 2.4 GHz band. Returns its channel then; 0 when there is
     * no soft AP. Unanswered 0. Serialised. */
    int SetAPFrequence(bool want5G);

    /* The band of a channel. Unanswered kWifiFrequenceUnknown, and false. */
    WifiFrequenceType GetFrequenceType(int channel);
    bool Is5GChannel(int channel);
    bool Is24GChannel(int channel);

    /* The centre frequency of a channel in MHz, such as 2437 for channel 6; 0 for a number that is
     * not a channel. Unanswered 0. */
    int GetFrequencyFromChannel(const int& channel);

    /* ---- The Wi-Fi switch ---- */

    /* Switches this computer's Wi-Fi on or off, and waits until the switch has happened. Unanswered
     * kEnableWifiNoAnswer; time-out 10 s. */
    SystemApiEnableWifiResult EnableWifi(bool enable);

    /* Whether Wi-Fi is on. Unanswered kWifiStateUnknown. */
    SystemApiWifiState GetWifiState();

    /* Registers, or unregisters, this object for the Wi-Fi switch. Returns whether the service
     * agreed: only then the object is registered, or unregistered. An object that is registered
     * twice is called twice, and removed by one unregistration. Null is never registered. After an
     * unregistration that returned true the object is not used any more. Unanswered false. */
    bool RegistWifiStateChangeCallback(IWifiStateChangeNotification* observer);
    bool UnRegistWifiStateChangeCallback(IWifiStateChangeNotification* observer);

    /* Registers this object for the channel of the Wi-Fi connection. (The name differs from the one
     * above only in the case of one letter.) It is registered when the service agrees, and only
     * once. It cannot be unregistered, and must stay valid until the process ends. Null is refused,
     * and nothing is sent. Serialised. */
    void RegistWifiStateChangeCallBack(WifiRealMonitorStateCallBack* callback);

    /* Starts a scan for networks on this computer's first Wi-Fi interface, through the operating
     * system and not through the service; the library need not be started. Returns whether there is
     * such an interface. The result of the scan is not reported; the system may refuse it (Linux
     * requires the right to administer networks). */
    bool Scan();

    /* ---- Connection errors ----
     *
     * Errors that the service reports, and those that the application posts, are delivered to every
     * listener on a thread of the library. These operations send nothing to the service. */

    /* Registers a listener. False for null and for a listener that is registered already. */
    bool RegistListener(ErrorListener* listener);

    /* Unregisters a listener. False for null and for a listener that is not registered.
     *
     * Caution: if an error is still queued for the listener, the delivery of errors ends, for all
     * listeners and for the rest of the process. Unregister listeners only when no error can be
     * queued, or not at all. */
    bool UnregistListener(ErrorListener* listener);

    /* Queues this error for every listener, as if the service had reported it. */
    void PostNotification(ConnectErrorCode code);

    /* The text of a code. */
    std::string GetErrorString(ConnectErrorCode code);

    /* Delivers the queued errors, and ends the delivery for good: errors that are posted later are
     * not delivered. Does not destroy this object. Need not be called.
     *
     * May be called once. A second call throws std::system_error (std::errc::invalid_argument), and
     * so does a call inside a listener (std::errc::resource_deadlock_would_occur). */
    void DestroyInstance();

  private:
    WifiSystemApi() = default;
    ~WifiSystemApi() = default;
};

#endif /* __cplusplus */

#endif /* PELACONSDK_WIFISYSTEMAPI_H */
