/* Wi-Fi Direct, for C++. Each member is described at the C function with its name, in Vod2dGroup.h
 * and Vod2dConfig.h. */
#ifndef PELACONSDK_VOD2DAPI_H
#define PELACONSDK_VOD2DAPI_H

#include <PelaconSDK/Vod2dConfig.h>
#include <PelaconSDK/Vod2dGroup.h>

#ifdef __cplusplus

/* Throws nothing but std::bad_alloc. */
class PELACON_API Vod2dApi {
  public:
    Vod2dApi() = delete;

    /* The group. */
    static WifiErrorCode Vod2dCreateGroup(Vod2dSoftAPInfo* info);
    static WifiErrorCode Vod2dRemoveGroup();
    static WifiErrorCode Vod2dGetGroupConfig(Vod2dSoftAPInfo* info);
    static WifiErrorCode Vod2dGetGroupInfoConnected(Vod2dLinkGroup* group);
    static WifiErrorCode Vod2dIsWifiActive(bool* active);
    static int32_t Vod2dGetFrequency();
    static WifiErrorCode Vod2dGetChannelListFor5G(int32_t* chanList, int32_t len);
    static WifiErrorCode Vod2dGetBaseMacAddress(char* mac, int32_t len);
    static WifiErrorCode Vod2dRegisterSoftAPStateChangedCallback(Vod2dWifiBroadcastRecvCb* cb);
    static WifiErrorCode Vod2dUnRegisterSoftAPStateChangedCallback(Vod2dWifiBroadcastRecvCb* cb);

    /* Configuration and channels. */
    static WifiErrorCode Vod2dGetSelfWifiCfgInfo(SelfCfgType type, uint8_t* cfgData, int32_t* len);
    static WifiErrorCode Vod2dSetPeerWifiCfgInfo(PeerCfgType type, uint8_t* cfgData, int32_t len);
    static WifiErrorCode Vod2dRegisterWifiCfgCallback(Vod2dWifiCfgCallback* cb);
    static WifiErrorCode Vod2dGetIfaceCoexistCap(char* ifaceCoexCap, int32_t* validLen);
    static WifiErrorCode Vod2dGetRecommendChannel(const RecommendChannelRequest* req, int32_t count,
                                                  RecommendChannelResponse* resp);
    static WifiErrorCode Vod2dSetWifiCardStateNotify(WifiCardStateInfo* info, int32_t* curState,
                                                     WifiCardStateCallback* cb);
    static int32_t Vod2dSetConnNotify(Vod2dConnNotifyRequest* req, Vod2dWifiCfgCallback* cb);
    static WifiErrorCode Vod2dSetUpperScene(char* ifName, int32_t len, Vod2dUpperScene scene);
    static WifiErrorCode GetGuidByInterfaceName(const char* ifName, int32_t len, int32_t guidLen,
                                                char* guid);
    static WifiErrorCode Vod2dOrvidSharedlinkIncrease();
    static WifiErrorCode Vod2dOrvidSharedlinkDecrease();
};

#endif /* __cplusplus */

#endif /* PELACONSDK_VOD2DAPI_H */
