/* The GATT server: publish services, hear what peers read and write, and notify them.
 *
 * A server goes: register for a server id, add services and to each its characteristics, start the
 * services, publish values as they change. Every operation is one request to the service and blocks
 * its caller for 10 s at most. All may be called from any thread; those of this family run one
 * after the other, so that one that waits for its answer holds up the rest.
 *
 * The service answers a peer's read by itself: with the characteristic's current value, which is
 * what it was added with, what a peer wrote, or what was published last. onRead tells of it.
 * UUIDs and values are as in BleGattClient.h. */
#ifndef PELACONSDK_BLEGATTSERVER_H
#define PELACONSDK_BLEGATTSERVER_H

#include <PelaconSDK/BleStatus.h>
#include <PelaconSDK/Export.h>

#ifdef __cplusplus
#include <string>
#include <vector>
#endif

PELACON_C_BEGIN

/* What an application wants to hear of the peers of its server. Any slot may be null. `peer` names
 * one peer as long as it is connected; PelaconService gives each connection an address of its own.
 *
 * The library keeps the pointer only: the table stays valid and unchanged from the server's
 * registration until its BleGattServerUnRegister has returned 0 (as long as that fails the table is
 * still used). When the service gives out an id that the library still knows, the table before
 * stays.
 *
 * Called on the receive thread with the library's list of these tables locked: no other
 * notification is delivered meanwhile. It may call operations of every family, those of this header
 * included; each holds the receive thread up until it is answered. An exception that leaves it ends
 * the process. These rules hold for BtGattCharCallbacksC too. */
typedef struct BtGattServerCallbacksC {
    void (*onConnect)(uint64_t peer);
    void (*onDisconnect)(uint64_t peer);

    /* A published value has reached the peer (0), or has not: the service's status. */
    void (*onNotifySent)(uint64_t peer, uint32_t status);

    /* The peer and the server have agreed on another MTU, in bytes. */
    void (*onMtuChanged)(uint64_t peer, uint32_t mtu);
} BtGattServerCallbacksC;

/* What an application wants to hear of one characteristic. Either slot may be null. The table stays
 * valid and unchanged until its service is deleted or its server unregistered, with result 0.
 *
 * serviceUuid is the text that the service was added with, charUuid the one that its characteristic
 * was added with. The texts end with a NUL; data is never null, dataLen at most 1024. All are valid
 * during the call. */
typedef struct BtGattCharCallbacksC {
    /* A peer reads; data is the value that it gets. */
    void (*onRead)(uint64_t peer, const char* serviceUuid, const char* charUuid,
                   const uint8_t* data, uint32_t dataLen);

    /* A peer has written this value. */
    void (*onWrite)(uint64_t peer, const char* serviceUuid, const char* charUuid,
                    const uint8_t* data, uint32_t dataLen);
} BtGattCharCallbacksC;

/* What a characteristic can do, to be combined. The library sends flags as they are; PelaconService
 * takes them for the property bits of the Bluetooth core, of which it knows these. */
PELACON_ENUM(BleGattCharFlag){
    kBleGattCharRead = 0x02,
    kBleGattCharWriteWithoutResponse = 0x04, /* the writer is not told whether it arrived */
    kBleGattCharWrite = 0x08,
    kBleGattCharNotify = 0x10,
    kBleGattCharIndicate = 0x20, /* notifies, and is told that it arrived */
};

/* A characteristic to add, in C. */
typedef struct BLECharacteristicInfoC {
    char charUuid[40]; /* NUL-terminated, at most 36 characters */
    int64_t flags;     /* BleGattCharFlag; the low 32 bits are sent */
    BtGattCharCallbacksC* callbacks;
    uint8_t value[1024]; /* the value that it begins with */
    uint32_t valueLen;   /* at most 1024 */
} BLECharacteristicInfoC;

/* A value to publish, as it goes to the service: set what is reserved to zero. */
typedef struct BleGattNotifyInfoC {
    int32_t serverId;
    int32_t serviceHandle;
    char charUuid[37]; /* NUL-terminated, at most 36 characters */
    uint8_t value[1024];
    uint8_t reserved1[3];
    uint32_t valueLen; /* 1 to 1024 */
    uint8_t reserved2[4];
    uint64_t peer;
} BleGattNotifyInfoC;

/* The C form. Each function does what the member of BleGattServer with its name does. Here and
 * there these results mean: 0 done; kBleStatusFailed the library is not started or an argument is
 * null, nothing was sent; kBleStatusNoReply no answer; kBleStatusDataTooLong a UUID of more than 36
 * characters or a value of more than 1024 bytes, nothing was sent; others are the service's own.
 * Where diagnostic event 954082010 is named, kBleStatusNoReply raises it with that type.
 *
 * PelaconService's own are: 2 no such server id or service handle (any more), 3 a characteristic
 * was added to a service that is started, 4 too many of them, 5 a text is no UUID, or what it names
 * is there already, 6 the peer is not connected, 7 the service has no such characteristic. */

/* Asks the service for a server id and keeps the table for it. *serverId is written only when the
 * result is 0. Neither may be null. Event type 1. */
PELACON_API BleStatusC BleGattServerRegister(BtGattServerCallbacksC* callbacks, int32_t* serverId);

/* Takes the server with all its services away. The tables are forgotten when the result is 0, once
 * a call of them that is running has ended: its onDisconnect is not told any more. (PelaconService
 * disconnects the peers with the last server of all programs.) */
PELACON_API BleStatusC BleGattServerUnRegister(int32_t serverId);

/* Adds a service, which peers see once it is started. *serviceHandle is written only when the
 * result is 0. Event type 2. */
PELACON_API BleStatusC BleGattServerAddService(int32_t serverId, const char* serviceUuid,
                                               int32_t* serviceHandle);

/* Takes a service away. The tables of its characteristics are forgotten when the result is 0. */
PELACON_API BleStatusC BleGattServerDeleteService(int32_t serverId, int32_t serviceHandle);

/* Adds a characteristic to a service. The record is copied, the table behind it is not. Event
 * type 4. */
PELACON_API BleStatusC BleGattServerAddCharacteristic(int32_t serverId, int32_t serviceHandle,
                                                      BLECharacteristicInfoC* info);

/* Shows the service to peers. Event type 3. */
PELACON_API BleStatusC BleGattServerStartService(int32_t serverId, int32_t serviceHandle);

/* Hides the service from peers; what they subscribed to in it is forgotten. */
PELACON_API BleStatusC BleGattServerStopService(int32_t serverId, int32_t serviceHandle);

/* Makes the first dataLen bytes of data (null only when dataLen is 0) the characteristic's value
 * and sends it to the peer, if that has subscribed to it; onNotifySent tells what became of it. The
 * notification carries at most MTU - 3 bytes (onMtuChanged); a peer reads a longer value.
 * PelaconService takes a peer of 0 for all that have subscribed. */
PELACON_API BleStatusC BleGattServerPublishNotify(int32_t serverId, int32_t serviceHandle,
                                                  const char* charUuid, const uint8_t* data,
                                                  uint32_t dataLen, uint64_t peer);

/* The same, from a record; a valueLen of 0 is refused with kBleStatusFailed. */
PELACON_API BleStatusC BleGattServerPublishNotifyExt(BleGattNotifyInfoC* info);

PELACON_C_END

#ifdef __cplusplus

/* A characteristic to add. */
struct BLECharacteristicInfo {
    std::string charUuid; /* at most 36 characters */
    int32_t flags = 0;    /* BleGattCharFlag */
    BtGattCharCallbacksC* callbacks = nullptr;
    std::vector<uint8_t> value; /* the value that it begins with, at most 1024 bytes */
};

/* The GATT server, for C++. Nothing here throws, but std::bad_alloc for want of memory and
 * std::system_error where a mutex cannot be locked. The results are those of the C functions of the
 * same names above. */
class PELACON_API BleGattServer {
  public:
    BleGattServer() = delete;

    static BleStatusC BleGattServerRegister(BtGattServerCallbacksC* callbacks, int32_t* serverId);
    static BleStatusC BleGattServerUnRegister(int32_t serverId);
    static BleStatusC BleGattServerAddService(int32_t serverId, const std::string& serviceUuid,
                                              int32_t* serviceHandle);
    static BleStatusC BleGattServerDeleteService(int32_t serverId, int32_t serviceHandle);
    static BleStatusC BleGattServerAddCharacteristic(int32_t serverId, int32_t serviceHandle,
                                                     BLECharacteristicInfo* info);
    static BleStatusC BleGattServerStartService(int32_t serverId, int32_t serviceHandle);
    static BleStatusC BleGattServerStopService(int32_t serverId, int32_t serviceHandle);
    static BleStatusC BleGattServerPublishNotify(int32_t serverId, int32_t serviceHandle,
                                                 const std::string& charUuid,
                                                 const std::vector<uint8_t>& value, uint64_t peer);
};

#endif /* __cplusplus */

#endif /* PELACONSDK_BLEGATTSERVER_H */
