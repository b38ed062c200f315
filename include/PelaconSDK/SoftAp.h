/* The soft access point that phones join: its record, and who hears of it. For WifiSystemApi.h. */
#ifndef PELACONSDK_SOFTAP_H
#define PELACONSDK_SOFTAP_H

#include <PelaconSDK/Export.h>

#ifdef __cplusplus

#include <string>

/* What the service says of a soft AP that it was asked to create or destroy (SoftAPInfo::errorCode,
 * SystemDestroySoftAP, GetSoftApError). Other values are the service's own. */
PELACON_ENUM(SoftApResult){
    kSoftApSuccess = 0,
    kSoftApWifiOff = 1,      /* Wi-Fi is switched off */
    kSoftApOtherPurpose = 3, /* it was created for another purpose than it is destroyed for */
    kSoftApNotExisting = 7,  /* there is none to destroy */
    kSoftApNotPossible = 10, /* the radio could not; such as for want of a channel for both sides */
    kSoftApInterrupted = 11, /* it was destroyed, or the service was ended, before it was there */
    kSoftApAlreadyExists = 0x10000001, /* there is one already; as kConnectGoAlreadyExist */
};

/* What a soft AP is created and destroyed for. Other values go to the service as they are: it keeps
 * the purpose given at creation and destroys a soft AP for the same purpose, or for
 * kGoPurposeAny. */
PELACON_ENUM(EGoPurpose){
    kGoPurposeAny = 0, kGoPurposeTransfer = 1, /* files are passed on */
    kGoPurposeScreen = 2,                      /* a screen is shared */
};

/* Frequency bands, in SoftAPInfo. */
PELACON_ENUM(SoftApBand){
    kSoftApBandAny = 0,
    kSoftApBand24G = 1,
    kSoftApBand5G = 2,
};

/* A soft AP, for SystemCreateSoftAP: the application fills the two request members, an answer fills
 * all others. Texts are in the encoding of the service, which is UTF-8. */
struct SoftAPInfo {
    std::string ssid;        /* out: network name, at most 32 bytes */
    std::string password;    /* out: pass phrase, at most 255 bytes */
    uint8_t mac[6] = {};     /* out: the interface's address, in the order in which it is written */
    uint8_t apByte1 = 0;     /* out: the channel that the soft AP is on */
    uint8_t requestByte = 0; /* in: the band that is wanted, a SoftApBand */
    std::string ipAddress;   /* out: IPv4 address of the soft AP, dotted, at most 15 characters */
    uint8_t apByte2 = 0;     /* out: the band that the soft AP is on, a SoftApBand */
    int32_t requestInt = 0;  /* in: what it is created for, an EGoPurpose */
    int32_t errorCode = 0;   /* out: the service's result, a SoftApResult */
};

/* The classes below are the application's to implement. The library keeps the pointer only; the
 * header of WifiSystemApi says for how long. All are called on the receive thread with the
 * library's record of them locked: they may call any operation but those that register or
 * unregister an object of the same class, which would wait for ever. While one runs, no other
 * notification is delivered. An exception that leaves one ends the process. */

/* Called when the first device connects to the soft AP and when the last one is gone. One object of
 * the process is. When the service was restarted, or the connection to it was lost, this object and
 * those of the class below are called again, with the state that is found then. */
class PELACON_INTERFACE ISoftApConnectStatus {
  public:
    /* 1 when the first device has connected, 0 when the last one is gone. Other values are the
     * service's own. */
    virtual void OnConnectStatus(int32_t status) = 0;

    virtual ~ISoftApConnectStatus() = default;
};

/* What the soft AP's advertisement is doing. */
PELACON_ENUM(SoftApAdvertisementStatus){
    kSoftApAdvertisementStopped = 0, kSoftApAdvertisementStarted = 1,
    kSoftApAdvertisementMoved = 2, /* to another channel */
};

/* The advertisement in full. Only the status is part of every service's message; the fields behind
 * it are as PelaconService fills them, and zero where another service sends less. */
struct SoftApAdvertisementState {
    uint32_t status; /* as OnAdvertisementStatus is told */
    int32_t channel; /* 0 when it is stopped */
    char ssid[32];   /* NUL-terminated when shorter than 32 bytes */
};

/* Called on changes of the soft AP's advertisement and for the devices that connect to it. */
class PELACON_INTERFACE ISoftAPNotification {
  public:
    /* The advertisement's new status, a SoftApAdvertisementStatus. */
    virtual void OnAdvertisementStatus(uint32_t status) = 0;

    /* The same change in full, straight after the status. The record is read-only and valid during
     * the call. */
    virtual void OnAdvertisementState(const SoftApAdvertisementState* state) = 0;

    /* A device has connected (1) or is gone (0). Other values are the service's own. After a
     * restart or a lost connection: 1 for each device that is connected, or 0 once when there is
     * none. */
    virtual void OnDeviceConnectionStatus(uint32_t status) = 0;

    virtual ~ISoftAPNotification() = default;
};

#endif /* __cplusplus */

#endif /* PELACONSDK_SOFTAP_H */
