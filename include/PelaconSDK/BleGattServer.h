/* The GATT server: publish services, receive what peers read and write, and notify them.
 *
 * The steps are: register for a server id, add services and their characteristics, start the
 * services, publish values when they change. Every operation is one request to the service, with a
 * time-out of 10 s. Operations of the GATT server run one after the other: a caller also waits for
 * those of other threads. Operations that register, unregister, add or delete also wait while a
 * callback of a server is running on another thread.
 *
 * The service itself answers a peer that reads, with the characteristic's current value: the value
 * that it was added with, that a peer wrote, or that was published, whichever is the latest. onRead
 * is called then. UUIDs and values are as in BleGattClient.h. */
#ifndef PELACONSDK_BLEGATTSERVER_H
#define PELACONSDK_BLEGATTSERVER_H

#include <PelaconSDK/BleStatus.h>
#include <PelaconSDK/Export.h>

#ifdef __cplusplus
#include <string>
#include <vector>
#endif

PELACON_C_BEGIN

/* Callbacks for the peers of one server. Any function may be null. `peer` identifies a peer while
 * it is connected; PelaconService assigns an address to each connection.
 *
 * The library keeps the pointer only: the table must stay valid and unchanged from the server's
 * registration until BleGattServerUnRegister has returned 0, or 2. (2 says that the service does
 * not know the id, for instance because it was restarted: it never uses the id again. After any
 * other result the table is still in use.) If the service assigns an id that is registered already,
 * the first table stays.
 *
 * Called on the receive thread. A callback may call any operation. An exception that leaves it ends
 * the process (std::terminate). These rules apply to BtGattCharCallbacksC too. */
typedef struct BtGattServerCallbacksC {
    /* A peer has connected. */
    void (*onConnect)(uint64_t peer);
    /* A peer has disconnected. */
    void (*onDisconnect)(uint64_t peer);

    /* Whether a published value has reached the peer: 0, or a code of the service. */
    void (*onNotifySent)(uint64_t peer, uint32_t status);

    /* The peer and the server have agreed on another MTU, in bytes. */
    void (*onMtuChanged)(uint64_t peer, uint32_t mtu);
} BtGattServerCallbacksC;

/* Callbacks for one characteristic. Either function may be null. The table must stay valid and
 * unchanged until its service is deleted or its server unregistered, with result 0 or 2.
 *
 * serviceUuid and charUuid are the texts with which the service and the characteristic were added.
 * They end with a NUL; data is never null; dataLen is at most 1024. All are valid during the call.
 */
typedef struct BtGattCharCallbacksC {
    /* A peer has read the value `data`. */
    void (*onRead)(uint64_t peer, const char* serviceUuid, const char* charUuid,
                   const uint8_t* data, uint32_t dataLen);

    /* A peer has written this value. */
    void (*onWrite)(uint64_t peer, const char* serviceUuid, const char* charUuid,
                    const uint8_t* data, uint32_t dataLen);
} BtGattCharCallbacksC;

/* The properties of a characteristic, to be combined. The library sends flags unchanged;
 * PelaconService knows these property bits of the Bluetooth core. */
enum PELACON_ENUM(BleGattCharFlag) {
    kBleGattCharRead = 0x02,
    kBleGattCharWriteWithoutResponse = 0x04, /* without a confirmation to the writer */
    kBleGattCharWrite = 0x08,
    kBleGattCharNotify = 0x10,
    kBleGattCharIndicate = 0x20, /* notify, with a confirmation by the peer */
};

/* A characteristic to add, in C. */
typedef struct BLECharacteristicInfoC {
    char charUuid[40];               /* NUL-terminated, at most 36 characters */
    int64_t flags;                   /* BleGattCharFlag; the low 32 bits are sent */
    BtGattCharCallbacksC* callbacks; /* or null */
    uint8_t value[1024];             /* the initial value */
    uint32_t valueLen;               /* at most 1024 */
} BLECharacteristicInfoC;

/* A value to publish. Set the reserved members to zero. */
typedef struct BleGattNotifyInfoC {
    int32_t serverId;      /* the server's id */
    int32_t serviceHandle; /* the service's handle */
    char charUuid[37];     /* NUL-terminated, at most 36 characters */
    uint8_t value[1024];   /* the value */
    uint8_t reserved1[3];  /* zero */
    uint32_t valueLen;     /* 1 to 1024 */
    uint8_t reserved2[4];  /* zero */
    uint64_t peer;         /* as for BleGattServerPublishNotify */
} BleGattNotifyInfoC;

/* The C form. Each function does the same as the member of BleGattServer with its name. Results: 0
 * done; kBleStatusFailed the library is not started or an argument is null, and nothing was sent;
 * kBleStatusNoReply no answer; kBleStatusDataTooLong a UUID of more than 36 characters or a value
 * of more than 1024 bytes, and nothing was sent; others are the service's own. Where an event type
 * is given, kBleStatusNoReply also raises diagnostic event 954082010 with this type.
 *
 * Codes of PelaconService: 2 the server id or service handle does not exist (any more), 3 the
 * service is started and takes no more characteristics, 4 too many, 5 a text is not a UUID, or the
 * UUID exists already, 6 the peer is not connected, 7 the service has no such characteristic.
 * Starting a service is also refused with 1 the radio is off, 8 the system does not allow it, 9 the
 * radio did not answer in time, 10 it failed otherwise, 11 the service was stopped meanwhile. */

/* Requests a server id and registers the table for it. *serverId is written only when the result is
 * 0. Neither argument may be null. Event type 1. */
PELACON_API BleStatusC BleGattServerRegister(BtGattServerCallbacksC* callbacks, int32_t* serverId);

/* Removes the server with all its services. When the result is 0, its tables are unregistered, and
 * none of their callbacks is running on another thread or called later, not even onDisconnect.
 * (PelaconService disconnects peers when the last server of all programs is removed.) */
PELACON_API BleStatusC BleGattServerUnRegister(int32_t serverId);

/* Adds a service, which peers see after it is started. *serviceHandle is written only when the
 * result is 0. Event type 2. */
PELACON_API BleStatusC BleGattServerAddService(int32_t serverId, const char* serviceUuid,
                                               int32_t* serviceHandle);

/* Removes a service. The tables of its characteristics are unregistered when the result is 0. */
PELACON_API BleStatusC BleGattServerDeleteService(int32_t serverId, int32_t serviceHandle);

/* Adds a characteristic to a service. The record is copied; of the table the library keeps the
 * pointer. Event type 4. */
PELACON_API BleStatusC BleGattServerAddCharacteristic(int32_t serverId, int32_t serviceHandle,
                                                      BLECharacteristicInfoC* info);

/* Makes the service visible to peers, and waits until it is. Event type 3. */
PELACON_API BleStatusC BleGattServerStartService(int32_t serverId, int32_t serviceHandle);

/* Hides the service from peers and ends their subscriptions to it. */
PELACON_API BleStatusC BleGattServerStopService(int32_t serverId, int32_t serviceHandle);

/* Sets the characteristic's value to the first dataLen bytes of data (null only when dataLen is 0)
 * and sends it to the peer, if the peer has subscribed; onNotifySent reports the result. The
 * notification carries at most MTU - 3 bytes (onMtuChanged); a peer reads a longer value. For
 * PelaconService a peer of 0 means all peers that have subscribed. */
PELACON_API BleStatusC BleGattServerPublishNotify(int32_t serverId, int32_t serviceHandle,
                                                  const char* charUuid, const uint8_t* data,
                                                  uint32_t dataLen, uint64_t peer);

/* The same with a record; a valueLen of 0 is refused with kBleStatusFailed. */
PELACON_API BleStatusC BleGattServerPublishNotifyExt(BleGattNotifyInfoC* info);

PELACON_C_END

#ifdef __cplusplus

/* A characteristic to add. */
struct BLECharacteristicInfo {
    std::string charUuid;                      /* at most 36 characters */
    int32_t flags = 0;                         /* BleGattCharFlag */
    BtGattCharCallbacksC* callbacks = nullptr; /* or null */
    std::vector<uint8_t> value;                /* the initial value, at most 1024 bytes */
};

/* The GATT server, for C++. Throws nothing but std::bad_alloc. Results are as for the C functions
 * with the same names. */
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
