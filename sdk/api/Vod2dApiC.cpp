#include <PelaconSDK/Vod2dApi.h>
#include <sdk/api/CEntry.h>

using pelacon::CEntry;

WifiErrorCode Vod2dCreateGroup(Vod2dSoftAPInfo* info)
{
    return CEntry<&Vod2dApi::Vod2dCreateGroup>(kWifiFailed, info);
}

WifiErrorCode Vod2dRemoveGroup()
{
    return CEntry<&Vod2dApi::Vod2dRemoveGroup>(kWifiFailed);
}

WifiErrorCode Vod2dGetGroupConfig(Vod2dSoftAPInfo* info)
{
    return CEntry<&Vod2dApi::Vod2dGetGroupConfig>(kWifiFailed, info);
}

WifiErrorCode Vod2dGetGroupInfoConnected(Vod2dLinkGroup* group)
{
    return CEntry<&Vod2dApi::Vod2dGetGroupInfoConnected>(kWifiFailed, group);
}

WifiErrorCode Vod2dIsWifiActive(bool* active)
{
    return CEntry<&Vod2dApi::Vod2dIsWifiActive>(kWifiFailed, active);
}

int32_t Vod2dGetFrequency()
{
    return CEntry<&Vod2dApi::Vod2dGetFrequency>(int32_t{kWifiFailed});
}

WifiErrorCode Vod2dGetChannelListFor5G(int32_t* chanList, int32_t len)
{
    return CEntry<&Vod2dApi::Vod2dGetChannelListFor5G>(kWifiFailed, chanList, len);
}

WifiErrorCode Vod2dGetBaseMacAddress(char* mac, int32_t len)
{
    return CEntry<&Vod2dApi::Vod2dGetBaseMacAddress>(kWifiFailed, mac, len);
}

WifiErrorCode Vod2dRegisterSoftAPStateChangedCallback(Vod2dWifiBroadcastRecvCb* cb)
{
    return CEntry<&Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback>(kWifiFailed, cb);
}

WifiErrorCode Vod2dUnRegisterSoftAPStateChangedCallback(Vod2dWifiBroadcastRecvCb* cb)
{
    return CEntry<&Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback>(kWifiFailed, cb);
}

WifiErrorCode Vod2dGetSelfWifiCfgInfo(SelfCfgType type, uint8_t* cfgData, int32_t* len)
{
    return CEntry<&Vod2dApi::Vod2dGetSelfWifiCfgInfo>(kWifiFailed, type, cfgData, len);
}

WifiErrorCode Vod2dSetPeerWifiCfgInfo(PeerCfgType type, uint8_t* cfgData, int32_t len)
{
    return CEntry<&Vod2dApi::Vod2dSetPeerWifiCfgInfo>(kWifiFailed, type, cfgData, len);
}

WifiErrorCode Vod2dRegisterWifiCfgCallback(Vod2dWifiCfgCallback* cb)
{
    return CEntry<&Vod2dApi::Vod2dRegisterWifiCfgCallback>(kWifiFailed, cb);
}

WifiErrorCode Vod2dGetIfaceCoexistCap(char* ifaceCoexCap, int32_t* validLen)
{
    return CEntry<&Vod2dApi::Vod2dGetIfaceCoexistCap>(kWifiFailed, ifaceCoexCap, validLen);
}

WifiErrorCode Vod2dGetRecommendChannel(const RecommendChannelRequest* req, int32_t count,
                                       RecommendChannelResponse* resp)
{
    return CEntry<&Vod2dApi::Vod2dGetRecommendChannel>(kWifiFailed, req, count, resp);
}

WifiErrorCode Vod2dSetWifiCardStateNotify(WifiCardStateInfo* info, int32_t* curState,
                                          WifiCardStateCallback* cb)
{
    return CEntry<&Vod2dApi::Vod2dSetWifiCardStateNotify>(kWifiFailed, info, curState, cb);
}

int32_t Vod2dSetConnNotify(Vod2dConnNotifyRequest* req, Vod2dWifiCfgCallback* cb)
{
    return CEntry<&Vod2dApi::Vod2dSetConnNotify>(int32_t{kWifiFailed}, req, cb);
}

WifiErrorCode Vod2dSetUpperScene(char* ifName, int32_t len, Vod2dUpperScene scene)
{
    return CEntry<&Vod2dApi::Vod2dSetUpperScene>(kWifiFailed, ifName, len, scene);
}

WifiErrorCode GetGuidByInterfaceName(const char* ifName, int32_t len, int32_t guidLen, char* guid)
{
    return CEntry<&Vod2dApi::GetGuidByInterfaceName>(kWifiFailed, ifName, len, guidLen, guid);
}

WifiErrorCode Vod2dOrvidSharedlinkIncrease()
{
    return CEntry<&Vod2dApi::Vod2dOrvidSharedlinkIncrease>(kWifiFailed);
}

WifiErrorCode Vod2dOrvidSharedlinkDecrease()
{
    return CEntry<&Vod2dApi::Vod2dOrvidSharedlinkDecrease>(kWifiFailed);
}
