/* The GATT client: connect to a peripheral, read and write its characteristics, hear of their
 * changes.
 *
 * A session goes: register for a client id, connect, wait for onConnectionState, search the
 * services, then read, write and subscribe. Every operation but BleGattClientConnect is one request
 * to the service and blocks its caller for 10 s at most. All may be called from any thread; those
 * of this family run one after the other, so that one that waits for its answer holds up the rest.
 *
 * A UUID is text of at most 36 characters: "180d", or "0000180d-0000-1000-8000-00805f9b34fb". Which
 * forms mean the same is the service's matter. PelaconService knows 16-bit, 32-bit and 128-bit
 * UUIDs in either case of letters, and takes the short ones for their 128-bit form. A value has at
 * most 1024 bytes and may be empty or hold zeros. */
#ifndef PELACONSDK_BLEGATTCLIENT_H
#define PELACONSDK_BLEGATTCLIENT_H

#include <PelaconSDK/BleStatus.h>
#include <PelaconSDK/Export.h>

#ifdef __cplusplus
#include <string>
#include <vector>
#endif

PELACON_C_BEGIN

/* Most bytes of a characteristic's value, and what a buffer to read one into holds. */
enum { kBleGattMaxValueLength = 1024 };

/* What a connection is in. Other values are the service's own. */
PELACON_ENUM(BleGattConnectionState){
    kBleGattDisconnected = 0,
    kBleGattConnected = 1,
};

/* Why a connection came or ended: the codes of the Bluetooth core, of which PelaconService uses
 * these. Other values are the service's own. */
PELACON_ENUM(BleGattReason){
    kBleGattReasonNone = 0x00,           /* it is up */
    kBleGattReasonTimeout = 0x08,        /* the peer is not heard any more */
    kBleGattReasonRefused = 0x0D,        /* the peer refused the connection */
    kBleGattReasonPeer = 0x13,           /* the peer ended it */
    kBleGattReasonLocal = 0x16,          /* BleGattClientDisconnect ended it */
    kBleGattReasonNotEstablished = 0x3E, /* no such peer was found */
};

/* What kind of message a value came in. */
PELACON_ENUM(BleGattNotificationKind){
    kBleGattNotification = 0, /* the peer does not know whether it arrived */
    kBleGattIndication = 1,   /* the peer was told that it arrived */
};

/* What an application wants to hear of its connections. The library keeps the pointer only, and
 * keeps it for good: the first table that a client id is connected with stays with the id, whatever
 * is unregistered or connected later. The table therefore stays valid and unchanged until the
 * process ends. Either slot may be null.
 *
 * Called on the receive thread with the library's list of these tables locked: no other
 * notification is delivered meanwhile. It may call operations of every family, those of this header
 * included; each holds the receive thread up until it is answered. Texts and data are valid during
 * the call. An exception that leaves it ends the process. */
typedef struct BtGattClientCallbacksC {
    /* A connect's outcome, or a connection's end: a BleGattConnectionState and a BleGattReason. */
    void (*onConnectionState)(int32_t clientId, int32_t state, int32_t reason);

    /* A characteristic's value, for which BleGattClientRegisterNotification asked; `kind` is a
     * BleGattNotificationKind. The texts end with a NUL; data is never null, dataLen at most 1024.
     */
    void (*onNotificationReceive)(int32_t clientId, const char* serviceUuid, const char* charUuid,
                                  const uint8_t* data, uint32_t dataLen, int32_t kind);
} BtGattClientCallbacksC;

/* The C form. Each function does what the member of BleGattClient with its name does. Here and
 * there these results mean: 0 done; kBleStatusFailed the library is not started or an argument is
 * invalid, nothing was sent; kBleStatusNoReply no answer; kBleStatusDataTooLong what is said at the
 * function; others are the service's own. A null text is refused with kBleStatusFailed.
 *
 * PelaconService's own are: 2 no such client id (any more), 4 too many of them, 5 a text is no
 * UUID, 6 not connected, 7 the peer has no such service or characteristic, or they were not
 * searched, 8 the characteristic does not allow it, 9 the peer did not answer. */

/* Asks the service for a client id, with which everything else is done. *clientId is written only
 * when the result is 0; null is refused with kBleStatusFailed. kBleStatusNoReply also raises
 * diagnostic event 954082009 (type 1). */
PELACON_API BleStatusC BleGattClientRegister(int32_t* clientId);

/* Gives the client id back; its connection ends. The callback table stays with the id. */
PELACON_API BleStatusC BleGattClientUnRegister(int32_t clientId);

/* Begins to connect to the peer with this address (as BtInfo.mac), and does not wait: 0 means that
 * the request was posted, kBleStatusFailed that the library is not started. What becomes of it
 * comes through onConnectionState. The table is kept for the client id even when the result is not
 * 0, but not when the id has one already: the first stays. A null table connects all the same. */
PELACON_API BleStatusC BleGattClientConnect(int32_t clientId, uint64_t address,
                                            BtGattClientCallbacksC* callbacks);

/* Ends the client's connection; onConnectionState is told. */
PELACON_API BleStatusC BleGattClientDisconnect(int32_t clientId);

/* Has the peer's services discovered. Only the result is told; ask for each service with
 * BleGattClientGetService. */
PELACON_API BleStatusC BleGattClientSearchServices(int32_t clientId);

/* Whether the peer has this service: 0 where it has, else the service's code (7, as above). A
 * UUID of more than 36 characters gives kBleStatusDataTooLong, and nothing is sent. */
PELACON_API BleStatusC BleGattClientGetService(int32_t clientId, const char* serviceUuid);

/* Reads a characteristic's value into `data`, a buffer of at least 1024 bytes. *dataLen becomes the
 * number of bytes read, 0 where nothing was read; null is refused with kBleStatusFailed, as is a
 * UUID of more than 36 characters. The value is filled whenever an answer brings one, whatever its
 * result. Null data with a value that is not empty gives kBleStatusDataTooLong. kBleStatusNoReply
 * also raises diagnostic event 954082009 (type 5). */
PELACON_API BleStatusC BleGattClientReadCharacteristic(int32_t clientId, const char* serviceUuid,
                                                       const char* charUuid, uint8_t* data,
                                                       uint32_t* dataLen);

/* Writes a characteristic's value: the first dataLen bytes of data, which may be null when dataLen
 * is 0. More than 1024 bytes, or a UUID of more than 36 characters, are refused with
 * kBleStatusFailed. kBleStatusNoReply also raises diagnostic event 954082009 (type 4). */
PELACON_API BleStatusC BleGattClientWriteCharacteristic(int32_t clientId, const char* serviceUuid,
                                                        const char* charUuid, const uint8_t* data,
                                                        uint32_t dataLen);

/* Asks the peer to tell of a characteristic's value through onNotificationReceive, or not to any
 * more. A UUID of more than 36 characters is refused with kBleStatusFailed. kBleStatusNoReply also
 * raises diagnostic event 954082009 (type 3). */
PELACON_API BleStatusC BleGattClientRegisterNotification(int32_t clientId, const char* serviceUuid,
                                                         const char* charUuid, bool enable);

/* Reads the connection's MTU in bytes. *mtu is written only when the result is 0; null is refused
 * with kBleStatusFailed. */
PELACON_API BleStatusC BleGattClientGetMtu(int32_t clientId, int32_t* mtu);

PELACON_C_END

#ifdef __cplusplus

/* The GATT client, for C++. Nothing here throws, but std::bad_alloc for want of memory and
 * std::system_error where a mutex cannot be locked. The results are those of the C functions of the
 * same names above. */
class PELACON_API BleGattClient {
  public:
    BleGattClient() = delete;

    static BleStatusC BleGattClientRegister(int32_t* clientId);
    static BleStatusC BleGattClientUnRegister(int32_t clientId);
    static BleStatusC BleGattClientConnect(int32_t clientId, uint64_t address,
                                           BtGattClientCallbacksC* callbacks);
    static BleStatusC BleGattClientDisconnect(int32_t clientId);
    static BleStatusC BleGattClientSearchServices(int32_t clientId);
    static BleStatusC BleGattClientGetService(int32_t clientId, const std::string& serviceUuid);

    /* Reads a characteristic's value. The vector is assigned whenever an answer brings a value of
     * at most 1024 bytes, whatever its result, and otherwise keeps what it holds. Null is refused
     * with kBleStatusFailed. */
    static BleStatusC BleGattClientReadCharacteristic(int32_t clientId,
                                                      const std::string& serviceUuid,
                                                      const std::string& charUuid,
                                                      std::vector<uint8_t>* value);

    /* Writes a characteristic's value of at most 1024 bytes. */
    static BleStatusC BleGattClientWriteCharacteristic(int32_t clientId,
                                                       const std::string& serviceUuid,
                                                       const std::string& charUuid,
                                                       const std::vector<uint8_t>& value);

    static BleStatusC BleGattClientRegisterNotification(int32_t clientId,
                                                        const std::string& serviceUuid,
                                                        const std::string& charUuid, bool enable);
    static BleStatusC BleGattClientGetMtu(int32_t clientId, int32_t* mtu);
};

#endif /* __cplusplus */

#endif /* PELACONSDK_BLEGATTCLIENT_H */
