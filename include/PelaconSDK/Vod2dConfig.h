/* What two devices agree on before a Wi-Fi Direct link: configuration, channels, card states.
 *
 * The C form: each function does what the member of Vod2dApi with its name does. Threads, waiting
 * and results are as Vod2dGroup.h says; each of these takes 5 s at most.
 *
 * The three registrations here have no counterpart: a table that was accepted once stays registered
 * until the process ends, so it must live as long. */
#ifndef PELACONSDK_VOD2DCONFIG_H
#define PELACONSDK_VOD2DCONFIG_H

#include <PelaconSDK/Export.h>
#include <PelaconSDK/WifiStatus.h>

PELACON_C_BEGIN

/* Which of this device's configurations. Other values go to the service as they are. */
PELACON_ENUM(SelfCfgType){
    kSelfCfgGroupOwner = 0, /* for when this device opens the group */
    kSelfCfgStation = 1,    /* for when it joins one */
};

/* Which of the peer's configurations. Other values go to the service as they are. */
PELACON_ENUM(PeerCfgType){
    kPeerCfgGroupOwner = 0,
    kPeerCfgStation = 1,
};

/* A configuration, or a connection, that an application is told about. */
typedef struct Vod2dWifiCfgEvent {
    int32_t type;      /* a PeerCfgType; for a connection a Vod2dStationState (Vod2dGroup.h) */
    uint8_t blob[512]; /* the configuration; for a connection the station's address as text */
    int32_t length;    /* bytes of the blob that count, 0 to 512 */
} Vod2dWifiCfgEvent;

/* Hears of configurations or connections. Null is passed over. The event is valid during the call.
 *
 * Called on the receive thread with the library's list of such tables locked. From the list of
 * configurations it may call any operation but Vod2dRegisterWifiCfgCallback, from the list of
 * connections any but Vod2dSetConnNotify; these would wait for ever. While it runs no other
 * notification is delivered. An exception that leaves it ends the process. */
typedef struct Vod2dWifiCfgCallback {
    void (*onEvent)(const Vod2dWifiCfgEvent* event);
} Vod2dWifiCfgCallback;

/* What a Wi-Fi card is doing. Other values are the service's own. */
PELACON_ENUM(WifiCardState){
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
    WifiCardStateInfo cards[5];
    int32_t changed; /* index of the card that is news */
    int32_t count;   /* cards that count, 0 to 5 */
} WifiCardStateEvent;

/* Hears of card states; as Vod2dWifiCfgCallback. It may call any operation but
 * Vod2dSetWifiCardStateNotify. */
typedef struct WifiCardStateCallback {
    void (*onCardStateChanged)(const WifiCardStateEvent* event);
} WifiCardStateCallback;

/* A band of channels. */
PELACON_ENUM(Vod2dBand){
    kVod2dBandAny = 0,
    kVod2dBand24GHz = 1,
    kVod2dBand5GHz = 2,
};

/* What one side of a link can do. */
typedef struct RecommendChannelRequest {
    int32_t band;         /* a Vod2dBand */
    int32_t bandwidth;    /* the widest channel in MHz that it can use; 0 for any */
    int32_t channelCount; /* how many channels follow, 0 to 14; 0 for every channel of the band */
    int32_t channels[14]; /* the channels that it can use */
} RecommendChannelRequest;

/* The channel to use. */
typedef struct RecommendChannelResponse {
    int32_t channel;   /* its number; 0 when there is none */
    int32_t frequency; /* its centre in MHz */
    int32_t band;      /* a Vod2dBand */
    int32_t bandwidth; /* the widest in MHz that all can use there */
    int32_t load;      /* how busy it is, 0 to 100 */
    int32_t satisfied; /* how many of the requests it satisfies */
} RecommendChannelResponse;

/* Which connections an application wants to hear of. */
typedef struct Vod2dConnNotifyRequest {
    int32_t events;       /* 1 for stations that join, 2 for those that leave, 3 for both */
    char address[13];     /* one station's, twelve hexadecimal digits; empty for every one */
    uint8_t reserved[15]; /* 0 */
} Vod2dConnNotifyRequest;

/* What the layers above use the link for. */
typedef struct Vod2dUpperScene {
    uint8_t data[16]; /* the scene's own */
    int32_t scene;
} Vod2dUpperScene;

/* Reads one of this device's configurations into a buffer of 512 bytes, and its length into *len.
 * Both are filled on every answer; when the answer's length is impossible the result is
 * kWifiCopyFailed, the buffer is zeroed and *len untouched. */
PELACON_API WifiErrorCode Vod2dGetSelfWifiCfgInfo(SelfCfgType type, uint8_t* cfgData, int32_t* len);

/* Sets one of the peer's configurations, `len` bytes, 512 at most. More is refused with
 * kWifiCopyFailed, null or a negative length with kWifiFailed. */
PELACON_API WifiErrorCode Vod2dSetPeerWifiCfgInfo(PeerCfgType type, uint8_t* cfgData, int32_t len);

/* Has the table told of each configuration that another application sets, after those registered
 * before it. Kept only when the result is 0, and once however often it is registered. Null is
 * refused with kWifiFailed. */
PELACON_API WifiErrorCode Vod2dRegisterWifiCfgCallback(Vod2dWifiCfgCallback* cb);

/* Reads which interfaces can work side by side into a buffer of 256 bytes, as text that ends with
 * its length, and the length into *validLen; filled as in Vod2dGetSelfWifiCfgInfo. */
PELACON_API WifiErrorCode Vod2dGetIfaceCoexistCap(char* ifaceCoexCap, int32_t* validLen);

/* Asks for the channel that suits `count` sides of a link best, ten at most, and fills *resp on
 * every answer. More than ten are refused with kWifiCopyFailed, null or a negative count with
 * kWifiFailed. kWifiNoReply also raises diagnostic event 954079014 with error code 5. */
PELACON_API WifiErrorCode Vod2dGetRecommendChannel(const RecommendChannelRequest* req,
                                                   int32_t count, RecommendChannelResponse* resp);

/* Asks for the state of the card info->card, and has the table told of every later change, after
 * those registered before it. When the service's result is 0 the table is kept (once however often
 * it is registered), the card is read into *info, and the number of cards read into *curState.
 * There is room for one: when the service answers with more (as it does for card -1, which means
 * all) the table is kept, *info is zeroed, *curState is untouched, and the result is
 * kWifiCopyFailed. Any other result leaves everything as it was. Null is refused with
 * kWifiFailed. */
PELACON_API WifiErrorCode Vod2dSetWifiCardStateNotify(WifiCardStateInfo* info, int32_t* curState,
                                                      WifiCardStateCallback* cb);

/* Asks to hear of connections, and has the table told of them, after those registered before it.
 * The table is kept only when the result (a WifiErrorCode) is 0, and once however often it is
 * registered; a later request takes the place of the one before. Null is refused with
 * kWifiFailed. */
PELACON_API int32_t Vod2dSetConnNotify(Vod2dConnNotifyRequest* req, Vod2dWifiCfgCallback* cb);

/* Tells the service what an interface is used for. The name has `len` bytes; of more than 31 only
 * the first 31 are sent. Null or a negative length is refused with kWifiFailed. */
PELACON_API WifiErrorCode Vod2dSetUpperScene(char* ifName, int32_t len, Vod2dUpperScene scene);

/* Reads the GUID of an interface, by its name of `len` bytes, into a buffer of `guidLen` bytes:
 * always 39, the text with its braces and its NUL. A smaller buffer is zeroed and the result is
 * kWifiCopyFailed; null or a negative length is refused with kWifiFailed. */
PELACON_API WifiErrorCode GetGuidByInterfaceName(const char* ifName, int32_t len, int32_t guidLen,
                                                 char* guid);

/* Counts one more, or one less, use of the link that applications share. A group is not removed
 * while applications other than the one that asks use it. An application's uses end with it, when
 * the service is restarted, and when the connection to the service is lost, which onGroupChanged
 * (Vod2dGroup.h) reports with reason kWifiInterrupted: count them again then. Less than none is
 * refused by the service. */
PELACON_API WifiErrorCode Vod2dOrvidSharedlinkIncrease(void);
PELACON_API WifiErrorCode Vod2dOrvidSharedlinkDecrease(void);

PELACON_C_END

#endif /* PELACONSDK_VOD2DCONFIG_H */
