/* The Wi-Fi system API in C: soft AP, channels, the Wi-Fi switch, connection errors, a scan.
 *
 * Each function does what a member of WifiSystemApi does. Its name is the member's with WifiSystem
 * in front; SystemX becomes WifiSystemX. See WifiSystemApi.h for waiting, results, time-outs, and
 * what an operation returns when it is unanswered. What follows says only how the C form differs.
 *
 * 1. A text that a function reads ends with a NUL. Null is refused with false or -1, and nothing is
 *    sent.
 * 2. A function that returns a text writes it into a buffer of `size` bytes, always with a NUL, cut
 *    if it is too long, and returns its whole length without the NUL. The text is complete if the
 *    result is less than `size`. Unanswered, and where memory runs out, the text is empty. Null, or
 *    a size below 1, is refused with -1.
 * 3. A function that returns a list writes at most `capacity` numbers and returns how many there
 *    are. Null with a capacity, or a negative capacity, is refused with -1.
 * 4. The library keeps the pointer to a table of callbacks only. The table must stay valid and
 *    unchanged as long as it is registered, and until no call of it is running. Any function in it
 *    may be null. For each table that a function was ever asked to register the library keeps some
 *    bytes. */
#ifndef PELACONSDK_WIFISYSTEM_H
#define PELACONSDK_WIFISYSTEM_H

#include <PelaconSDK/ErrorListener.h>
#include <PelaconSDK/Export.h>
#include <PelaconSDK/SoftAp.h>
#include <PelaconSDK/WifiState.h>

PELACON_C_BEGIN

/* ---- The soft AP ---- */

/* A null record is refused with -1. An answer fills the record, as it does in C++. */
PELACON_API int32_t WifiSystemCreateSoftAP(SoftAPInfoC* info);

PELACON_API int32_t WifiSystemDestroySoftAP(EGoPurpose purpose);
PELACON_API uint8_t WifiSystemRefreshSoftAPChannel(void);
PELACON_API uint8_t WifiSystemGetSoftAPChannel(void);
PELACON_API bool WifiSystemCheckMySoftAPExist(void);
PELACON_API int32_t WifiSystemGetSSID(char* ssid, int32_t size);
PELACON_API void WifiSystemChangeSSIDAndPasswd(void);
PELACON_API int32_t WifiSystemGetSoftApError(void);
PELACON_API int32_t WifiSystemGetLegacyAPIP(char* address, int32_t size);

/* Null, or a size below 1, is refused with false. Unanswered, *channel is unchanged and the text
 * empty. */
PELACON_API bool WifiSystemIsAPConnected(int32_t* channel, char* ssid, int32_t size);

/* ---- The paired device, and restarts for it ---- */

PELACON_API bool WifiSystemSetPairDeviceModelName(const char* name);

/* Empty also when there is no name. */
PELACON_API int32_t WifiSystemGetPairDeviceModelName(char* name, int32_t size);

/* `count` texts. A negative count is refused with false. */
PELACON_API bool WifiSystemSetListProductType(const char* const* types, int32_t count);

PELACON_API bool WifiSystemGetRestartMobileHotpotFlag(void);
PELACON_API void WifiSystemSetRestartMobileHotpotFlag(bool flag);
PELACON_API bool WifiSystemRestartWiFiDirectVirtualAdapter(bool afterWakeUp);
PELACON_API uint32_t WifiSystemGetRestartCount(void);
PELACON_API uint32_t WifiSystemGetWakeUpRestartCount(void);
PELACON_API void WifiSystemResetWakeUpCount(void);
PELACON_API uint32_t WifiSystemGetAdapterIndex(void);
PELACON_API int32_t WifiSystemGetAdapterGuid(char* guid, int32_t size);

/* ---- Callbacks for the soft AP ---- */

PELACON_API void WifiSystemRegistSoftApConnectStatus(SoftApConnectStatusCallbacksC* callbacks);
PELACON_API int32_t
WifiSystemRegisterSoftApNotificationEventCallback(SoftApNotificationCallbacksC* callbacks);
PELACON_API int32_t
WifiSystemUnRegisterSoftApNotificationEventCallback(SoftApNotificationCallbacksC* callbacks);

/* ---- Channels ---- */

/* As texts. Returns whether the service answered; false also for null or a size below 1.
 * Unanswered, nothing is written. 256 and 258 bytes are always enough. */
PELACON_API bool WifiSystemGetPCChannelList(char* channels24G, int32_t size24G, char* channels5G,
                                            int32_t size5G, int32_t* current);

/* As numbers: the two counts are the capacities of the lists before, and how many channels there
 * are afterwards. Returns whether the service answered; false also for null or a negative capacity.
 * Unanswered, nothing is written. */
PELACON_API bool WifiSystemGetPCSupportChannelList(int32_t* channels24G, int32_t* count24G,
                                                   int32_t* channels5G, int32_t* count5G,
                                                   int32_t* current);

PELACON_API void WifiSystemSetPhoneCurrentChannel(int32_t channel);
PELACON_API int32_t WifiSystemGetRecordPhoneChannel(void);
PELACON_API void WifiSystemAddPhoneSupportChannel(int32_t channel);
PELACON_API void WifiSystemAddPhoneSupport24Channel(int32_t channel);
PELACON_API void WifiSystemRemovePhoneSupportChannels(void);
PELACON_API int32_t WifiSystemGetRecordPhoneChannelList(int32_t* channels, int32_t capacity);
PELACON_API int32_t WifiSystemGetRecordPhone24GChannelList(int32_t* channels, int32_t capacity);
PELACON_API int32_t WifiSystemGetPhoneChannelList(char* text, int32_t size);
PELACON_API void WifiSystemCheckIsSet5GFailed(void);
PELACON_API int32_t WifiSystemRepickChannelWithoutEffect(bool want5G);
PELACON_API int32_t WifiSystemSetAPFrequence(bool want5G);
PELACON_API WifiFrequenceType WifiSystemGetFrequenceType(int32_t channel);
PELACON_API bool WifiSystemIs5GChannel(int32_t channel);
PELACON_API bool WifiSystemIs24GChannel(int32_t channel);
PELACON_API int32_t WifiSystemGetFrequencyFromChannel(int32_t channel);

/* ---- The Wi-Fi switch ---- */

PELACON_API SystemApiEnableWifiResult WifiSystemEnableWifi(bool enable);
PELACON_API SystemApiWifiState WifiSystemGetWifiState(void);
PELACON_API bool WifiSystemRegistWifiStateChangeCallback(WifiStateCallbacksC* callbacks);
PELACON_API bool WifiSystemUnRegistWifiStateChangeCallback(WifiStateCallbacksC* callbacks);

/* As the member RegistWifiStateChangeCallBack. (Its C name avoids two names that differ only in
 * one letter's case.) */
PELACON_API void WifiSystemRegistWifiChannelCallback(WifiChannelCallbacksC* callbacks);

PELACON_API bool WifiSystemScan(void);

/* ---- Connection errors ---- */

PELACON_API bool WifiSystemRegistListener(ErrorListenerC* listener);
PELACON_API bool WifiSystemUnregistListener(ErrorListenerC* listener);
PELACON_API void WifiSystemPostNotification(ConnectErrorCode code);
PELACON_API int32_t WifiSystemGetErrorString(ConnectErrorCode code, char* text, int32_t size);

/* Returns false where the member throws: from the second call on, also while the first one waits,
 * and inside a listener. The delivery ends all the same. */
PELACON_API bool WifiSystemDestroyInstance(void);

PELACON_C_END

#endif /* PELACONSDK_WIFISYSTEM_H */
