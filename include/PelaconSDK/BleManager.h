/* The Bluetooth adapter: on and off, name, address, state.
 *
 * Every operation is one request to the service, with a time-out of 10 s. Operations of several
 * threads run at the same time. */
#ifndef PELACONSDK_BLEMANAGER_H
#define PELACONSDK_BLEMANAGER_H

#include <PelaconSDK/BleStatus.h>
#include <PelaconSDK/Export.h>

#ifdef __cplusplus
#include <string>
#endif

PELACON_C_BEGIN

/* The state of the adapter. Other values are the service's own. */
enum PELACON_ENUM(BtRunningState) {
    kBtStateUnknown = -1, /* no answer, or the library is not started */
    kBtStateOff = 0,
    kBtStateTurningOn = 1,
    kBtStateOn = 2,
    kBtStateTurningOff = 3,
};

/* Whether a device is connected. Other values are the service's own. */
enum PELACON_ENUM(DeviceConnectStatus) {
    kDeviceConnectUnknown = -1, /* no answer, or the library is not started */
    kDeviceDisconnected = 0,
    kDeviceConnected = 1,
};

/* The kind of Bluetooth radio. Other values go to the service unchanged. */
enum PELACON_ENUM(BluetoothType) {
    kBluetoothClassic = 0,
    kBluetoothLe = 1,
};

/* The adapter's address and name. */
typedef struct BtInfo {
    uint64_t mac;  /* the address in the low six bytes, its first octet the most significant */
    char name[64]; /* NUL-terminated when shorter than 64 bytes */
} BtInfo;

/* Callbacks for changes of the adapter. The library keeps the pointer only: the table must stay
 * valid and unchanged from its registration until UnRegisterBtStateChangeCallbacks returns.
 *
 * Called on the receive thread, in the order of registration. A callback may call any operation. An
 * exception that leaves it ends the process (std::terminate). */
typedef struct BtManagerCallbacksC {
    /* The adapter's new state, a BtRunningState. May be null. */
    void (*onStateChanged)(int32_t state);
} BtManagerCallbacksC;

/* The C form. Each function does the same as the member of BleManager with its name. Results: 0
 * done; kBleStatusFailed the library is not started or an argument is invalid; kBleStatusNoReply no
 * answer; others are the service's own. */

/* Registers a table whose onStateChanged is called on each change of the adapter's state. A table
 * that is registered twice is called twice. Null is refused with kBleStatusFailed. The table is
 * registered only when the result is 0. */
PELACON_API BleStatusC RegisterBtStateChangeCallbacks(BtManagerCallbacksC* callbacks);

/* Unregisters the table, however often it was registered. Sends nothing and always returns 0, also
 * for a table that was never registered. Waits while a callback of these tables is running on
 * another thread; afterwards the table is not used any more. */
PELACON_API BleStatusC UnRegisterBtStateChangeCallbacks(BtManagerCallbacksC* callbacks);

/* Switches the adapter on. 0 means that the service accepted the request: the change itself arrives
 * in onStateChanged. PelaconService refuses with 1 if a switch of the machine keeps the adapter
 * off, 8 if the system does not allow it, 9 if the radio does not answer in time, 10 if there is no
 * adapter. */
PELACON_API BleStatusC BtEnable(void);

/* Switches the adapter off; as BtEnable. */
PELACON_API BleStatusC BtDisable(void);

/* Whether the adapter is on. False also after every failure. */
PELACON_API bool IsBtEnabled(void);

/* The adapter's state; kBtStateUnknown (-1) after every failure. */
PELACON_API BtRunningState GetBtRunningState(void);

/* Reads the adapter's address and name. Every answer fills the record, whatever the result. Null is
 * refused with kBleStatusFailed. kBleStatusNoReply also raises diagnostic event 954082006. */
PELACON_API BleStatusC GetBtMacAndName(BtInfo* info);

/* Sets the adapter's name: `length` bytes of UTF-8, at most 64; the service uses them up to the
 * first NUL. A longer name, a null pointer or a negative length is refused with kBleStatusFailed.
 * After the result 0 the adapter has the new name. */
PELACON_API BleStatusC SetBtName(const char* name, int32_t length);

/* Reads the adapter's name into a buffer of *size bytes. A request that fails returns its result
 * and writes nothing. On success the bytes of the name are copied without a terminating NUL, and
 * *size is not changed: clear the buffer first. An empty name writes nothing and returns 0. A null
 * buffer or size, or a name longer than the buffer, returns kBleStatusBufferTooSmall (-10000). */
PELACON_API BleStatusC GetBtName(uint8_t* buffer, int32_t* size);

/* Whether the device with this address (as BtInfo.mac) is connected; kDeviceConnectUnknown (-1)
 * after every failure. */
PELACON_API DeviceConnectStatus IsDeviceConnected(uint64_t address, BluetoothType type);

PELACON_C_END

#ifdef __cplusplus

/* The adapter, for C++. Throws nothing but std::bad_alloc. Results are as for the C functions with
 * the same names. */
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

    /* Sets the adapter's name, at most 64 bytes; a longer name is refused with kBleStatusFailed. */
    static BleStatusC SetBtName(const std::string& name);

    /* Reads the adapter's name. The string is assigned only when the result is 0. */
    static BleStatusC GetBtName(std::string& name);

    static DeviceConnectStatus IsDeviceConnected(uint64_t address, BluetoothType type);
};

#endif /* __cplusplus */

#endif /* PELACONSDK_BLEMANAGER_H */
