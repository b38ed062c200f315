/* Advertising: sending out data for others to hear.
 *
 * An application registers a table of callbacks and gets an advertiser id for it. Under that id it
 * starts and stops advertising.
 *
 * Every operation is one request to the service and blocks its caller for 5 s at most. All may be
 * called from any thread; they run one after the other, so that a caller may wait for the
 * operations of other threads too. */
#ifndef PELACONSDK_BLEADVERTISER_H
#define PELACONSDK_BLEADVERTISER_H

#include <PelaconSDK/BleStatus.h>
#include <PelaconSDK/Export.h>

#ifdef __cplusplus
#include <vector>
#endif

PELACON_C_BEGIN

/* What others may do about an advertisement. The library sends any other value as 0. */
PELACON_ENUM(BleAdvEventType){
    kBleAdvConnectable = 0,    /* connect, and ask for the scan response */
    kBleAdvScannable = 1,      /* ask for the scan response */
    kBleAdvNonConnectable = 2, /* nothing: the scan response is not sent */
};

/* Why an advertiser went silent. Other values are the service's own. */
PELACON_ENUM(BleAdvDisableStatus){
    kBleAdvTimeOver = 0,       /* its total time is over */
    kBleAdvAdapterOff = 1,     /* the adapter was switched off */
    kBleAdvServiceRestart = 2, /* the service started anew: the id is valid, start it again */
};

/* What an application wants to hear of its advertiser. The library keeps the pointer only: the
 * table stays valid and unchanged from its registration until BleAdvUnRegisterCallbacks returns.
 *
 * Called on the receive thread with the library's list of advertisers locked: no other notification
 * is delivered meanwhile. It may call operations of every family, those of this header included;
 * each holds the receive thread up until it is answered. An exception that leaves it ends the
 * process (std::terminate). */
typedef struct BleAdvCallbacksC {
    /* The advertiser went silent by itself: a BleAdvDisableStatus. Its id stays registered. Null
     * when not wanted. */
    void (*onAdvertiseDisabled)(int32_t advId, int32_t status);
} BleAdvCallbacksC;

/* How to advertise. Where nothing else is said, the service refuses values out of range. */
typedef struct BleAdvertiseParamsC {
    int32_t minInterval;   /* between advertisements, in ms: 20 to 10240, or 0 for 100 */
    int32_t maxInterval;   /* no less than minInterval, or 0 for the same */
    int32_t channelMap;    /* bits 0, 1, 2: channels 37, 38, 39; 0 for all */
    int32_t advEventType;  /* a BleAdvEventType */
    int32_t txPower;       /* dBm, -127 to 20 */
    int32_t sendTotalTime; /* ms after which it ends by itself; 0: never */
    int32_t sendPartTime;  /* ms on the air, then as long a rest, in turn; 0: without rests.
                              No longer than a sendTotalTime that is not 0. Neither is negative. */
} BleAdvertiseParamsC;

/* What to advertise, for C: bytes and their number, each no more than 31. A sequence of length 0
 * may have a null pointer. */
typedef struct BleAdvertiseDataC {
    uint32_t advDataLen;
    const uint8_t* advData;
    uint32_t scanRespLen;
    const uint8_t* scanResp;
} BleAdvertiseDataC;

/* The C form. Each function does what the member of BleAdvertiser with its name does. Here and
 * there these results mean: 0 done; kBleStatusFailed the library is not started or an argument is
 * invalid; kBleStatusNoReply no answer; others are the service's own. */

/* Makes an advertiser for the table and stores its id in *businessId; the id is stored and the
 * table kept only when the result is 0. A null argument is refused with kBleStatusFailed. Should
 * the service give an id that the library still knows, the table of before stays.
 * kBleStatusNoReply also raises diagnostic event 954082008. */
PELACON_API BleStatusC BleAdvRegisterCallbacks(BleAdvCallbacksC* advCallback, int* businessId);

/* Stops and forgets the advertiser. The library forgets it first: whatever the result, its table is
 * not used afterwards. Waits while one of these tables is being called. */
PELACON_API BleStatusC BleAdvUnRegisterCallbacks(int advId);

/* Begins to advertise; an advertiser that does so already goes on with the new data. Times that
 * BleAdvertiseParamsC excludes are refused with kBleStatusFailed, and so is a null argument, or a
 * null sequence that is not empty. More than 31 bytes of either kind return kBleStatusDataTooLong
 * (-10). In none of these cases is anything sent. kBleStatusNoReply also raises diagnostic event
 * 954082008. */
PELACON_API BleStatusC BleStartAdvertise(int advId, const BleAdvertiseParamsC* params,
                                         const BleAdvertiseDataC* data);

/* Ends advertising. The advertiser stays registered, and its table is not told of this. */
PELACON_API BleStatusC BleStopAdvertise(int advId);

PELACON_C_END

#ifdef __cplusplus

/* What to advertise: each sequence holds 31 bytes at most. */
struct BleAdvertiseData {
    std::vector<uint8_t> advData;
    std::vector<uint8_t> scanResp;
};

/* Advertising, for C++. Nothing here throws, but std::bad_alloc for want of memory and
 * std::system_error when a mutex cannot be locked. The results are those of the C functions of the
 * same names above. */
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
