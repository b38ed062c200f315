#include <PelaconSDK/Vod2dApi.h>
#include <karvell_secure_c/securec.h>
#include <protocol/Vod2dConfig.h>
#include <sdk/api/Vod2dCall.h>
#include <sdk/diag/TraverseProcesses.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/WifiConfigCallbacks.h>

#include <algorithm>
#include <cstring>
#include <string>

using namespace pelacon;

namespace {

/// No message can carry the name of an interface that is longer.
constexpr std::int32_t kLongestName = 0xFFFF;

/// Error code of the diagnostic event.
constexpr std::int32_t kRecommendChannelError = 5;

WifiErrorCode CopyFailed(const Vod2dCall& call)
{
    return call.Refuse(kLogFailure, "memcpy failed!", kWifiCopyFailed);
}

/// A length of the service for a bounded copy: a negative one fits nowhere.
std::size_t SizeOf(std::int32_t length)
{
    return static_cast<std::size_t>(static_cast<std::int64_t>(length));
}

/// Copies a blob and its length to the application, whose buffer holds a whole field. The result is
/// the reply's, unless the length is impossible.
template <typename Element, std::size_t Size, typename Reply>
WifiErrorCode CopyBlob(const Vod2dCall& call, const Element (&field)[Size], const Reply& reply,
                       void* to, std::int32_t& lengthTo)
{
    if (memcpy_s(to, sizeof field, field, SizeOf(reply.length)) != 0) {
        return CopyFailed(call);
    }
    lengthTo = reply.length;
    return WifiStatusOf(reply);
}

}  // namespace

WifiErrorCode Vod2dApi::Vod2dOrvidSharedlinkIncrease()
{
    Vod2dCall call("Vod2dApi::Vod2dOrvidSharedlinkIncrease");
    return call.Send(protocol::kSharedlinkIncrease, {});
}

WifiErrorCode Vod2dApi::Vod2dOrvidSharedlinkDecrease()
{
    Vod2dCall call("Vod2dApi::Vod2dOrvidSharedlinkDecrease");
    call.WhenNoReply([&] {
        call.Log(kLogTrace, "Vod2dOrvidSharedlinkDecrease timeout");
        TryTraverseProcesses(call.Function());
    });
    return call.Send(protocol::kSharedlinkDecrease, {});
}

WifiErrorCode Vod2dApi::Vod2dGetSelfWifiCfgInfo(SelfCfgType type, uint8_t* cfgData, int32_t* len)
{
    Vod2dCall call("Vod2dApi::Vod2dGetSelfWifiCfgInfo");
    if (call.IsNull("cfgData", cfgData) || call.IsNull("len", len)) {
        return kWifiFailed;
    }
    return call.Send(protocol::kGetSelfWifiCfgInfo, {type},
                     [&](const protocol::SelfWifiCfgReply& reply) {
                         return CopyBlob(call, reply.blob, reply, cfgData, *len);
                     });
}

WifiErrorCode Vod2dApi::Vod2dSetPeerWifiCfgInfo(PeerCfgType type, uint8_t* cfgData, int32_t len)
{
    Vod2dCall call("Vod2dApi::Vod2dSetPeerWifiCfgInfo");
    if (call.IsNull("cfgData", cfgData)) {
        return kWifiFailed;
    }
    if (len < 0) {
        return call.Refuse(kLogFailure, "cfgData len is invalid");
    }
    protocol::WifiCfg request{};
    request.type = type;
    request.length = len;
    if (memcpy_s(request.blob, sizeof request.blob, cfgData, SizeOf(len)) != 0) {
        return CopyFailed(call);
    }
    return call.Send(protocol::kSetPeerWifiCfgInfo, request);
}

WifiErrorCode Vod2dApi::Vod2dRegisterWifiCfgCallback(Vod2dWifiCfgCallback* cb)
{
    Vod2dCall call("Vod2dApi::Vod2dRegisterWifiCfgCallback");
    if (call.IsNull("callback", cb)) {
        return kWifiFailed;
    }
    return call.Send(protocol::kRegisterWifiCfg, {}, call.Then([&](const auto&) {
        Registry<WifiConfigCallbacks>().RegisterWifiCfgCallback(cb);
    }));
}

WifiErrorCode Vod2dApi::Vod2dGetIfaceCoexistCap(char* ifaceCoexCap, int32_t* validLen)
{
    Vod2dCall call("Vod2dApi::Vod2dGetIfaceCoexistCap");
    if (call.IsNull("ifaceCoexCap", ifaceCoexCap) || call.IsNull("validLen", validLen)) {
        return kWifiFailed;
    }
    return call.Send(protocol::kGetIfaceCoexistCap, {},
                     [&](const protocol::IfaceCoexistCapReply& reply) {
                         return CopyBlob(call, reply.capability, reply, ifaceCoexCap, *validLen);
                     });
}

WifiErrorCode Vod2dApi::Vod2dGetRecommendChannel(const RecommendChannelRequest* req, int32_t count,
                                                 RecommendChannelResponse* resp)
{
    Vod2dCall call("Vod2dApi::Vod2dGetRecommendChannel");
    if (call.IsNull("request", req) || call.IsNull("resp", resp)) {
        return kWifiFailed;
    }
    if (count < 0) {
        return call.Refuse(kLogFailure, "count is invalid");
    }
    if (SizeOf(count) > protocol::kMostWishes) {
        return CopyFailed(call);
    }
    const std::span wishes(reinterpret_cast<const std::uint8_t*>(req), SizeOf(count) * sizeof *req);
    call.WhenNoReply([] { VoviewDataReport::ReportApplicationInterface(kRecommendChannelError); });
    return call.Send(protocol::kGetRecommendChannel, wishes,
                     [&](const protocol::RecommendChannelReply& reply) {
                         *resp = reply.response;
                         return WifiStatusOf(reply);
                     });
}

WifiErrorCode Vod2dApi::Vod2dSetWifiCardStateNotify(WifiCardStateInfo* info, int32_t* curState,
                                                    WifiCardStateCallback* cb)
{
    Vod2dCall call("Vod2dApi::Vod2dSetWifiCardStateNotify");
    if (call.IsNull("curState", curState) || call.IsNull("callback", cb) ||
        call.IsNull("info", info)) {
        return kWifiFailed;
    }
    const WifiCardStateInfo request = *info;
    return call.Send(protocol::kSetWifiCardStateNotify, request,
                     [&](const protocol::CardStateReply& reply) {
                         if (reply.status != kWifiSuccess) {
                             return WifiStatusOf(reply);
                         }
                         call.Unlock();
                         Registry<WifiConfigCallbacks>().RegisterWifiCardStateCallback(cb, request);
                         // There is room for one entry, and only after the table is kept is that
                         // looked at.
                         const std::size_t size = SizeOf(reply.count) * sizeof *info;
                         if (memcpy_s(info, sizeof *info, reply.entries, size) != 0) {
                             return CopyFailed(call);
                         }
                         *curState = reply.count;
                         return kWifiSuccess;
                     });
}

int32_t Vod2dApi::Vod2dSetConnNotify(Vod2dConnNotifyRequest* req, Vod2dWifiCfgCallback* cb)
{
    Vod2dCall call("Vod2dApi::Vod2dSetConnNotify");
    if (call.IsNull("request", req) || call.IsNull("callback", cb)) {
        return kWifiFailed;
    }
    const Vod2dConnNotifyRequest request = *req;
    return call.Send(protocol::kSetConnNotify, request, call.Then([&](const auto&) {
        Registry<WifiConfigCallbacks>().RegisterConnNotifyCallback(cb, request);
    }));
}

WifiErrorCode Vod2dApi::Vod2dSetUpperScene(char* ifName, int32_t len, Vod2dUpperScene scene)
{
    Vod2dCall call("Vod2dApi::Vod2dSetUpperScene");
    if (call.IsNull("ifName", ifName)) {
        return kWifiFailed;
    }
    if (len < 0) {
        return call.Refuse(kLogFailure, "ifName len is invalid");
    }
    protocol::UpperSceneRequest request{};
    // Up to its NUL, which a wrong length may lie behind.
    std::copy_n(ifName, strnlen(ifName, std::min(SizeOf(len), sizeof request.ifName - 1)),
                request.ifName);
    request.ifNameLength = len;
    request.scene = scene;
    return call.Send(protocol::kSetUpperScene, request);
}

WifiErrorCode Vod2dApi::GetGuidByInterfaceName(const char* ifName, int32_t len, int32_t guidLen,
                                               char* guid)
{
    Vod2dCall call("Vod2dApi::GetGuidByInterfaceName");
    if (call.IsNull("ifName", ifName) || call.IsNull("guid", guid)) {
        return kWifiFailed;
    }
    if (len < 0 || len > kLongestName || guidLen < 0) {
        return call.Refuse(kLogFailure, "len is invalid");
    }
    return call.Send(protocol::kGetGuidByInterfaceName, std::string(ifName, SizeOf(len)),
                     [&](const protocol::InterfaceGuidReply& reply) {
                         if (memcpy_s(guid, SizeOf(guidLen), reply.guid, sizeof reply.guid) != 0) {
                             return CopyFailed(call);
                         }
                         return WifiStatusOf(reply);
                     });
}
