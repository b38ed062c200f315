#include <PelaconSDK/Vod2dApi.h>
#include <sdk/api/CEntry.h>

using pelacon::CEntry;

WifiErrorCode Vod2dCreateGroup(Vod2dSoftAPInfo* info)
{
    return CEntry("Vod2dCreateGroup", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dCreateGroup(info); });
}

WifiErrorCode Vod2dRemoveGroup()
{
    return CEntry("Vod2dRemoveGroup", kWifiFailed, [] { return Vod2dApi::Vod2dRemoveGroup(); });
}

WifiErrorCode Vod2dGetGroupConfig(Vod2dSoftAPInfo* info)
{
    return CEntry("Vod2dGetGroupConfig", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dGetGroupConfig(info); });
}

WifiErrorCode Vod2dGetGroupInfoConnected(Vod2dLinkGroup* group)
{
    return CEntry("Vod2dGetGroupInfoConnected", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dGetGroupInfoConnected(group); });
}

WifiErrorCode Vod2dIsWifiActive(bool* active)
{
    return CEntry("Vod2dIsWifiActive", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dIsWifiActive(active); });
}

int32_t Vod2dGetFrequency()
{
    return CEntry("Vod2dGetFrequency", int32_t{kWifiFailed},
                  [] { return Vod2dApi::Vod2dGetFrequency(); });
}

WifiErrorCode Vod2dGetChannelListFor5G(int32_t* chanList, int32_t len)
{
    return CEntry("Vod2dGetChannelListFor5G", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dGetChannelListFor5G(chanList, len); });
}

WifiErrorCode Vod2dGetBaseMacAddress(char* mac, int32_t len)
{
    return CEntry("Vod2dGetBaseMacAddress", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dGetBaseMacAddress(mac, len); });
}

WifiErrorCode Vod2dRegisterSoftAPStateChangedCallback(Vod2dWifiBroadcastRecvCb* cb)
{
    return CEntry("Vod2dRegisterSoftAPStateChangedCallback", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(cb); });
}

WifiErrorCode Vod2dUnRegisterSoftAPStateChangedCallback(Vod2dWifiBroadcastRecvCb* cb)
{
    return CEntry("Vod2dUnRegisterSoftAPStateChangedCallback", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(cb); });
}

WifiErrorCode Vod2dGetSelfWifiCfgInfo(SelfCfgType type, uint8_t* cfgData, int32_t* len)
{
    return CEntry("Vod2dGetSelfWifiCfgInfo", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dGetSelfWifiCfgInfo(type, cfgData, len); });
}

WifiErrorCode Vod2dSetPeerWifiCfgInfo(PeerCfgType type, uint8_t* cfgData, int32_t len)
{
    return CEntry("Vod2dSetPeerWifiCfgInfo", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dSetPeerWifiCfgInfo(type, cfgData, len); });
}

WifiErrorCode Vod2dRegisterWifiCfgCallback(Vod2dWifiCfgCallback* cb)
{
    return CEntry("Vod2dRegisterWifiCfgCallback", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dRegisterWifiCfgCallback(cb); });
}

WifiErrorCode Vod2dGetIfaceCoexistCap(char* ifaceCoexCap, int32_t* validLen)
{
    return CEntry("Vod2dGetIfaceCoexistCap", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dGetIfaceCoexistCap(ifaceCoexCap, validLen); });
}

WifiErrorCode Vod2dGetRecommendChannel(const RecommendChannelRequest* req, int32_t count,
                                       RecommendChannelResponse* resp)
{
    return CEntry("Vod2dGetRecommendChannel", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dGetRecommendChannel(req, count, resp); });
}

WifiErrorCode Vod2dSetWifiCardStateNotify(WifiCardStateInfo* info, int32_t* curState,
                                          WifiCardStateCallback* cb)
{
    return CEntry("Vod2dSetWifiCardStateNotify", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dSetWifiCardStateNotify(info, curState, cb); });
}

int32_t Vod2dSetConnNotify(Vod2dConnNotifyRequest* req, Vod2dWifiCfgCallback* cb)
{
    return CEntry("Vod2dSetConnNotify", int32_t{kWifiFailed},
                  [&] { return Vod2dApi::Vod2dSetConnNotify(req, cb); });
}

WifiErrorCode Vod2dSetUpperScene(char* ifName, int32_t len, Vod2dUpperScene scene)
{
    return CEntry("Vod2dSetUpperScene", kWifiFailed,
                  [&] { return Vod2dApi::Vod2dSetUpperScene(ifName, len, scene); });
}

WifiErrorCode GetGuidByInterfaceName(const char* ifName, int32_t len, int32_t guidLen, char* guid)
{
    return CEntry("GetGuidByInterfaceName", kWifiFailed,
                  [&] { return Vod2dApi::GetGuidByInterfaceName(ifName, len, guidLen, guid); });
}

WifiErrorCode Vod2dOrvidSharedlinkIncrease()
{
    return CEntry("Vod2dOrvidSharedlinkIncrease", kWifiFailed,
                  [] { return Vod2dApi::Vod2dOrvidSharedlinkIncrease(); });
}

WifiErrorCode Vod2dOrvidSharedlinkDecrease()
{
    return CEntry("Vod2dOrvidSharedlinkDecrease", kWifiFailed,
                  [] { return Vod2dApi::Vod2dOrvidSharedlinkDecrease(); });
}
