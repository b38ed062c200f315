/* Scanning: hearing what Bluetooth LE devices advertise, and reading what they say.
 *
 * An application registers a table of callbacks and gets a listener id for it. Under that id it
 * starts and stops scanning and installs filters. Targeted advertisements, meant for the
 * applications of one business, come to tables of their own.
 *
 * Every operation is one request to the service and blocks its caller for 5 s at most. All may be
 * called from any thread; those of listeners run one after the other, so that a caller may wait for
 * the operations of other threads too. The three readers of advertising data ask nobody and never
 * wait. */
#ifndef PELACONSDK_BLESCANNER_H
#define PELACONSDK_BLESCANNER_H

#include <PelaconSDK/BleStatus.h>
#include <PelaconSDK/Export.h>

PELACON_C_BEGIN

/* How much of what is in the air a scan hears. Other values go to the service as they are. */
PELACON_ENUM(BleScanPolicy){
    kBleScanLowPower = 0,   /* one in ten of each device's advertisements */
    kBleScanBalanced = 1,   /* one in four */
    kBleScanLowLatency = 2, /* all */
};

/* What became of a listener's scan. Other values are the service's own. */
PELACON_ENUM(BleScanStatus){
    kBleScanStarted = 0,           /* it scans */
    kBleScanStopped = 1,           /* it was told to stop */
    kBleScanStoppedAdapterOff = 2, /* the adapter was switched off; on again, start again */
    kBleScanServiceRestart = 3,    /* the service started anew: the id is valid; policy and filters
                                      are forgotten, see StartBleScan */
};

/* What a scan result is. Other values are the service's own. */
PELACON_ENUM(BleScanEventType){
    kBleScanConnectable = 0,    /* an advertisement; connecting and asking for more are welcome */
    kBleScanScannable = 1,      /* an advertisement that has a scan response */
    kBleScanNonConnectable = 2, /* an advertisement and nothing else */
    kBleScanResponse = 3,       /* the scan response that goes with an advertisement */
};

/* One advertisement or scan response as it was heard, unchanged as the service sent it. */
typedef struct BleScanResultC {
    uint64_t address;   /* the sender's, in the low six bytes, its first octet the most
                           significant */
    int32_t rssi;       /* how strongly it was heard, in dBm */
    int32_t eventType;  /* a BleScanEventType */
    uint32_t dataLen;   /* bytes at data, 31 at most */
    uint8_t data[31];   /* the advertising data, for BleGetAdvDataByType and its like */
    uint8_t unused[13]; /* zero */
} BleScanResultC;

/* What a filter looks at. A value from 1 to 255 is the AD type of a structure that the data must
 * hold and whose data must begin with the pattern. */
PELACON_ENUM(BleScanFilterType){
    kBleScanFilterAnywhere = 0,  /* the pattern occurs anywhere in the data */
    kBleScanFilterAddress = 256, /* the sender's address begins with the pattern */
};

/* One condition. An empty pattern asks for no bytes: the structure need only be there. */
typedef struct BleScanFilter {
    int32_t type;            /* a BleScanFilterType */
    uint32_t patternLength;  /* bytes that count; the service refuses more than 32 */
    uint8_t patternData[32]; /* for an address: its first octet first */
} BleScanFilter;

/* What an application wants to hear under one listener id. The library keeps the pointer only: the
 * table stays valid and unchanged from its registration until BleScanUnRegisterCallbacks returns.
 * The functions themselves stay in memory longer: unregistering does not wait for deliveries that
 * are under way, and those may still begin afterwards.
 *
 * An exception that leaves one of these functions ends the process (std::terminate). */
typedef struct BleScanCallbacksC {
    /* The listener's scan started or stopped: a BleScanStatus. Called on the receive thread with
     * the library's list of listeners locked: no other notification is delivered meanwhile, and
     * operations of other threads that register or unregister wait for it. It may call operations
     * of every family, those of this header included. Null when not wanted. */
    void (*onScanStatus)(int32_t listenerId, int32_t status);

    /* Something was heard. Each call has a thread of its own and no lock of the library's held: it
     * may call any operation and take as long as it likes, while others run beside it. So results
     * may overtake each other, and a slow function has many threads at once; should no further
     * thread be possible, the listener misses that result. Null when not wanted. */
    void (*onScanResult)(int32_t listenerId, BleScanResultC result);
} BleScanCallbacksC;

/* Which business a targeted advertisement is for: any 32-bit number that its applications agree
 * on. These two are the ones that the simulated world uses. */
PELACON_ENUM(BleTargetBusiness){
    kBleTargetPairing = 1,
    kBleTargetHandoff = 2,
};

/* Which targeted advertisements to hear. */
typedef struct TargetAdvFilter {
    BleTargetBusiness business;
    uint8_t unused[272]; /* not looked at */
} TargetAdvFilter;

/* One targeted advertisement. */
typedef struct TargetAdvInfo {
    BleTargetBusiness business;
    uint8_t data[36]; /* carried unchanged; its meaning is the business's own */
} TargetAdvInfo;

/* What hears the targeted advertisements of one business. The rules of BleScanCallbacksC hold. */
typedef struct VoviewRecvAdvCallbacksC {
    /* A targeted advertisement came. Each call has a thread of its own, as onScanResult. Null when
     * not wanted. */
    void (*onTargetAdv)(TargetAdvInfo info);
} VoviewRecvAdvCallbacksC;

/* The C form. Each function does what the member of BleScanner with its name does. Here and there
 * these results mean: 0 done; kBleStatusFailed the library is not started or an argument is
 * invalid; kBleStatusNoReply no answer; others are the service's own. */

/* Makes a listener for the table and stores its id in *listenerId; the id is stored and the table
 * kept only when the result is 0. `listenerId` must not be null. A null table is not refused: its
 * listener hears nothing. Should the service give an id that the library still knows, the table
 * of before stays. kBleStatusNoReply also raises diagnostic event 954082007. */
PELACON_API BleStatusC BleScanRegisterCallbacks(BleScanCallbacksC* callbacks, int* listenerId);

/* Forgets the listener. The library forgets it first: whatever the result, its table is not used
 * afterwards (see there for calls under way). Waits while a status is being told. */
PELACON_API BleStatusC BleScanUnRegisterCallbacks(int listenerId);

/* Begins to scan. Results go to every listener of this process that scans, whichever of them asked
 * for what is heard: the fastest of their policies counts, and a result passes if the filters of
 * one of them let it through. Starting a listener that scans already changes its policy. After a
 * restart of the service it scans on, at the fastest policy and without its filters, and is told
 * so (kBleScanServiceRestart): set the filters and start again to have both as before.
 * kBleStatusNoReply also raises diagnostic event 954082007. */
PELACON_API BleStatusC StartBleScan(int listenerId, BleScanPolicy policy);

/* Stops scanning. The listener hears nothing more once the request was sent, whatever the service
 * answers; only when the library is not started does it stay as it was. */
PELACON_API BleStatusC StopBleScan(int listenerId);

/* Has the listener hear only what passes at least one of these filters, in place of those before;
 * none (0) lets everything through. More than five are refused with kBleStatusFailed, and so is a
 * null array of more than none. */
PELACON_API BleStatusC SetScanFilter(int listenerId, BleScanFilter* filters, int filterSize);

/* Takes the listener's filters away: it hears everything. */
PELACON_API BleStatusC RemoveScanFilter(int listenerId);

/* Has the table hear the targeted advertisements of filter.business. A business has one table: a
 * second registration succeeds but keeps the first one's. A null table is not refused, and hears
 * nothing. The table is kept only when the result is 0. */
PELACON_API BleStatusC BleRegisterTargetAdvCallback(TargetAdvFilter filter,
                                                    VoviewRecvAdvCallbacksC* callbacks);

/* Forgets the business's table. As with listeners, the library forgets it first. */
PELACON_API BleStatusC BleUnRegisterTargetAdvCallback(BleTargetBusiness business);

/* Hands the service a targeted advertisement that came by other means; it tells whoever listens
 * for its business, in this process and in others. */
PELACON_API BleStatusC BleOnRecvVoviewData(TargetAdvInfo info);

/* Reading advertising data: a sequence of structures, each a length byte, then that many bytes, of
 * which the first is the AD type.
 *
 * On success these store a pointer into `advData` and the number of bytes there, and return 0.
 * Otherwise they store nothing: kBleStatusNotFound (-3) when there is no such structure before the
 * end or before one that reaches beyond it, kBleStatusFailed when an output is null. They never
 * read outside the buffer. Null data have length 0. */

/* The data of the first structure of this AD type. A structure whose length byte is 0 has no room
 * for its type: the byte behind counts as its type, and its length is stored as 0xFFFFFFFF; check
 * for that before using the data. */
PELACON_API BleStatusC BleGetAdvDataByType(const uint8_t* advData, uint32_t advLen, uint8_t type,
                                           uint8_t** data, uint32_t* dataLen);

/* The manufacturer's data of the first structure of AD type 0xFF, without the two bytes that name
 * the company. The company is not compared: read those two bytes, which stand before *data. */
PELACON_API BleStatusC BleGetManufacturerDataByCompanyId(const uint8_t* advData, uint32_t advLen,
                                                         uint16_t companyId, uint8_t** data,
                                                         uint32_t* dataLen);

/* The service data of the first structure of AD type 0x16, if it is for this 16-bit UUID, without
 * the UUID. Later structures are not looked at. */
PELACON_API BleStatusC BleGetServiceDataByUuid(const uint8_t* advData, uint32_t advLen,
                                               uint16_t uuid, uint8_t** data, uint32_t* dataLen);

PELACON_C_END

#ifdef __cplusplus

/* Scanning, for C++. Nothing here throws, but std::bad_alloc for want of memory and
 * std::system_error when a mutex cannot be locked. The results are those of the C functions of the
 * same names above. */
class PELACON_API BleScanner {
  public:
    BleScanner() = delete;

    static BleStatusC BleScanRegisterCallbacks(BleScanCallbacksC* callbacks, int* listenerId);
    static BleStatusC BleScanUnRegisterCallbacks(int listenerId);
    static BleStatusC StartBleScan(int listenerId, BleScanPolicy policy);
    static BleStatusC StopBleScan(int listenerId);
    static BleStatusC SetScanFilter(int listenerId, BleScanFilter* filters, int filterSize);
    static BleStatusC RemoveScanFilter(int listenerId);

    static BleStatusC BleRegisterTargetAdvCallback(TargetAdvFilter filter,
                                                   VoviewRecvAdvCallbacksC* callbacks);
    static BleStatusC BleUnRegisterTargetAdvCallback(BleTargetBusiness business);
    static BleStatusC BleOnRecvVoviewData(TargetAdvInfo info);
};

#endif /* __cplusplus */

#endif /* PELACONSDK_BLESCANNER_H */
