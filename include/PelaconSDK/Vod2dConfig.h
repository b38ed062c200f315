/* Configuration, channels and card states: what two devices exchange before a Wi-Fi Direct link.
 *
 * The C form: each function does the same as the member of Vod2dApi with its name. Threads, waiting
 * and results are as described in Vod2dGroup.h; each request has a time-out of 5 s.
 *
 * Tables that are registered here cannot be unregistered: they must stay valid until the process
 * ends. */
#ifndef PELACONSDK_VOD2DCONFIG_H
#define PELACONSDK_VOD2DCONFIG_H

#include <PelaconSDK/Export.h>
#include <PelaconSDK/WifiStatus.h>

PELACON_C_BEGIN

/* A configuration of this device. Other values go to the service unchanged. */
enum PELACON_ENUM(SelfCfgType) {
    kSelfCfgGroupOwner = 0, /* for opening a group */
    kSelfCfgStation = 1,    /* for joining one */
};

/* A configuration of the peer. Other values go to the service unchanged. */
enum PELACON_ENUM(PeerCfgType) {
    kPeerCfgGroupOwner = 0,
    kPeerCfgStation = 1,
};

/* A configuration, or a connection. */
typedef struct Vod2dWifiCfgEvent {
    int32_t type;      /* a PeerCfgType; for a connection a Vod2dStationState (Vod2dGroup.h) */
    uint8_t blob[512]; /* the configuration; for a connection the station's address as text */
    int32_t length;    /* bytes of the blob that are used, 0 to 512 */
} Vod2dWifiCfgEvent;

/* The callback for configurations or connections; it may be null. The event is valid during the
 * call.
 *
 * Called on the receive thread, in the order of registration. A callback may call any operation. An
 * exception that leaves it ends the process (std::terminate). */
typedef struct Vod2dWifiCfgCallback {
    /* One configuration, or one connection. */
    void (*onEvent)(const Vod2dWifiCfgEvent* event);
} Vod2dWifiCfgCallback;

/* The state of a Wi-Fi card. Other values are the service's own. */
enum PELACON_ENUM(WifiCardState) {
    kWifiCardAbsent = 0,
    kWifiCardOff = 1,
    kWifiCardOn = 2,
};

/* A Wi-Fi card and its state. */
typedef struct WifiCardStateInfo {
    int32_t card;  /* the card's number, from 0 */
    int32_t state; /* a WifiCardState */
} WifiCardStateInfo;

/* The cards after a change. */
typedef struct WifiCardStateEvent {
    WifiCardStateInfo cards[5]; /* all cards */
    int32_t changed;            /* index of the card that has changed */
    int32_t count;              /* number of cards, 0 to 5 */
} WifiCardStateEvent;

/* The callback for card states. The rules of Vod2dWifiCfgCallback apply. */
typedef struct WifiCardStateCallback {
    /* A card has changed. The event is valid during the call. */
    void (*onCardStateChanged)(const WifiCardStateEvent* event);
} WifiCardStateCallback;

/* A band of channels. */
enum PELACON_ENUM(Vod2dBand) {
    kVod2dBandAny = 0,
    kVod2dBand24GHz = 1,
    kVod2dBand5GHz = 2,
};

/* The channels that one side of a link can use. */
typedef struct RecommendChannelRequest {
    int32_t band;         /* a Vod2dBand */
    int32_t bandwidth;    /* the greatest bandwidth in MHz; 0 for any */
    int32_t channelCount; /* number of channels, 0 to 14; 0 for all channels of the band */
    int32_t channels[14]; /* their numbers */
} RecommendChannelRequest;

/* The recommended channel. */
typedef struct RecommendChannelResponse {
    int32_t channel;   /* its number; 0 when there is none */
    int32_t frequency; /* its centre in MHz */
    int32_t band;      /* a Vod2dBand */
    int32_t bandwidth; /* the greatest in MHz that all sides can use there */
    int32_t load;      /* of the channel, 0 to 100 */
    int32_t satisfied; /* number of requests that it satisfies */
} RecommendChannelResponse;

/* Selects connections. */
typedef struct Vod2dConnNotifyRequest {
    int32_t events;       /* 1 for stations that join, 2 for those that leave, 3 for both */
    char address[13];     /* of one station, twelve hexadecimal digits; empty for all */
    uint8_t reserved[15]; /* 0 */
} Vod2dConnNotifyRequest;

/* The use of the link by upper layers. */
typedef struct Vod2dUpperScene {
    uint8_t data[16]; /* defined by the scene */
    int32_t scene;    /* its number, defined by the application */
} Vod2dUpperScene;

/* Reads a configuration of this device into a buffer of 512 bytes, and its length into *len. Every
 * answer fills both; when the length in the answer is impossible, the result is kWifiCopyFailed,
 * the buffer is zeroed and *len unchanged. */
PELACON_API WifiErrorCode Vod2dGetSelfWifiCfgInfo(SelfCfgType type, uint8_t* cfgData, int32_t* len);

/* Sets a configuration of the peer, `len` bytes, at most 512. More is refused with kWifiCopyFailed,
 * null or a negative length with kWifiFailed. */
PELACON_API WifiErrorCode Vod2dSetPeerWifiCfgInfo(PeerCfgType type, uint8_t* cfgData, int32_t len);

/* Registers a table that is called for each configuration that another application sets. It is
 * registered only when the result is 0, and only once. Null is refused with kWifiFailed. */
PELACON_API WifiErrorCode Vod2dRegisterWifiCfgCallback(Vod2dWifiCfgCallback* cb);

/* Reads which interfaces can be used at the same time into a buffer of 256 bytes, as text without a
 * NUL, and its length into *validLen; otherwise as Vod2dGetSelfWifiCfgInfo. */
PELACON_API WifiErrorCode Vod2dGetIfaceCoexistCap(char* ifaceCoexCap, int32_t* validLen);

/* Requests the channel that suits `count` sides of a link best, at most ten. Every answer fills
 * *resp. More than ten are refused with kWifiCopyFailed, null or a negative count with kWifiFailed.
 * kWifiNoReply also raises diagnostic event 954079014 with error code 5. */
PELACON_API WifiErrorCode Vod2dGetRecommendChannel(const RecommendChannelRequest* req,
                                                   int32_t count, RecommendChannelResponse* resp);

/* Reads the state of the card info->card, and registers a table that is called on later changes.
 * When the service's result is 0, the table is registered (only once), the card is read into *info,
 * and the number of cards into *curState. There is room for one card: when the service answers with
 * more (as it does for card -1, which means all), the table is registered, *info is zeroed,
 * *curState is unchanged, and the result is kWifiCopyFailed. Any other result changes nothing. Null
 * is refused with kWifiFailed. */
PELACON_API WifiErrorCode Vod2dSetWifiCardStateNotify(WifiCardStateInfo* info, int32_t* curState,
                                                      WifiCardStateCallback* cb);

/* Registers a table that is called when stations join or leave, as *req selects. The table is
 * registered only when the result (a WifiErrorCode) is 0, and only once; each accepted request
 * replaces the selection of the previous one. Null is refused with kWifiFailed. */
PELACON_API int32_t Vod2dSetConnNotify(Vod2dConnNotifyRequest* req, Vod2dWifiCfgCallback* cb);

/* Sets the use of an interface. The name has `len` bytes or ends at its NUL, whichever
 * comes first; at most 31 bytes are sent. Null or a negative length is refused with kWifiFailed. */
PELACON_API WifiErrorCode Vod2dSetUpperScene(char* ifName, int32_t len, Vod2dUpperScene scene);

/* Reads the GUID of an interface, by its name of `len` bytes, into a buffer of `guidLen` bytes:
 * always 39 bytes, the text with braces and NUL. A smaller buffer is zeroed and the result is
 * kWifiCopyFailed. Null, a negative length, and a name of more than 65535 bytes are refused with
 * kWifiFailed. */
PELACON_API WifiErrorCode GetGuidByInterfaceName(const char* ifName, int32_t len, int32_t guidLen,
                                                 char* guid);

/* Adds, or removes, one use of the link that applications share. A group is not removed while
 * applications other than the caller use it. An application's uses end when it ends, when the
 * service is restarted, and when the connection to the service is lost, which onGroupChanged
 * (Vod2dGroup.h) reports with reason kWifiInterrupted unless a group is just being created: add
 * them again then. The service refuses to remove a use that was not added. */
PELACON_API WifiErrorCode Vod2dOrvidSharedlinkIncrease(void);
PELACON_API WifiErrorCode Vod2dOrvidSharedlinkDecrease(void);

PELACON_C_END

#endif /* PELACONSDK_VOD2DCONFIG_H */
