#include <IPCMessage/ServicePresence.h>
#include <PelaconSDK/Vod2dApi.h>
#include <karvell_secure_c/securec.h>
#include <protocol/Vod2dGroup.h>
#include <sdk/api/Vod2dCall.h>
#include <sdk/diag/TraverseProcesses.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/GroupCallbacks.h>

#include <algorithm>

using namespace pelacon;

// The application's record has unnamed padding, so it is not the one on the wire.
static_assert(sizeof(Vod2dSoftAPInfo) == sizeof(protocol::GroupInfo));
static_assert(offsetof(Vod2dSoftAPInfo, pwd) == offsetof(protocol::GroupInfo, pwd));
static_assert(offsetof(Vod2dSoftAPInfo, mac) == offsetof(protocol::GroupInfo, mac));
static_assert(offsetof(Vod2dSoftAPInfo, channel) == offsetof(protocol::GroupInfo, channel));
static_assert(offsetof(Vod2dSoftAPInfo, active) == offsetof(protocol::GroupInfo, active));
static_assert(offsetof(Vod2dSoftAPInfo, ipAddress) == offsetof(protocol::GroupInfo, ipAddress));
static_assert(offsetof(Vod2dSoftAPInfo, is5GHz) == offsetof(protocol::GroupInfo, is5GHz));

namespace {

/// Error codes of the diagnostic events.
constexpr std::int32_t kCreateGroupError = 1;
constexpr std::int32_t kRemoveGroupError = 2;

/// A bounded copy of a whole field. A failure is logged and is the result.
template <typename Field>
WifiErrorCode CopyField(const char* why, Field& to, const Field& from)
{
    if (memcpy_s(to, sizeof to, from, sizeof from) != 0) {
        diag::Log(kLogFailure, "Vod2dSoftAPInfoCopy", why);
        return kWifiCopyFailed;
    }
    return kWifiSuccess;
}

/// Fills the application's record, up to the first field that cannot be copied.
WifiErrorCode Vod2dSoftAPInfoCopy(const protocol::GroupInfo& from, Vod2dSoftAPInfo& to)
{
    to.channel = from.channel;
    to.active = from.active;
    to.is5GHz = from.is5GHz;
    std::copy(std::begin(from.ssid), std::end(from.ssid), to.ssid);
    WifiErrorCode result = CopyField("pwd memcpy_s failed!", to.pwd, from.pwd);
    if (result == kWifiSuccess) {
        result = CopyField("mac memcpy_s failed!", to.mac, from.mac);
    }
    if (result == kWifiSuccess) {
        // The text is that of the field before; people know it from logs.
        result = CopyField("mac memcpy_s failed!", to.ipAddress, from.ipAddress);
    }
    return result;
}

/// Fills the application's record with the group of a reply.
auto FillInfo(Vod2dSoftAPInfo& info)
{
    return [&info](const protocol::GroupInfoReply& reply) {
        const WifiErrorCode copied = Vod2dSoftAPInfoCopy(reply.info, info);
        return copied != kWifiSuccess ? copied : WifiStatusOf(reply);
    };
}

}  // namespace

WifiErrorCode Vod2dApi::Vod2dCreateGroup(Vod2dSoftAPInfo* info)
{
    Vod2dCall call("Vod2dApi::Vod2dCreateGroup");
    if (call.IsNull("apInfo", info)) {
        return kWifiFailed;
    }
    const ipc::ServicePresence::Watch service;
    call.WhenNoReply([&] {
        VoviewDataReport::ReportApplicationInterface(kCreateGroupError);
        Registry<GroupCallbacks>().SetCreateGroupTimeOut(
            service.CanHaveReached() ? &::Vod2dRemoveGroup : nullptr);
        call.Log(kLogTrace, "Vod2dCreateGroup timeout");
        TryTraverseProcesses(call.Function());
    });
    protocol::CreateGroupRequest request{};
    request.info.channel = info->channel;
    return call.Send(protocol::kCreateGroup, request, FillInfo(*info));
}

WifiErrorCode Vod2dApi::Vod2dRemoveGroup()
{
    Vod2dCall call("Vod2dApi::Vod2dRemoveGroup");
    call.WhenNoReply([&] {
        VoviewDataReport::ReportApplicationInterface(kRemoveGroupError);
        call.Log(kLogTrace, "Vod2dRemoveGroup timeout");
        TryTraverseProcesses(call.Function());
    });
    return call.Send(protocol::kRemoveGroup, {});
}

WifiErrorCode Vod2dApi::Vod2dGetGroupConfig(Vod2dSoftAPInfo* info)
{
    Vod2dCall call("Vod2dApi::Vod2dGetGroupConfig");
    if (call.IsNull("apInfo", info)) {
        return kWifiFailed;
    }
    return call.Send(protocol::kGetGroupConfig, {}, FillInfo(*info));
}

WifiErrorCode Vod2dApi::Vod2dGetGroupInfoConnected(Vod2dLinkGroup* group)
{
    Vod2dCall call("Vod2dApi::Vod2dGetGroupInfoConnected");
    if (call.IsNull("group", group)) {
        return kWifiFailed;
    }
    return call.Send(protocol::kGetGroupInfoConnected, {},
                     [&](const protocol::LinkGroupReply& reply) {
                         *group = reply.group;
                         return WifiStatusOf(reply);
                     });
}

WifiErrorCode Vod2dApi::Vod2dIsWifiActive(bool* active)
{
    Vod2dCall call("Vod2dApi::Vod2dIsWifiActive");
    if (call.IsNull("active", active)) {
        return kWifiFailed;
    }
    return call.Send(protocol::kIsWifiActive, {}, [&](const protocol::WifiActiveReply& reply) {
        *active = reply.active != 0;
        return WifiStatusOf(reply);
    });
}

int32_t Vod2dApi::Vod2dGetFrequency()
{
    return Call("Vod2dApi::Vod2dGetFrequency", int32_t{kWifiFailed}, int32_t{kWifiNoReply},
                &vod2dLock)
        .Send(protocol::kGetFrequency, {});
}

WifiErrorCode Vod2dApi::Vod2dGetChannelListFor5G(int32_t* chanList, int32_t len)
{
    Vod2dCall call("Vod2dApi::Vod2dGetChannelListFor5G");
    if (call.IsNull("chanList", chanList)) {
        return kWifiFailed;
    }
    if (len < 0) {
        return call.Refuse(kLogFailure, "chanList len is invalid");
    }
    // Capacity of the copy in bytes is the count of elements, and the text is another field's;
    // applications know it so.
    const auto capacity = static_cast<std::size_t>(len);
    return call.Send(
        protocol::kGetChannelListFor5G, {}, [&](const protocol::ChannelListReply& reply) {
            std::fill_n(chanList, capacity, 0);
            const std::size_t size =
                reply.byteCount > capacity
                    ? reply.byteCount
                    : std::min<std::size_t>(reply.byteCount, sizeof reply.channels);
            if (memcpy_s(chanList, capacity, reply.channels, size) != 0) {
                return call.Refuse(kLogFailure, "ssid memcpy_s failed!", kWifiCopyFailed);
            }
            return WifiStatusOf(reply);
        });
}

WifiErrorCode Vod2dApi::Vod2dGetBaseMacAddress(char* mac, int32_t len)
{
    Vod2dCall call("Vod2dApi::Vod2dGetBaseMacAddress");
    if (call.IsNull("macAddr", mac)) {
        return kWifiFailed;
    }
    if (len < static_cast<int32_t>(sizeof protocol::BaseMacReply::mac)) {
        return call.Refuse(kLogFailure, "mac len is invalid");
    }
    return call.Send(protocol::kGetBaseMacAddress, {}, [&](const protocol::BaseMacReply& reply) {
        if (memcpy_s(mac, static_cast<std::size_t>(len), reply.mac, sizeof reply.mac) != 0) {
            return call.Refuse(kLogFailure, "mac memcpy_s failed!", kWifiCopyFailed);
        }
        return WifiStatusOf(reply);
    });
}

WifiErrorCode Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(Vod2dWifiBroadcastRecvCb* cb)
{
    Vod2dCall call("Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback");
    return call.Send(protocol::kRegisterSoftApStateChanged, {}, call.Then([&](const auto&) {
        Registry<GroupCallbacks>().AddSoftAPStateChanged(cb);
    }));
}

WifiErrorCode Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(Vod2dWifiBroadcastRecvCb* cb)
{
    Vod2dCall call("Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback");
    return call.Send(protocol::kUnRegisterSoftApStateChanged, {}, call.Then([&](const auto&) {
        Registry<GroupCallbacks>().RemoveSoftAPStateChanged(cb);
    }));
}
