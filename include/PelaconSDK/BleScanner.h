/* Scanning: receiving the advertisements of Bluetooth LE devices, and reading their data.
 *
 * An application registers a table of callbacks and gets a listener id for it. With this id it
 * starts and stops scanning and sets filters. Targeted advertisements, which are meant for the
 * applications of one business, are delivered to tables of their own.
 *
 * Every operation is one request to the service, with a time-out of 5 s. Operations on listeners
 * run one after the other: a caller also waits for those of other threads. BleScanRegisterCallbacks
 * and BleScanUnRegisterCallbacks also wait while a status callback is running on another thread.
 * The three functions that read advertising data send nothing and never wait. */
#ifndef PELACONSDK_BLESCANNER_H
#define PELACONSDK_BLESCANNER_H

#include <PelaconSDK/BleStatus.h>
#include <PelaconSDK/Export.h>

PELACON_C_BEGIN

/* How much a scan receives. Other values go to the service unchanged. */
enum PELACON_ENUM(BleScanPolicy) {
    kBleScanLowPower = 0,   /* one in ten of each device's advertisements */
    kBleScanBalanced = 1,   /* one in four */
    kBleScanLowLatency = 2, /* all */
};

/* The status of a listener's scan. Other values are the service's own. */
enum PELACON_ENUM(BleScanStatus) {
    kBleScanStarted = 0,           /* it scans */
    kBleScanStopped = 1,           /* StopBleScan ended it */
    kBleScanStoppedAdapterOff = 2, /* the adapter was switched off; once it is on, start again */
    kBleScanServiceRestart = 3,    /* the service was restarted: the id is valid; policy and filters
                                      are lost, see StartBleScan */
    kBleScanRadioFailed = 4,       /* the radio ended it, or could not start it */
};

/* The kind of a scan result. Other values are the service's own. */
enum PELACON_ENUM(BleScanEventType) {
    kBleScanConnectable = 0,    /* an advertisement of a device that accepts connections */
    kBleScanScannable = 1,      /* an advertisement that has a scan response */
    kBleScanNonConnectable = 2, /* an advertisement without either */
    kBleScanResponse = 3,       /* the scan response that goes with an advertisement */
};

/* One advertisement or scan response, unchanged as the service sent it. */
typedef struct BleScanResultC {
    uint64_t address;   /* the sender's, in the low six bytes, its first octet the most
                           significant */
    int32_t rssi;       /* signal strength in dBm; 127 if the radio does not know it */
    int32_t eventType;  /* a BleScanEventType */
    uint32_t dataLen;   /* bytes at data. The library does not check it: at most 31 from
                           PelaconService; treat more as 31 */
    uint8_t data[31];   /* the advertising data, for BleGetAdvDataByType and similar functions */
    uint8_t unused[13]; /* zero */
} BleScanResultC;

/* What a filter compares. A value from 1 to 255 is an AD type: the advertisement must have a
 * structure of this type whose data begin with the pattern. */
enum PELACON_ENUM(BleScanFilterType) {
    kBleScanFilterAnywhere = 0,  /* the pattern occurs anywhere in the data */
    kBleScanFilterAddress = 256, /* the sender's address begins with the pattern */
};

/* One condition. With an empty pattern the structure need only be present. */
typedef struct BleScanFilter {
    int32_t type;            /* a BleScanFilterType */
    uint32_t patternLength;  /* bytes that count; the service refuses more than 32 */
    uint8_t patternData[32]; /* for an address: its first octet first */
} BleScanFilter;

/* Callbacks for one listener id. The library keeps the pointer only: the table must stay valid and
 * unchanged from its registration until BleScanUnRegisterCallbacks returns. The functions
 * themselves must stay in memory longer: unregistering does not wait for deliveries that have
 * begun, and their calls may start afterwards.
 *
 * An exception that leaves one of these functions ends the process (std::terminate). */
typedef struct BleScanCallbacksC {
    /* The listener's scan started or stopped: a BleScanStatus. Called on the receive thread. May
     * call any operation. May be null. */
    void (*onScanStatus)(int32_t listenerId, int32_t status);

    /* A result was received. Each call runs on a thread of its own: it may call any operation and
     * take any time. Calls run at the same time, and results may overtake each other; where no
     * further thread can be created, the listener misses the result. May be null. */
    void (*onScanResult)(int32_t listenerId, BleScanResultC result);
} BleScanCallbacksC;

/* The business that a targeted advertisement is for: any 32-bit number that its applications agree
 * on. The simulated world uses these two. */
enum PELACON_ENUM(BleTargetBusiness) {
    kBleTargetPairing = 1,
    kBleTargetHandoff = 2,
};

/* Selects targeted advertisements. */
typedef struct TargetAdvFilter {
    BleTargetBusiness business; /* the business to receive */
    uint8_t unused[272];        /* ignored */
} TargetAdvFilter;

/* One targeted advertisement. */
typedef struct TargetAdvInfo {
    BleTargetBusiness business; /* the business that it is for */
    uint8_t data[36];           /* passed on unchanged; the business defines it */
} TargetAdvInfo;

/* The callback for one business. The rules of BleScanCallbacksC apply. */
typedef struct VoviewRecvAdvCallbacksC {
    /* A targeted advertisement was received. Each call runs on a thread of its own, as
     * onScanResult. May be null. */
    void (*onTargetAdv)(TargetAdvInfo info);
} VoviewRecvAdvCallbacksC;

/* The C form. Each function does the same as the member of BleScanner with its name. Results: 0
 * done; kBleStatusFailed the library is not started or an argument is invalid; kBleStatusNoReply no
 * answer; others are the service's own. */

/* Creates a listener for the table and stores its id in *listenerId. The id is stored and the table
 * registered only when the result is 0. `listenerId` must not be null. A null table is not refused;
 * its listener has no callbacks. If the service assigns an id that is registered already, the first
 * table stays. kBleStatusNoReply also raises diagnostic event 954082007. */
PELACON_API BleStatusC BleScanRegisterCallbacks(BleScanCallbacksC* callbacks, int* listenerId);

/* Removes the listener. The library unregisters its table first: whatever the result, the table is
 * not used afterwards (for calls that have begun, see BleScanCallbacksC). */
PELACON_API BleStatusC BleScanUnRegisterCallbacks(int listenerId);

/* Starts to scan. 0 means that the service accepted the request: the status callback reports when
 * the scan has started, or that it could not be started (kBleScanRadioFailed). A result is
 * delivered to every scanning listener of this process: the fastest of their policies applies, and
 * a result is delivered to all if it passes the filters of one. Starting a listener that scans
 * already changes its policy. After a restart of the service the listener scans with the fastest
 * policy and without filters, and its status callback is called (kBleScanServiceRestart): set the
 * filters and start again to restore both. kBleStatusNoReply also raises diagnostic event
 * 954082007. */
PELACON_API BleStatusC StartBleScan(int listenerId, BleScanPolicy policy);

/* Stops scanning. Once this has returned, no further result is delivered to the listener, whatever
 * the service answered (calls that have begun may still run). Only when the library is not started,
 * nothing changes. */
PELACON_API BleStatusC StopBleScan(int listenerId);

/* Replaces the listener's filters: a result must pass at least one of them. Without filters
 * (filterSize 0) every result passes. More than five filters, or a null array with a count above 0,
 * are refused with kBleStatusFailed. */
PELACON_API BleStatusC SetScanFilter(int listenerId, BleScanFilter* filters, int filterSize);

/* Removes the listener's filters. */
PELACON_API BleStatusC RemoveScanFilter(int listenerId);

/* Registers the table for the targeted advertisements of filter.business. A business has one table:
 * a second registration succeeds, but the first table stays. A null table is not refused, and not
 * registered. The table is registered only when the result is 0. */
PELACON_API BleStatusC BleRegisterTargetAdvCallback(TargetAdvFilter filter,
                                                    VoviewRecvAdvCallbacksC* callbacks);

/* Unregisters the table of a business. As for listeners, the library unregisters it first. */
PELACON_API BleStatusC BleUnRegisterTargetAdvCallback(BleTargetBusiness business);

/* Passes a targeted advertisement that arrived in another way on to the service, which delivers it
 * to the tables of its business, in this process and in others. */
PELACON_API BleStatusC BleOnRecvVoviewData(TargetAdvInfo info);

/* Reading advertising data: a sequence of structures, each a length byte and then that many bytes,
 * of which the first is the AD type.
 *
 * On success these functions store a pointer into `advData` and the number of bytes there, and
 * return 0. Otherwise they store nothing: kBleStatusNotFound (-3) when there is no such structure
 * before the end or before a structure that reaches beyond the end, kBleStatusFailed when an output
 * is null. They never read outside the buffer. Null data have length 0. */

/* The data of the first structure of this AD type. Where a length byte is 0, the byte after it
 * counts as the type, and the length is stored as 0xFFFFFFFF: check for that before using the data.
 */
PELACON_API BleStatusC BleGetAdvDataByType(const uint8_t* advData, uint32_t advLen, uint8_t type,
                                           uint8_t** data, uint32_t* dataLen);

/* The manufacturer data of the first structure of AD type 0xFF, without the two bytes of the
 * company id. The id is not compared: to check it, read the two bytes before *data. */
PELACON_API BleStatusC BleGetManufacturerDataByCompanyId(const uint8_t* advData, uint32_t advLen,
                                                         uint16_t companyId, uint8_t** data,
                                                         uint32_t* dataLen);

/* The service data of the first structure of AD type 0x16, without the UUID, if it has this 16-bit
 * UUID. Later structures are ignored. */
PELACON_API BleStatusC BleGetServiceDataByUuid(const uint8_t* advData, uint32_t advLen,
                                               uint16_t uuid, uint8_t** data, uint32_t* dataLen);

PELACON_C_END

#ifdef __cplusplus

/* Scanning, for C++. Throws nothing but std::bad_alloc. Results are as for the C functions with the
 * same names. */
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
