/* The GATT client: connect to a peripheral, read and write its characteristics, receive their
 * values when they change.
 *
 * The steps are: register for a client id, connect, wait for onConnectionState, search the
 * services, then read, write and subscribe. Every operation except BleGattClientConnect is one
 * request to the service, with a time-out of 10 s. Operations of the GATT client run one after the
 * other: a caller also waits for those of other threads.
 *
 * A UUID is text of at most 36 characters: "180d", or "0000180d-0000-1000-8000-00805f9b34fb". The
 * service decides which forms are equal: PelaconService accepts 16-bit, 32-bit and 128-bit UUIDs in
 * upper and lower case, and expands short ones to 128 bits. A value has at most 1024 bytes, and may
 * be empty or contain zeros. */
#ifndef PELACONSDK_BLEGATTCLIENT_H
#define PELACONSDK_BLEGATTCLIENT_H

#include <PelaconSDK/BleStatus.h>
#include <PelaconSDK/Export.h>

#ifdef __cplusplus
#include <string>
#include <vector>
#endif

PELACON_C_BEGIN

/* The maximum length of a characteristic's value, and the size of a buffer to read one into. */
enum { kBleGattMaxValueLength = 1024 };

/* The state of a connection. Other values are the service's own. */
enum PELACON_ENUM(BleGattConnectionState) {
    kBleGattDisconnected = 0,
    kBleGattConnected = 1,
};

/* Why a connection was not established, or ended: the codes of the Bluetooth core that
 * PelaconService uses. Other values are the service's own. */
enum PELACON_ENUM(BleGattReason) {
    kBleGattReasonNone = 0x00,           /* the connection is established */
    kBleGattReasonTimeout = 0x08,        /* the peer no longer responds */
    kBleGattReasonRefused = 0x0D,        /* the peer refused the connection */
    kBleGattReasonPeer = 0x13,           /* the peer ended the connection */
    kBleGattReasonLocal = 0x16,          /* ended on this side: by BleGattClientDisconnect, another
                                            connect, or because the adapter was switched off */
    kBleGattReasonNotEstablished = 0x3E, /* no such peer, or the client id is unknown */
};

/* The kind of message that a value arrived in. */
enum PELACON_ENUM(BleGattNotificationKind) {
    kBleGattNotification = 0, /* not confirmed to the peer */
    kBleGattIndication = 1,   /* confirmed to the peer */
};

/* Callbacks for connections. The library keeps the pointer only, and keeps it until the process
 * ends: the first table that is passed to BleGattClientConnect for a client id stays registered for
 * that id, even after another connect or BleGattClientUnRegister. The table must stay valid and
 * unchanged until the process ends. Either function may be null.
 *
 * Called on the receive thread. A callback may call any operation. Texts and data are valid during
 * the call. An exception that leaves a callback ends the process (std::terminate). */
typedef struct BtGattClientCallbacksC {
    /* The result of a connect, or the end of a connection: a BleGattConnectionState and a
     * BleGattReason. */
    void (*onConnectionState)(int32_t clientId, int32_t state, int32_t reason);

    /* A characteristic's value, requested with BleGattClientRegisterNotification; `kind` is a
     * BleGattNotificationKind. The texts end with a NUL; data is never null; dataLen is at most
     * 1024. */
    void (*onNotificationReceive)(int32_t clientId, const char* serviceUuid, const char* charUuid,
                                  const uint8_t* data, uint32_t dataLen, int32_t kind);
} BtGattClientCallbacksC;

/* The C form. Each function does the same as the member of BleGattClient with its name. Results: 0
 * done; kBleStatusFailed the library is not started or an argument is invalid, and nothing was
 * sent; kBleStatusNoReply no answer; kBleStatusDataTooLong as described at the function; others are
 * the service's own. A null text is refused with kBleStatusFailed.
 *
 * Codes of PelaconService: 2 the client id does not exist (any more), 4 too many client ids, 5 a
 * text is not a UUID, 6 not connected, 7 the peer has no such service or characteristic, or they
 * were not searched, 8 the characteristic does not allow it, 9 the peer did not answer. */

/* Requests a client id, which all other operations need. *clientId is written only when the result
 * is 0; null is refused with kBleStatusFailed. kBleStatusNoReply also raises diagnostic event
 * 954082009 (type 1). */
PELACON_API BleStatusC BleGattClientRegister(int32_t* clientId);

/* Releases the client id and ends its connection. The callback table stays with the id. */
PELACON_API BleStatusC BleGattClientUnRegister(int32_t clientId);

/* Starts to connect to the peer with this address (as BtInfo.mac) and does not wait for the result,
 * which arrives in onConnectionState. (It does wait for operations of other threads and, to
 * register the table, while a callback of a GATT client is running on another thread.) 0 means that
 * the request was posted, kBleStatusFailed that the library is not started. When the service is not
 * running, a posted request is lost: the result is 0, and onConnectionState is not called.
 *
 * The table is registered for the client id even when the result is not 0; when the id has a table
 * already, the first stays. A null table connects without callbacks. */
PELACON_API BleStatusC BleGattClientConnect(int32_t clientId, uint64_t address,
                                            BtGattClientCallbacksC* callbacks);

/* Ends the client's connection; onConnectionState is called. */
PELACON_API BleStatusC BleGattClientDisconnect(int32_t clientId);

/* Discovers the peer's services. Returns only the result: query each service with
 * BleGattClientGetService. */
PELACON_API BleStatusC BleGattClientSearchServices(int32_t clientId);

/* Whether the peer has this service: 0 if so, otherwise a code of the service (7, as above). A UUID
 * of more than 36 characters is refused with kBleStatusDataTooLong. */
PELACON_API BleStatusC BleGattClientGetService(int32_t clientId, const char* serviceUuid);

/* Reads a characteristic's value into `data`, a buffer of at least 1024 bytes. *dataLen becomes the
 * number of bytes read, 0 if nothing was read. A null dataLen or a UUID of more than 36 characters
 * is refused with kBleStatusFailed. The value is stored whenever the answer has one, whatever the
 * result. Null data with a value that is not empty returns kBleStatusDataTooLong. kBleStatusNoReply
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

/* Subscribes to a characteristic's value, which then arrives in onNotificationReceive, or ends the
 * subscription. A UUID of more than 36 characters is refused with kBleStatusFailed.
 * kBleStatusNoReply also raises diagnostic event 954082009 (type 3). */
PELACON_API BleStatusC BleGattClientRegisterNotification(int32_t clientId, const char* serviceUuid,
                                                         const char* charUuid, bool enable);

/* Reads the MTU of the connection in bytes. *mtu is written only when the result is 0; null is
 * refused with kBleStatusFailed. */
PELACON_API BleStatusC BleGattClientGetMtu(int32_t clientId, int32_t* mtu);

PELACON_C_END

#ifdef __cplusplus

/* The GATT client, for C++. Throws nothing but std::bad_alloc. Results are as for the C functions
 * with the same names. */
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

    /* Reads a characteristic's value. The vector is assigned whenever the answer has a value of at
     * most 1024 bytes, whatever the result, and is otherwise unchanged. Null is refused with
     * kBleStatusFailed. */
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
