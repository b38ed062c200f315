/* Advertising: sending data that other devices receive when they scan.
 *
 * An application registers a table of callbacks and gets an advertiser id for it. With this id it
 * starts and stops advertising.
 *
 * Every operation is one request to the service, with a time-out of 5 s. Operations run one after
 * the other: a caller also waits for those of other threads. Registering and unregistering also
 * wait while a callback of an advertiser is running on another thread. */
#ifndef PELACONSDK_BLEADVERTISER_H
#define PELACONSDK_BLEADVERTISER_H

#include <PelaconSDK/BleStatus.h>
#include <PelaconSDK/Export.h>

#ifdef __cplusplus
#include <vector>
#endif

PELACON_C_BEGIN

/* What other devices may do about an advertisement. The library sends any other value as 0. */
enum PELACON_ENUM(BleAdvEventType) {
    kBleAdvConnectable = 0,    /* connect, and request the scan response */
    kBleAdvScannable = 1,      /* request the scan response */
    kBleAdvNonConnectable = 2, /* neither: the scan response is not sent */
};

/* Why an advertiser stopped. Other values are the service's own. */
enum PELACON_ENUM(BleAdvDisableStatus) {
    kBleAdvTimeOver = 0,       /* its total time is over */
    kBleAdvAdapterOff = 1,     /* the adapter was switched off */
    kBleAdvServiceRestart = 2, /* the service was restarted: the id is valid, start again */
    kBleAdvRadioFailed = 3,    /* the radio ended it, or did not start it again after a pause */
};

/* Callbacks for one advertiser. The library keeps the pointer only: the table must stay valid and
 * unchanged from its registration until BleAdvUnRegisterCallbacks returns.
 *
 * Called on the receive thread. A callback may call any operation. An exception that leaves it ends
 * the process (std::terminate). */
typedef struct BleAdvCallbacksC {
    /* The advertiser stopped by itself: a BleAdvDisableStatus. Its id stays registered. May be
     * null. */
    void (*onAdvertiseDisabled)(int32_t advId, int32_t status);
} BleAdvCallbacksC;

/* Parameters of advertising. Unless stated otherwise, the service refuses values out of range. */
typedef struct BleAdvertiseParamsC {
    int32_t minInterval;   /* between advertisements, in ms: 20 to 10240, or 0 for 100 */
    int32_t maxInterval;   /* no less than minInterval, or 0 for the same */
    int32_t channelMap;    /* bits 0, 1, 2: channels 37, 38, 39; 0 for all */
    int32_t advEventType;  /* a BleAdvEventType */
    int32_t txPower;       /* dBm, -127 to 20 */
    int32_t sendTotalTime; /* ms after which advertising ends by itself; 0: never */
    int32_t sendPartTime;  /* ms of advertising and then as long a pause, in turn; 0: no pauses.
                              At most sendTotalTime, unless that is 0. Neither is negative. */
} BleAdvertiseParamsC;

/* The data to advertise, for C: each sequence has at most 31 bytes. A sequence of length 0 may have
 * a null pointer. */
typedef struct BleAdvertiseDataC {
    uint32_t advDataLen;     /* bytes at advData */
    const uint8_t* advData;  /* the advertisement */
    uint32_t scanRespLen;    /* bytes at scanResp */
    const uint8_t* scanResp; /* the scan response */
} BleAdvertiseDataC;

/* The C form. Each function does the same as the member of BleAdvertiser with its name. Results: 0
 * done; kBleStatusFailed the library is not started or an argument is invalid; kBleStatusNoReply no
 * answer; others are the service's own. */

/* Creates an advertiser for the table and stores its id in *businessId. The id is stored and the
 * table registered only when the result is 0. A null argument is refused with kBleStatusFailed. If
 * the service assigns an id that is registered already, the first table stays. kBleStatusNoReply
 * also raises diagnostic event 954082008. */
PELACON_API BleStatusC BleAdvRegisterCallbacks(BleAdvCallbacksC* advCallback, int* businessId);

/* Stops and removes the advertiser. The library unregisters its table first: whatever the result,
 * the table is not used afterwards. */
PELACON_API BleStatusC BleAdvUnRegisterCallbacks(int advId);

/* Starts to advertise; an advertiser that is started already begins again with the new parameters
 * and data. A sendTotalTime or sendPartTime that BleAdvertiseParamsC excludes, a null argument, and
 * a null sequence that is not empty are refused with kBleStatusFailed, a sequence of more than 31
 * bytes with kBleStatusDataTooLong; nothing is sent then. PelaconService answers when the
 * advertiser is on air. Its refusals are: 1 the radio is off, 4 it advertises as much as it can, 8
 * the system does not allow it, 9 the radio did not answer in time, 10 it failed otherwise, 11 the
 * advertiser was stopped meanwhile. kBleStatusNoReply also raises diagnostic event 954082008. */
PELACON_API BleStatusC BleStartAdvertise(int advId, const BleAdvertiseParamsC* params,
                                         const BleAdvertiseDataC* data);

/* Stops advertising. The advertiser stays registered; its callback is not called. */
PELACON_API BleStatusC BleStopAdvertise(int advId);

PELACON_C_END

#ifdef __cplusplus

/* The data to advertise: each sequence has at most 31 bytes. */
struct BleAdvertiseData {
    std::vector<uint8_t> advData;  /* the advertisement */
    std::vector<uint8_t> scanResp; /* the scan response */
};

/* Advertising, for C++. Throws nothing but std::bad_alloc. Results are as for the C functions with
 * the same names. */
class PELACON_API BleAdvertiser {
  public:
    BleAdvertiser() = delete;

    static BleStatusC BleAdvRegisterCallbacks(BleAdvCallbacksC* advCallback, int* businessId);
    static BleStatusC BleAdvUnRegisterCallbacks(int advId);
    static BleStatusC BleStartAdvertise(int advId, const BleAdvertiseParamsC& params,
                                        const BleAdvertiseData& data);
    static BleStatusC BleStopAdvertise(int advId);
};

#endif /* __cplusplus */

#endif /* PELACONSDK_BLEADVERTISER_H */
