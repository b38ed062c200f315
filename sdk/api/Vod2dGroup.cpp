#include <IPCMessage/ServicePresence.h>
#include <PelaconSDK/Vod2dApi.h>
#include <karvell_secure_c/securec.h>
#include <protocol/Vod2dGroup.h>
#include <sdk/api/WifiFailures.h>
#include <sdk/diag/Log.h>
#include <sdk/diag/TraverseProcesses.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/Exchange.h>

#include <algorithm>

using namespace pelacon;  // NOLINT(google-build-using-namespace)
using diag::Log;
using diag::LogStart;

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
        return RefuseWifi(kLogFailure, "Vod2dSoftAPInfoCopy", why, kWifiCopyFailed);
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
        // The text is the one before's; that is how it is known.
        result = CopyField("mac memcpy_s failed!", to.ipAddress, from.ipAddress);
    }
    return result;
}

/// What becomes of a reply that describes a group.
auto FillInfo(Vod2dSoftAPInfo& info)
{
    return [&info](const protocol::GroupInfoReply& reply) {
        const WifiErrorCode copied = Vod2dSoftAPInfoCopy(reply.info, info);
        return copied != kWifiSuccess ? copied : static_cast<WifiErrorCode>(reply.status);
    };
}

}  // namespace

WifiErrorCode Vod2dApi::Vod2dCreateGroup(Vod2dSoftAPInfo* info)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dCreateGroup";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    if (info == nullptr) {
        return RefuseWifi(kLogIncomplete, kFunction, "apInfo is nullptr, return");
    }
    const ipc::ServicePresence::Watch service;
    const auto timedOut = [&] {
        VoviewDataReport::ReportApplicationInterface(kCreateGroupError);
        IPCMessageSender::GetInstance().SetCreateGroupTimeOut(service.CanHaveReached());
        Log(kLogTrace, kFunction, "Vod2dCreateGroup timeout");
        TryTraverseProcesses(kFunction);
    };
    protocol::CreateGroupRequest request{};
    request.info.channel = info->channel;
    return Exchange(kFunction, protocol::kCreateGroup, request, kWifiFailures.OnNoReply(timedOut),
                    FillInfo(*info));
}

WifiErrorCode Vod2dApi::Vod2dRemoveGroup()
{
    constexpr auto kFunction = "Vod2dApi::Vod2dRemoveGroup";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    const auto timedOut = [&] {
        VoviewDataReport::ReportApplicationInterface(kRemoveGroupError);
        Log(kLogTrace, kFunction, "Vod2dRemoveGroup timeout");
        TryTraverseProcesses(kFunction);
    };
    return Exchange(kFunction, protocol::kRemoveGroup, {}, kWifiFailures.OnNoReply(timedOut),
                    WifiStatusOf);
}

WifiErrorCode Vod2dApi::Vod2dGetGroupConfig(Vod2dSoftAPInfo* info)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dGetGroupConfig";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    if (info == nullptr) {
        return RefuseWifi(kLogIncomplete, kFunction, "apInfo is nullptr, return");
    }
    return Exchange(kFunction, protocol::kGetGroupConfig, {}, kWifiFailures, FillInfo(*info));
}

WifiErrorCode Vod2dApi::Vod2dGetGroupInfoConnected(Vod2dLinkGroup* group)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dGetGroupInfoConnected";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    if (group == nullptr) {
        return RefuseWifi(kLogIncomplete, kFunction, "group is nullptr, return");
    }
    return Exchange(kFunction, protocol::kGetGroupInfoConnected, {}, kWifiFailures,
                    [&](const protocol::LinkGroupReply& reply) {
                        *group = {reply.groupState, reply.stationCount};
                        return static_cast<WifiErrorCode>(reply.status);
                    });
}

WifiErrorCode Vod2dApi::Vod2dIsWifiActive(bool* active)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dIsWifiActive";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    if (active == nullptr) {
        return RefuseWifi(kLogIncomplete, kFunction, "active is nullptr, return");
    }
    return Exchange(kFunction, protocol::kIsWifiActive, {}, kWifiFailures,
                    [&](const protocol::WifiActiveReply& reply) {
                        *active = reply.active != 0;
                        return static_cast<WifiErrorCode>(reply.status);
                    });
}

int32_t Vod2dApi::Vod2dGetFrequency()
{
    constexpr auto kFunction = "Vod2dApi::Vod2dGetFrequency";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    return Exchange(kFunction, protocol::kGetFrequency, {},
                    Failures<int32_t>{kWifiFailed, kWifiNoReply},
                    [](const protocol::Int32Record& reply) { return reply.value; });
}

WifiErrorCode Vod2dApi::Vod2dGetChannelListFor5G(int32_t* chanList, int32_t len)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dGetChannelListFor5G";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    if (chanList == nullptr) {
        return RefuseWifi(kLogIncomplete, kFunction, "chanList is nullptr, return");
    }
    if (len < 0) {
        return RefuseWifi(kLogFailure, kFunction, "chanList len is invalid");
    }
    // Capacity of the copy in bytes is the count of elements, and the text is another field's;
    // applications know it so.
    const auto capacity = static_cast<std::size_t>(len);
    return Exchange(kFunction, protocol::kGetChannelListFor5G, {}, kWifiFailures,
                    [&](const protocol::ChannelListReply& reply) {
                        std::fill_n(chanList, capacity, 0);
                        const std::size_t size =
                            reply.byteCount > capacity
                                ? reply.byteCount
                                : std::min<std::size_t>(reply.byteCount, sizeof reply.channels);
                        if (memcpy_s(chanList, capacity, reply.channels, size) != 0) {
                            return RefuseWifi(kLogFailure, kFunction, "ssid memcpy_s failed!",
                                              kWifiCopyFailed);
                        }
                        return static_cast<WifiErrorCode>(reply.status);
                    });
}

WifiErrorCode Vod2dApi::Vod2dGetBaseMacAddress(char* mac, int32_t len)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dGetBaseMacAddress";
    LogStart(kFunction);
    const auto lock = LockVod2dApi();
    if (mac == nullptr) {
        return RefuseWifi(kLogIncomplete, kFunction, "macAddr is nullptr, return");
    }
    if (len < static_cast<int32_t>(sizeof protocol::BaseMacReply::mac)) {
        return RefuseWifi(kLogFailure, kFunction, "mac len is invalid");
    }
    return Exchange(
        kFunction, protocol::kGetBaseMacAddress, {}, kWifiFailures,
        [&](const protocol::BaseMacReply& reply) {
            if (memcpy_s(mac, static_cast<std::size_t>(len), reply.mac, sizeof reply.mac) != 0) {
                return RefuseWifi(kLogFailure, kFunction, "mac memcpy_s failed!", kWifiCopyFailed);
            }
            return static_cast<WifiErrorCode>(reply.status);
        });
}

WifiErrorCode Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(Vod2dWifiBroadcastRecvCb* cb)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback";
    LogStart(kFunction);
    auto lock = LockVod2dApi();
    return Exchange(kFunction, protocol::kRegisterSoftApStateChanged, {}, kWifiFailures,
                    [&](const protocol::StatusReply& reply) {
                        lock.unlock();
                        if (reply.status == kWifiSuccess) {
                            IPCMessageSender::GetInstance().AddSoftAPStateChanged(cb);
                        }
                        return WifiStatusOf(reply);
                    });
}

WifiErrorCode Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(Vod2dWifiBroadcastRecvCb* cb)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback";
    LogStart(kFunction);
    auto lock = LockVod2dApi();
    return Exchange(kFunction, protocol::kUnRegisterSoftApStateChanged, {}, kWifiFailures,
                    [&](const protocol::StatusReply& reply) {
                        lock.unlock();
                        if (reply.status == kWifiSuccess) {
                            IPCMessageSender::GetInstance().RemoveSoftAPStateChanged(cb);
                        }
                        return WifiStatusOf(reply);
                    });
}
