#include <PelaconSDK/Vod2dApi.h>
#include <karvell_secure_c/securec.h>
#include <protocol/Vod2dConfig.h>
#include <sdk/api/WifiFailures.h>
#include <sdk/diag/Log.h>
#include <sdk/diag/TraverseProcesses.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/Exchange.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

using namespace pelacon;  // NOLINT(google-build-using-namespace)
using diag::Log;
using diag::LogStart;

static_assert(sizeof(RecommendChannelRequest) == sizeof(protocol::ChannelWish));
static_assert(sizeof(RecommendChannelResponse) == sizeof(protocol::RecommendedChannel));
static_assert(sizeof(WifiCardStateInfo) == sizeof(protocol::CardState));
static_assert(sizeof(Vod2dConnNotifyRequest) == sizeof(protocol::ConnNotifyRequest));
static_assert(sizeof(Vod2dUpperScene) == 20 && offsetof(Vod2dUpperScene, scene) == 16);

namespace {

/// No message can carry the name of an interface that is longer.
constexpr std::int32_t kLongestName = 0xFFFF;

/// Error code of the diagnostic event.
constexpr std::int32_t kRecommendChannelError = 5;

WifiErrorCode RefuseNull(const char* function, const char* why)
{
    return RefuseWifi(kLogIncomplete, function, why);
}

WifiErrorCode CopyFailed(const char* function)
{
    return RefuseWifi(kLogFailure, function, "memcpy failed!", kWifiCopyFailed);
}

/// A length that the service says, for a bounded copy: a negative one fits nowhere.
std::size_t SizeOf(std::int32_t length)
{
    return static_cast<std::size_t>(static_cast<std::int64_t>(length));
}

/// Hands a blob and its length to the application, which brings room for a whole field. The result
/// is the reply's, unless the length is impossible.
template <typename Element, std::size_t Size>
WifiErrorCode HandOver(const char* function, const Element (&field)[Size], std::int32_t length,
                       std::int32_t status, void* to, std::int32_t& lengthTo)
{
    if (memcpy_s(to, sizeof field, field, SizeOf(length)) != 0) {
        return CopyFailed(function);
    }
    lengthTo = length;
    return static_cast<WifiErrorCode>(status);
}

}  // namespace

WifiErrorCode Vod2dApi::Vod2dOrvidSharedlinkIncrease()
{
    constexpr auto kFunction = "Vod2dApi::Vod2dOrvidSharedlinkIncrease";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    return Exchange(kFunction, protocol::kSharedlinkIncrease, {}, kWifiFailures, WifiStatusOf);
}

WifiErrorCode Vod2dApi::Vod2dOrvidSharedlinkDecrease()
{
    constexpr auto kFunction = "Vod2dApi::Vod2dOrvidSharedlinkDecrease";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    const auto timedOut = [&] {
        Log(kLogTrace, kFunction, "Vod2dOrvidSharedlinkDecrease timeout");
        TryTraverseProcesses(kFunction);
    };
    return Exchange(kFunction, protocol::kSharedlinkDecrease, {}, kWifiFailures.OnNoReply(timedOut),
                    WifiStatusOf);
}

WifiErrorCode Vod2dApi::Vod2dGetSelfWifiCfgInfo(SelfCfgType type, uint8_t* cfgData, int32_t* len)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dGetSelfWifiCfgInfo";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    if (cfgData == nullptr) {
        return RefuseNull(kFunction, "cfgData is nullptr, return");
    }
    if (len == nullptr) {
        return RefuseNull(kFunction, "len is nullptr, return");
    }
    return Exchange(kFunction, protocol::kGetSelfWifiCfgInfo, {type}, kWifiFailures,
                    [&](const protocol::SelfWifiCfgReply& reply) {
                        return HandOver(kFunction, reply.blob, reply.length, reply.status, cfgData,
                                        *len);
                    });
}

WifiErrorCode Vod2dApi::Vod2dSetPeerWifiCfgInfo(PeerCfgType type, uint8_t* cfgData, int32_t len)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dSetPeerWifiCfgInfo";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    if (cfgData == nullptr) {
        return RefuseNull(kFunction, "cfgData is nullptr, return");
    }
    if (len < 0) {
        return RefuseWifi(kLogFailure, kFunction, "cfgData len is invalid");
    }
    protocol::WifiCfg request{};
    request.type = type;
    request.length = len;
    if (memcpy_s(request.blob, sizeof request.blob, cfgData, SizeOf(len)) != 0) {
        return CopyFailed(kFunction);
    }
    return Exchange(kFunction, protocol::kSetPeerWifiCfgInfo, request, kWifiFailures, WifiStatusOf);
}

WifiErrorCode Vod2dApi::Vod2dRegisterWifiCfgCallback(Vod2dWifiCfgCallback* cb)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dRegisterWifiCfgCallback";
    LogStart(kFunction);
    auto lock = LockVod2dApi();
    if (cb == nullptr) {
        return RefuseNull(kFunction, "callback is nullptr, return");
    }
    return Exchange(kFunction, protocol::kRegisterWifiCfg, {}, kWifiFailures,
                    [&](const protocol::StatusReply& reply) {
                        lock.unlock();
                        if (reply.status == kWifiSuccess) {
                            IPCMessageSender::GetInstance().RegisterWifiCfgCallback(cb);
                        }
                        return WifiStatusOf(reply);
                    });
}

WifiErrorCode Vod2dApi::Vod2dGetIfaceCoexistCap(char* ifaceCoexCap, int32_t* validLen)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dGetIfaceCoexistCap";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    if (ifaceCoexCap == nullptr) {
        return RefuseNull(kFunction, "ifaceCoexCap is nullptr, return");
    }
    if (validLen == nullptr) {
        return RefuseNull(kFunction, "validLen is nullptr, return");
    }
    return Exchange(kFunction, protocol::kGetIfaceCoexistCap, {}, kWifiFailures,
                    [&](const protocol::IfaceCoexistCapReply& reply) {
                        return HandOver(kFunction, reply.capability, reply.length, reply.status,
                                        ifaceCoexCap, *validLen);
                    });
}

WifiErrorCode Vod2dApi::Vod2dGetRecommendChannel(const RecommendChannelRequest* req, int32_t count,
                                                 RecommendChannelResponse* resp)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dGetRecommendChannel";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    if (req == nullptr) {
        return RefuseNull(kFunction, "request is nullptr, return");
    }
    if (resp == nullptr) {
        return RefuseNull(kFunction, "resp is nullptr, return");
    }
    if (count < 0) {
        return RefuseWifi(kLogFailure, kFunction, "count is invalid");
    }
    if (SizeOf(count) > protocol::ChannelWish::kMostWishes) {
        return CopyFailed(kFunction);
    }
    const std::span wishes(reinterpret_cast<const std::uint8_t*>(req),
                           SizeOf(count) * sizeof(protocol::ChannelWish));
    const auto timedOut = [] {
        VoviewDataReport::ReportApplicationInterface(kRecommendChannelError);
    };
    return Exchange(kFunction, protocol::kGetRecommendChannel, wishes,
                    kWifiFailures.OnNoReply(timedOut),
                    [&](const protocol::RecommendChannelReply& reply) {
                        *resp = std::bit_cast<RecommendChannelResponse>(reply.response);
                        return static_cast<WifiErrorCode>(reply.status);
                    });
}

WifiErrorCode Vod2dApi::Vod2dSetWifiCardStateNotify(WifiCardStateInfo* info, int32_t* curState,
                                                    WifiCardStateCallback* cb)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dSetWifiCardStateNotify";
    LogStart(kFunction);
    auto lock = LockVod2dApi();
    if (curState == nullptr) {
        return RefuseNull(kFunction, "curState is nullptr, return");
    }
    if (cb == nullptr) {
        return RefuseNull(kFunction, "callback is nullptr, return");
    }
    if (info == nullptr) {
        return RefuseNull(kFunction, "info is nullptr, return");
    }
    const protocol::CardState request{info->card, info->state};
    return Exchange(kFunction, protocol::kSetWifiCardStateNotify, request, kWifiFailures,
                    [&](const protocol::CardStateReply& reply) {
                        if (reply.status != kWifiSuccess) {
                            return static_cast<WifiErrorCode>(reply.status);
                        }
                        lock.unlock();
                        IPCMessageSender::GetInstance().RegisterWifiCardStateCallback(cb, request);
                        // There is room for one entry, and only after the table is kept is that
                        // looked at.
                        const std::size_t size = SizeOf(reply.count) * sizeof *info;
                        if (memcpy_s(info, sizeof *info, reply.entries, size) != 0) {
                            return CopyFailed(kFunction);
                        }
                        *curState = reply.count;
                        return kWifiSuccess;
                    });
}

int32_t Vod2dApi::Vod2dSetConnNotify(Vod2dConnNotifyRequest* req, Vod2dWifiCfgCallback* cb)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dSetConnNotify";
    LogStart(kFunction);
    auto lock = LockVod2dApi();
    if (req == nullptr) {
        return RefuseNull(kFunction, "request is nullptr, return");
    }
    if (cb == nullptr) {
        return RefuseNull(kFunction, "callback is nullptr, return");
    }
    const auto request = std::bit_cast<protocol::ConnNotifyRequest>(*req);
    return Exchange(kFunction, protocol::kSetConnNotify, request, kWifiFailures,
                    [&](const protocol::StatusReply& reply) {
                        lock.unlock();
                        if (reply.status == kWifiSuccess) {
                            IPCMessageSender::GetInstance().RegisterConnNotifyCallback(cb, request);
                        }
                        return WifiStatusOf(reply);
                    });
}

WifiErrorCode Vod2dApi::Vod2dSetUpperScene(char* ifName, int32_t len, Vod2dUpperScene scene)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dSetUpperScene";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    if (ifName == nullptr) {
        return RefuseNull(kFunction, "ifName is nullptr, return");
    }
    if (len < 0) {
        return RefuseWifi(kLogFailure, kFunction, "ifName len is invalid");
    }
    protocol::UpperSceneRequest request{};
    // Up to its NUL, which a wrong length may lie behind.
    std::copy_n(ifName, strnlen(ifName, std::min(SizeOf(len), sizeof request.ifName - 1)),
                request.ifName);
    request.ifNameLength = len;
    std::copy(std::begin(scene.data), std::end(scene.data), request.data);
    request.scene = scene.scene;
    return Exchange(kFunction, protocol::kSetUpperScene, request, kWifiFailures, WifiStatusOf);
}

WifiErrorCode Vod2dApi::GetGuidByInterfaceName(const char* ifName, int32_t len, int32_t guidLen,
                                               char* guid)
{
    constexpr auto kFunction = "Vod2dApi::GetGuidByInterfaceName";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    if (ifName == nullptr) {
        return RefuseNull(kFunction, "ifName is nullptr, return");
    }
    if (guid == nullptr) {
        return RefuseNull(kFunction, "guid is nullptr, return");
    }
    if (len < 0 || len > kLongestName || guidLen < 0) {
        return RefuseWifi(kLogFailure, kFunction, "len is invalid");
    }
    return Exchange(kFunction, protocol::kGetGuidByInterfaceName, std::string(ifName, SizeOf(len)),
                    kWifiFailures, [&](const protocol::InterfaceGuidReply& reply) {
                        if (memcpy_s(guid, SizeOf(guidLen), reply.guid, sizeof reply.guid) != 0) {
                            return CopyFailed(kFunction);
                        }
                        return static_cast<WifiErrorCode>(reply.status);
                    });
}
