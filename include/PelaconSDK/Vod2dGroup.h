/* Wi-Fi Direct groups: a network that this device opens and other devices, its stations, join.
 *
 * There is one group at a time; it is the service's, and all applications on it see the same one.
 * These functions are the C form: each does what the member of Vod2dApi with its name does.
 *
 * All may be called from any thread, but one at a time runs in a process (these and the ones in
 * Vod2dConfig.h): a call waits until the one before has its answer. Vod2dCreateGroup and
 * Vod2dRemoveGroup take up to 20 s, all others up to 5 s, in which they block their caller and
 * those that wait for their turn.
 *
 * Unless something else is said the result is 0 for done; kWifiFailed for an argument that is
 * refused or a library that is not started; kWifiNoReply for no answer; any other value is the
 * service's, and outputs are then filled all the same. Null outputs are refused with kWifiFailed.
 */
#ifndef PELACONSDK_VOD2DGROUP_H
#define PELACONSDK_VOD2DGROUP_H

#include <PelaconSDK/Export.h>
#include <PelaconSDK/WifiStatus.h>

PELACON_C_BEGIN

/* A group. Texts end at their first NUL, or with their field. */
typedef struct Vod2dSoftAPInfo {
    char ssid[32];      /* the network's name, UTF-8 */
    char pwd[256];      /* its pass phrase */
    uint8_t mac[6];     /* the group owner's address, first octet first */
    int32_t channel;    /* the channel number; to create a group, the one wished for or 0 for any */
    uint8_t active;     /* 1 while the group exists */
    char ipAddress[16]; /* the group owner's IPv4 address, dotted */
    uint8_t is5GHz;     /* 1 when the channel is in the 5 GHz band */
} Vod2dSoftAPInfo;

/* Whether there is a group. Other values are the service's own. */
PELACON_ENUM(Vod2dGroupState){
    kVod2dGroupNone = 0,
    kVod2dGroupExists = 1,
};

/* The group and those connected to it. */
typedef struct Vod2dLinkGroup {
    int32_t groupState;   /* a Vod2dGroupState */
    int32_t stationCount; /* stations connected now */
} Vod2dLinkGroup;

/* A group appeared, went away, or could not be made. */
typedef struct Vod2dGroupChange {
    int32_t state;  /* a Vod2dGroupState */
    int32_t reason; /* 0 when an application asked for it, otherwise the WifiErrorCode behind it */
} Vod2dGroupChange;

/* Whether a station is connected. Other values are the service's own. */
PELACON_ENUM(Vod2dStationState){
    kVod2dStationLeft = 0,
    kVod2dStationJoined = 1,
};

/* A station joined or left. Texts end at their first NUL, or with their field. */
typedef struct Vod2dStationChange {
    int32_t state;      /* a Vod2dStationState */
    char address[13];   /* its address, twelve hexadecimal digits */
    char ipAddress[16]; /* its IPv4 address, dotted; empty when it left or has none yet */
} Vod2dStationChange;

/* What an application wants to hear of the group; a slot that it leaves null is passed over. The
 * library keeps the pointer only: the table stays valid and unchanged from its registration until
 * Vod2dUnRegisterSoftAPStateChangedCallback has returned 0.
 *
 * Called on the receive thread with the library's list of these tables locked. It may call any
 * operation but Vod2dRegisterSoftAPStateChangedCallback and
 * Vod2dUnRegisterSoftAPStateChangedCallback, which would wait for ever. While it runs no other
 * notification is delivered. An exception that leaves it ends the process. */
typedef struct Vod2dWifiBroadcastRecvCb {
    /* The group changed. Not told of a group that the library removes itself, see
     * Vod2dCreateGroup. */
    void (*onGroupChanged)(Vod2dGroupChange change);
    /* A station joined or left. The record is valid during the call. When the service was
     * restarted, or the connection to it was lost, the library reports that every station that had
     * joined has left, with an empty ipAddress; those that are still there are then reported to
     * join. */
    void (*onStationChanged)(const Vod2dStationChange* change);
} Vod2dWifiBroadcastRecvCb;

/* Makes a group on info->channel, or on a channel of the service's choice when that is 0; the other
 * fields are not sent. On an answer all of *info is filled; the result is kWifiCopyFailed when that
 * failed, otherwise the service's.
 *
 * kWifiNoReply means that the library waited 20 s in vain, or that the connection failed; *info is
 * untouched. The group may still appear later. The library sees to that: if the next change of the
 * group that it hears of says that there is one, it removes this group, without telling the
 * application. Any other change is told as usual and ends the matter. It is the next change that
 * counts, whatever led to it: after kWifiNoReply wait for one before creating again, or be ready to
 * lose the group that is created next. A creation that found no service cannot come late: nothing
 * is removed after it. kWifiNoReply also raises diagnostic event 954079014 with error code 1. */
PELACON_API WifiErrorCode Vod2dCreateGroup(Vod2dSoftAPInfo* info);

/* Removes the group. kWifiNoReply also raises diagnostic event 954079014 with error code 2. */
PELACON_API WifiErrorCode Vod2dRemoveGroup(void);

/* Fills the group's description. The result is kWifiCopyFailed when that failed, otherwise the
 * service's. Without a group `active` is 0. */
PELACON_API WifiErrorCode Vod2dGetGroupConfig(Vod2dSoftAPInfo* info);

/* Fills whether there is a group, and how many stations are connected to it. */
PELACON_API WifiErrorCode Vod2dGetGroupInfoConnected(Vod2dLinkGroup* group);

/* Fills whether Wi-Fi is switched on. */
PELACON_API WifiErrorCode Vod2dIsWifiActive(bool* active);

/* The frequency in MHz of the group's channel, or of the Wi-Fi connection when there is no group;
 * 0 when there is neither. kWifiFailed and kWifiNoReply, both negative, as elsewhere. */
PELACON_API int32_t Vod2dGetFrequency(void);

/* Fills the numbers of the channels in the 5 GHz band that may be used, in ascending order, into an
 * array of `len` elements; elements behind the last are 0.
 *
 * Take care: `len` also bounds the copy in bytes. An array of 4 * n elements takes n channels; when
 * there are more the result is kWifiCopyFailed and the array is all zeros. 1020 elements take any
 * list (there are 255 channels at most). A negative `len` is refused with kWifiFailed. */
PELACON_API WifiErrorCode Vod2dGetChannelListFor5G(int32_t* chanList, int32_t len);

/* Fills the six bytes of the adapter's own address, first octet first. A buffer of less than 6
 * bytes is refused with kWifiFailed. */
PELACON_API WifiErrorCode Vod2dGetBaseMacAddress(char* mac, int32_t len);

/* Has the table told of changes, after those registered before it. Kept only when the result is 0,
 * and once however often it is registered. Null is no error; nothing is kept then. */
PELACON_API WifiErrorCode Vod2dRegisterSoftAPStateChangedCallback(Vod2dWifiBroadcastRecvCb* cb);

/* Forgets the table, only when the result is 0. Waits while a change is being told; afterwards the
 * table is not used any more. No error for a table that was never registered. */
PELACON_API WifiErrorCode Vod2dUnRegisterSoftAPStateChangedCallback(Vod2dWifiBroadcastRecvCb* cb);

PELACON_C_END

#endif /* PELACONSDK_VOD2DGROUP_H */
