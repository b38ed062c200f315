/* The Bluetooth adapter: on and off, name, address, state.
 *
 * Every operation is one request to the service and blocks its caller for 10 s at most. All may be
 * called from any thread, several at once. */
#ifndef PELACONSDK_BLEMANAGER_H
#define PELACONSDK_BLEMANAGER_H

#include <PelaconSDK/BleStatus.h>
#include <PelaconSDK/Export.h>

#ifdef __cplusplus
#include <string>
#endif

PELACON_C_BEGIN

/* What the adapter is doing. Other values are the service's own. */
PELACON_ENUM(BtRunningState){
    kBtStateUnknown = -1, /* no answer, or the library is not started */
    kBtStateOff = 0,      kBtStateTurningOn = 1, kBtStateOn = 2, kBtStateTurningOff = 3,
};

/* Whether a device is connected. Other values are the service's own. */
PELACON_ENUM(DeviceConnectStatus){
    kDeviceConnectUnknown = -1, /* no answer, or the library is not started */
    kDeviceDisconnected = 0,
    kDeviceConnected = 1,
};

/* Which Bluetooth radio a question is about. Other values go to the service as they are. */
PELACON_ENUM(BluetoothType){
    kBluetoothClassic = 0,
    kBluetoothLe = 1,
};

/* The adapter's address and name. */
typedef struct BtInfo {
    uint64_t mac;  /* the address in the low six bytes, its first octet the most significant */
    char name[64]; /* NUL-terminated when shorter than 64 bytes */
} BtInfo;

/* What an application wants to hear of the adapter. The library keeps the pointer only: the table
 * stays valid and unchanged from its registration until UnRegisterBtStateChangeCallbacks returns.
 *
 * Called on the receive thread with the library's list of these tables locked: it may call any
 * operation but RegisterBtStateChangeCallbacks and UnRegisterBtStateChangeCallbacks, which would
 * wait for ever. While it runs no other notification is delivered. An exception that leaves it ends
 * the process. */
typedef struct BtManagerCallbacksC {
    /* The adapter's new state, a BtRunningState; null when not wanted. */
    void (*onStateChanged)(int32_t state);
} BtManagerCallbacksC;

/* The C form. Each function does what the member of BleManager with its name does. Here and there
 * these results mean: 0 done; kBleStatusFailed the library is not started or an argument is
 * invalid; kBleStatusNoReply no answer; others are the service's own. */

/* Has the table told of each change of the adapter's state, after those registered before it. A
 * table that is registered twice is told twice. Null is refused with kBleStatusFailed. The table is
 * kept only when the result is 0. */
PELACON_API BleStatusC RegisterBtStateChangeCallbacks(BtManagerCallbacksC* callbacks);

/* Forgets the table, however often it was registered. Sends nothing and always returns 0, also for
 * a table that was never registered. Waits while a state change is being told; afterwards the table
 * is not used any more. */
PELACON_API BleStatusC UnRegisterBtStateChangeCallbacks(BtManagerCallbacksC* callbacks);

/* Switches the adapter on. 0 means that the service accepted it: the change itself is told to the
 * registered tables. */
PELACON_API BleStatusC BtEnable(void);

/* Switches the adapter off; as BtEnable. */
PELACON_API BleStatusC BtDisable(void);

/* Whether the adapter is on. False also when there is no answer. */
PELACON_API bool IsBtEnabled(void);

/* The adapter's state; kBtStateUnknown (-1) in every case of failure. */
PELACON_API BtRunningState GetBtRunningState(void);

/* Fills the adapter's address and name. The record is filled whenever there is an answer, whatever
 * the result; null is refused with kBleStatusFailed. kBleStatusNoReply also raises diagnostic event
 * 954082006. */
PELACON_API BleStatusC GetBtMacAndName(BtInfo* info);

/* Names the adapter: `length` bytes of UTF-8, of which the service sees those before the first NUL.
 * At most 64 bytes; a longer name, a null pointer or a negative length is refused with
 * kBleStatusFailed. */
PELACON_API BleStatusC SetBtName(const char* name, int32_t length);

/* Reads the adapter's name into a buffer of *size bytes. A failed request returns its result and
 * writes nothing. On success the name's bytes are copied, without a terminating NUL, and *size is
 * not changed: clear the buffer first. An empty name writes nothing and returns 0. A null buffer
 * or size, or a name longer than the buffer, returns kBleStatusBufferTooSmall (-10000). */
PELACON_API BleStatusC GetBtName(uint8_t* buffer, int32_t* size);

/* Whether the device with this address (as BtInfo.mac) is connected; kDeviceConnectUnknown (-1) in
 * every case of failure. */
PELACON_API DeviceConnectStatus IsDeviceConnected(uint64_t address, BluetoothType type);

PELACON_C_END

#ifdef __cplusplus

/* The adapter, for C++. Nothing here throws, but std::bad_alloc for want of memory. The results are
 * those of the C functions of the same names above. */
class PELACON_API BleManager {
  public:
    BleManager() = delete;

    static BleStatusC RegisterBtStateChangeCallbacks(BtManagerCallbacksC* callbacks);
    static BleStatusC UnRegisterBtStateChangeCallbacks(BtManagerCallbacksC* callbacks);
    static BleStatusC BtEnable();
    static BleStatusC BtDisable();
    static bool IsBtEnabled();
    static BtRunningState GetBtRunningState();
    static BleStatusC GetBtMacAndName(BtInfo* info);

    /* Names the adapter; at most 64 bytes, a longer name is refused with kBleStatusFailed. */
    static BleStatusC SetBtName(const std::string& name);

    /* Reads the adapter's name. The string is assigned only when the result is 0. */
    static BleStatusC GetBtName(std::string& name);

    static DeviceConnectStatus IsDeviceConnected(uint64_t address, BluetoothType type);
};

#endif /* __cplusplus */

#endif /* PELACONSDK_BLEMANAGER_H */
