/* Wi-Fi Direct groups: a network that this device opens and that other devices, its stations, join.
 *
 * There is one group at a time; it belongs to the service and is the same for all applications.
 * These functions are the C form: each does the same as the member of Vod2dApi with its name.
 *
 * Every operation is one request to the service, with a time-out of 5 s; Vod2dCreateGroup and
 * Vod2dRemoveGroup have 20 s. The operations of this header and of Vod2dConfig.h run one after the
 * other: a caller also waits for those of other threads. Registering and unregistering also wait
 * while a callback of the same kind of table is running on another thread.
 *
 * Unless stated otherwise the result is 0 for done; kWifiFailed for an argument that is refused or
 * a library that is not started; kWifiNoReply for no answer; any other value is the service's, and
 * outputs are filled then too. Null outputs are refused with kWifiFailed. */
#ifndef PELACONSDK_VOD2DGROUP_H
#define PELACONSDK_VOD2DGROUP_H

#include <PelaconSDK/Export.h>
#include <PelaconSDK/WifiStatus.h>

PELACON_C_BEGIN

/* A group. Texts end at their first NUL, or at the end of their field. */
typedef struct Vod2dSoftAPInfo {
    char ssid[32];      /* the network's name, UTF-8 */
    char pwd[256];      /* its pass phrase */
    uint8_t mac[6];     /* the group owner's address, first octet first */
    int32_t channel;    /* the channel number; to create a group, the requested one or 0 for any */
    uint8_t active;     /* 1 while the group exists */
    char ipAddress[16]; /* the group owner's IPv4 address, dotted */
    uint8_t is5GHz;     /* 1 when the channel is in the 5 GHz band */
} Vod2dSoftAPInfo;

/* Whether there is a group. Other values are the service's own. */
enum PELACON_ENUM(Vod2dGroupState) {
    kVod2dGroupNone = 0,
    kVod2dGroupExists = 1,
};

/* The group and its stations. */
typedef struct Vod2dLinkGroup {
    int32_t groupState;   /* a Vod2dGroupState */
    int32_t stationCount; /* stations connected now */
} Vod2dLinkGroup;

/* A group was created or removed, or could not be created. */
typedef struct Vod2dGroupChange {
    int32_t state;  /* a Vod2dGroupState */
    int32_t reason; /* 0 when an application requested it, otherwise a WifiErrorCode */
} Vod2dGroupChange;

/* Whether a station is connected. Other values are the service's own. */
enum PELACON_ENUM(Vod2dStationState) {
    kVod2dStationLeft = 0,
    kVod2dStationJoined = 1,
};

/* A station joined or left. Texts end at their first NUL, or at the end of their field. */
typedef struct Vod2dStationChange {
    int32_t state;      /* a Vod2dStationState */
    char address[13];   /* its address, twelve hexadecimal digits */
    char ipAddress[16]; /* its IPv4 address, dotted; empty when it left or has none yet */
} Vod2dStationChange;

/* Callbacks for the group; either function may be null. The library keeps the pointer only: the
 * table must stay valid and unchanged from its registration until
 * Vod2dUnRegisterSoftAPStateChangedCallback has returned 0.
 *
 * Called on the receive thread, in the order of registration. A callback may call any operation. An
 * exception that leaves it ends the process (std::terminate). */
typedef struct Vod2dWifiBroadcastRecvCb {
    /* The group changed. Not called for a group that the library removes itself, see
     * Vod2dCreateGroup. */
    void (*onGroupChanged)(Vod2dGroupChange change);
    /* A station joined or left. The record is valid during the call. When the service was
     * restarted, or the connection to it was lost, the library reports that every station that had
     * joined has left, with an empty ipAddress; those that are still there are then reported to
     * join. */
    void (*onStationChanged)(const Vod2dStationChange* change);
} Vod2dWifiBroadcastRecvCb;

/* Creates a group on info->channel, or on a channel that the service chooses when that is 0; the
 * other fields are not sent. Every answer fills *info.
 *
 * kWifiNoReply means that there was no answer within 20 s, or that the connection failed; *info is
 * unchanged. The group may still be created later. Therefore, if the next change of the group is
 * that one exists, the library removes this group and does not call onGroupChanged for it. Any
 * other change is delivered as usual, and nothing is removed afterwards. It is the next change that
 * counts, whatever its cause: after kWifiNoReply wait for one before you create a group again, or
 * the library may remove the new group. A creation that found no service cannot come late: nothing
 * is removed after it. kWifiNoReply also raises diagnostic event 954079014 with error code 1. */
PELACON_API WifiErrorCode Vod2dCreateGroup(Vod2dSoftAPInfo* info);

/* Removes the group. kWifiNoReply also raises diagnostic event 954079014 with error code 2. */
PELACON_API WifiErrorCode Vod2dRemoveGroup(void);

/* Reads the description of the group. Without a group `active` is 0. */
PELACON_API WifiErrorCode Vod2dGetGroupConfig(Vod2dSoftAPInfo* info);

/* Reads whether there is a group, and how many stations are connected to it. */
PELACON_API WifiErrorCode Vod2dGetGroupInfoConnected(Vod2dLinkGroup* group);

/* Reads whether Wi-Fi is switched on. */
PELACON_API WifiErrorCode Vod2dIsWifiActive(bool* active);

/* Returns the frequency in MHz of the group's channel, or of the Wi-Fi connection when there is no
 * group; 0 when there is neither. A negative result is a failure: kWifiFailed or kWifiNoReply. */
PELACON_API int32_t Vod2dGetFrequency(void);

/* Reads the channels of the 5 GHz band that may be used, in ascending order, into an array of `len`
 * elements; elements after the last channel are 0.
 *
 * Note that `len` also limits the copy in bytes: an array of 4 * n elements takes n channels. For
 * more channels the result is kWifiCopyFailed and the array is all zeros. 1020 elements take any
 * list (at most 255 channels). A negative `len` is refused with kWifiFailed. */
PELACON_API WifiErrorCode Vod2dGetChannelListFor5G(int32_t* chanList, int32_t len);

/* Reads the six bytes of the adapter's address, first octet first. A buffer of less than 6 bytes is
 * refused with kWifiFailed. */
PELACON_API WifiErrorCode Vod2dGetBaseMacAddress(char* mac, int32_t len);

/* Registers a table whose functions are called on changes. It is registered only when the result is
 * 0, and only once. Null is not an error; nothing is registered then. */
PELACON_API WifiErrorCode Vod2dRegisterSoftAPStateChangedCallback(Vod2dWifiBroadcastRecvCb* cb);

/* Unregisters the table, only when the result is 0: then the table is not used any more. A table
 * that was never registered is not an error. */
PELACON_API WifiErrorCode Vod2dUnRegisterSoftAPStateChangedCallback(Vod2dWifiBroadcastRecvCb* cb);

PELACON_C_END

#endif /* PELACONSDK_VOD2DGROUP_H */
