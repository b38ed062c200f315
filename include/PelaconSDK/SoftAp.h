/* The soft access point that phones join: its record, and the callbacks for it. For
 * WifiSystemApi.h and WifiSystem.h. */
#ifndef PELACONSDK_SOFTAP_H
#define PELACONSDK_SOFTAP_H

#include <PelaconSDK/Export.h>

#ifdef __cplusplus
#include <string>
#endif

PELACON_C_BEGIN

/* The service's result of creating or destroying a soft AP (SoftAPInfo::errorCode,
 * SystemDestroySoftAP, GetSoftApError). Other values are the service's own. */
enum PELACON_ENUM(SoftApResult) {
    kSoftApNoReply = -1, /* refused by the library, or no answer: the outcome is not known */
    kSoftApSuccess = 0,
    kSoftApWifiOff = 1,         /* Wi-Fi is switched off */
    kSoftApOtherPurpose = 3,    /* it was created for another purpose */
    kSoftApLimitReached = 4,    /* the radio has no room for one */
    kSoftApInvalidArgument = 5, /* the service does not accept a value */
    kSoftApNotExisting = 7,     /* there is none to destroy */
    kSoftApNotPermitted = 8,    /* the system does not allow it */
    kSoftApUnreachable = 9,     /* the radio did not answer in time */
    kSoftApNotPossible = 10,    /* not supported, or no channel suits both sides */
    kSoftApInterrupted = 11,    /* it was destroyed, or the service was ended, before it was up */
    kSoftApAlreadyExists = 0x10000001, /* there is one already; as kConnectGoAlreadyExist */
};

/* The purpose of a soft AP. Other values go to the service unchanged. The service keeps the purpose
 * given at creation, and destroys a soft AP only for this purpose or for kGoPurposeAny. */
enum PELACON_ENUM(EGoPurpose) {
    kGoPurposeAny = 0,
    kGoPurposeTransfer = 1, /* to transfer files */
    kGoPurposeScreen = 2,   /* to share a screen */
};

/* Frequency bands, in SoftAPInfo. */
enum PELACON_ENUM(SoftApBand) {
    kSoftApBandAny = 0,
    kSoftApBand24G = 1,
    kSoftApBand5G = 2,
};

/* The status of the soft AP's advertisement. */
enum PELACON_ENUM(SoftApAdvertisementStatus) {
    kSoftApAdvertisementStopped = 0,
    kSoftApAdvertisementStarted = 1,
    kSoftApAdvertisementMoved = 2, /* to another channel */
};

/* The complete advertisement. Every service sends the status; the other fields are as
 * PelaconService sends them, and zero where a service sends less. */
typedef struct SoftApAdvertisementState {
    uint32_t status; /* as in OnAdvertisementStatus */
    int32_t channel; /* 0 when stopped */
    char ssid[32];   /* NUL-terminated when shorter than 32 bytes */
} SoftApAdvertisementState;

/* A soft AP, for WifiSystemCreateSoftAP: the application sets the two request members, and an
 * answer fills all others. Texts end with a NUL. */
typedef struct SoftAPInfoC {
    char ssid[33];         /* out: network name */
    char password[257];    /* out: pass phrase */
    char ipAddress[17];    /* out: IPv4 address of the soft AP, dotted */
    uint8_t mac[6];        /* out: the interface's address, first octet first */
    uint8_t channel;       /* out: the soft AP's channel */
    uint8_t band;          /* out: the soft AP's band, a SoftApBand */
    uint8_t requestedBand; /* in: the requested band, a SoftApBand */
    int32_t purpose;       /* in: the purpose, an EGoPurpose */
    int32_t errorCode;     /* out: the service's result, a SoftApResult */
} SoftAPInfoC;

/* Called as ISoftApConnectStatus is. */
typedef struct SoftApConnectStatusCallbacksC {
    /* As ISoftApConnectStatus::OnConnectStatus. */
    void (*onConnectStatus)(int32_t status);
} SoftApConnectStatusCallbacksC;

/* Called as ISoftAPNotification is. */
typedef struct SoftApNotificationCallbacksC {
    /* As ISoftAPNotification::OnAdvertisementStatus. */
    void (*onAdvertisementStatus)(uint32_t status);
    /* As ISoftAPNotification::OnAdvertisementState. */
    void (*onAdvertisementState)(const SoftApAdvertisementState* state);
    /* As ISoftAPNotification::OnDeviceConnectionStatus. */
    void (*onDeviceConnectionStatus)(uint32_t status);
} SoftApNotificationCallbacksC;

PELACON_C_END

#ifdef __cplusplus

/* A soft AP, for WifiSystemApi::SystemCreateSoftAP: the application sets the two request members,
 * and an answer fills all others. Texts are in the encoding of the service, which is UTF-8. */
struct SoftAPInfo {
    std::string ssid;        /* out: network name, at most 32 bytes */
    std::string password;    /* out: pass phrase, at most 255 bytes */
    uint8_t mac[6] = {};     /* out: the interface's address, first octet first */
    uint8_t apByte1 = 0;     /* out: the soft AP's channel */
    uint8_t requestByte = 0; /* in: the requested band, a SoftApBand */
    std::string ipAddress;   /* out: IPv4 address of the soft AP, dotted, at most 15 characters */
    uint8_t apByte2 = 0;     /* out: the soft AP's band, a SoftApBand */
    int32_t requestInt = 0;  /* in: the purpose, an EGoPurpose */
    int32_t errorCode = 0;   /* out: the service's result, a SoftApResult */
};

/* The application implements the classes below. The library keeps the pointer only; WifiSystemApi.h
 * says how long an object must live. Objects are called on the receive thread, and may call any
 * operation. An exception that leaves one ends the process (std::terminate). After a restart of the
 * service, and after a lost connection to it, the objects are called with the present state. */

/* Called when the first device connects to the soft AP and when the last one disconnects. A process
 * has one such object: registering another one replaces it. */
class PELACON_INTERFACE ISoftApConnectStatus {
  public:
    /* 1 when the first device has connected, 0 when the last one has disconnected. Other values are
     * the service's own. */
    virtual void OnConnectStatus(int32_t status) = 0;

    virtual ~ISoftApConnectStatus() = default;
};

/* Called on changes of the soft AP's advertisement, and when devices connect or disconnect. */
class PELACON_INTERFACE ISoftAPNotification {
  public:
    /* The advertisement's new status, a SoftApAdvertisementStatus. */
    virtual void OnAdvertisementStatus(uint32_t status) = 0;

    /* The same change, called directly after OnAdvertisementStatus. The record is valid during the
     * call. */
    virtual void OnAdvertisementState(const SoftApAdvertisementState* state) = 0;

    /* A device has connected (1) or disconnected (0). Other values are the service's own. After a
     * restart or a lost connection: 1 for each device that is connected, or 0 once when there is
     * none. */
    virtual void OnDeviceConnectionStatus(uint32_t status) = 0;

    virtual ~ISoftAPNotification() = default;
};

#endif /* __cplusplus */

#endif /* PELACONSDK_SOFTAP_H */
