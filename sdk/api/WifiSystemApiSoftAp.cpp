// The soft AP.
#include <PelaconSDK/WifiSystemApi.h>
#include <karvell_secure_c/securec.h>
#include <protocol/SoftAp.h>
#include <sdk/api/WifiRequest.h>
#include <sdk/diag/Log.h>
#include <sdk/diag/TraverseProcesses.h>
#include <sdk/diag/VoviewDataReport.h>

#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <string>

using namespace pelacon;  // NOLINT(google-build-using-namespace)
using diag::Log;
using diag::LogStart;

namespace {

/// Error codes of the application-interface event.
constexpr std::int32_t kCreateTimedOut = 6;
constexpr std::int32_t kDestroyTimedOut = 7;

constexpr std::int32_t kMacNotCopied = -93;

/// What is done about a creation or destruction that got no answer.
void ReportTimeout(const char* function, std::int32_t eventCode, const char* text)
{
    VoviewDataReport::ReportApplicationInterface(eventCode);
    Log(kLogTrace, function, text);
    TryTraverseProcesses(function);
}

/// What a creation was answered. The last field overwrites what became of the copy.
void Fill(SoftAPInfo& info, const protocol::SoftApInfoMessage& reply, const char* function)
{
    info.apByte1 = reply.apByte1;
    if (memcpy_s(info.mac, sizeof info.mac, reply.mac, sizeof reply.mac) != 0) {
        Log(kLogFailure, function, "GetMacAddress memcpy_s failed!");
        info.errorCode = kMacNotCopied;
    }
    info.ipAddress = FixedText(reply.ipAddress);
    info.ssid = FixedText(reply.ssid);
    info.password = FixedText(reply.password);
    info.apByte2 = reply.apByte2;
    info.errorCode = reply.errorCode;
}

/// Each with a comma behind it, the last one too.
std::string Joined(const std::list<std::string>& texts)
{
    std::string joined;
    for (const std::string& text : texts) {
        joined += text;
        joined += ',';
    }
    return joined;
}

}  // namespace

int WifiSystemApi::SystemCreateSoftAP(SoftAPInfo& info)
{
    constexpr auto kFunction = "WifiSystemApi::SystemCreateSoftAP";
    LogStart(kFunction);
    const auto lock = LockSoftApMutex();
    protocol::SoftApInfoMessage request{};
    request.requestByte = info.requestByte;
    request.requestInt = info.requestInt;
    return Exchange(kFunction, protocol::kSystemCreateSoftAP, request,
                    Unanswered(-1).OnNoReply([&] {
                        ReportTimeout(kFunction, kCreateTimedOut, "SystemCreateSoftAP timeout");
                    }),
                    [&](const protocol::SoftApInfoMessage& reply) {
                        Fill(info, reply, kFunction);
                        return info.errorCode;
                    });
}

int WifiSystemApi::SystemDestroySoftAP(EGoPurpose purpose)
{
    constexpr auto kFunction = "WifiSystemApi::SystemDestroySoftAP";
    LogStart(kFunction);
    const auto lock = LockSoftApMutex();
    return Exchange(kFunction, protocol::kSystemDestroySoftAP, {purpose},
                    Unanswered(-1).OnNoReply([&] {
                        ReportTimeout(kFunction, kDestroyTimedOut, "SystemDestroySoftAP timeout");
                    }),
                    ValueOf<int>{});
}

unsigned char WifiSystemApi::SystemRefreshSoftAPChannel()
{
    return AskSerialised<unsigned char>("WifiSystemApi::SystemRefreshSoftAPChannel",
                                        protocol::kSystemRefreshSoftAPChannel, {}, 0);
}

unsigned char WifiSystemApi::GetSoftAPChannel()
{
    return Ask<unsigned char>("WifiSystemApi::GetSoftAPChannel", protocol::kGetSoftAPChannel, {},
                              0);
}

bool WifiSystemApi::CheckMySoftAPExist()
{
    return AskSerialised("WifiSystemApi::CheckMySoftAPExist", protocol::kCheckMySoftAPExist, {},
                         false);
}

std::string WifiSystemApi::GetSSID()
{
    return AskSerialised<std::string>("WifiSystemApi::GetSSID", protocol::kGetSSID, {}, {});
}

void WifiSystemApi::ChangeSSIDAndPasswd()
{
    constexpr auto kFunction = "WifiSystemApi::ChangeSSIDAndPasswd";
    LogStart(kFunction);
    const auto lock = LockSoftApMutex();
    Exchange(kFunction, protocol::kChangeSSIDAndPasswd, {}, kUnacknowledged, Acknowledge{});
}

int WifiSystemApi::GetSoftApError()
{
    return AskSerialised("WifiSystemApi::GetSoftApError", protocol::kGetSoftApError, {}, -1);
}

std::string WifiSystemApi::GetLegacyAPIP()
{
    return Ask<std::string>("WifiSystemApi::GetLegacyAPIP", protocol::kGetLegacyAPIP, {}, {});
}

bool WifiSystemApi::IsAPConnected(int& channel, std::string& ssid)
{
    constexpr auto kFunction = "WifiSystemApi::IsAPConnected";
    LogStart(kFunction);
    const auto lock = LockSoftApMutex();
    return Exchange(kFunction, protocol::kIsAPConnected, {}, Unanswered(false),
                    [&](const protocol::ApConnectedReply& reply) {
                        channel = reply.value;
                        ssid = FixedText(reply.text);
                        return reply.connected != 0;
                    });
}

bool WifiSystemApi::SetPairDeviceModelName(
    std::string name)  // NOLINT(performance-unnecessary-value-param): as the contract has it
{
    return Ask("WifiSystemApi::SetPairDeviceModelName", protocol::kSetPairDeviceModelName, name,
               false);
}

bool WifiSystemApi::GetPairDeviceModelName(std::string& name)
{
    constexpr auto kFunction = "WifiSystemApi::GetPairDeviceModelName";
    LogStart(kFunction);
    return Exchange(kFunction, protocol::kGetPairDeviceModelName, {}, Unanswered(false),
                    [&](const protocol::ModelNameReply& reply) {
                        name = FixedText(reply.name);
                        return reply.result != 0;
                    });
}

bool WifiSystemApi::SetListProductType(
    std::list<std::string> types)  // NOLINT(performance-unnecessary-value-param): likewise
{
    constexpr auto kFunction = "WifiSystemApi::SetListProductType";
    LogStart(kFunction);
    const std::string joined = Joined(types);
    const std::size_t size = joined.size() + 1;
    const std::unique_ptr<std::uint8_t[]> buffer(new (std::nothrow) std::uint8_t[size]);
    if (!buffer) {
        Log(kLogFailure, kFunction, "malloc failed");
        return false;
    }
    if (memcpy_s(buffer.get(), size, joined.c_str(), size) != 0) {
        Log(kLogFailure, kFunction, "memcpy_s failed!");
        return false;
    }
    return Exchange(kFunction, protocol::kSetListProductType, std::span(buffer.get(), size),
                    Unanswered(false), ValueOf<bool>{});
}

bool WifiSystemApi::GetRestartMobileHotpotFlag()
{
    return Ask("WifiSystemApi::GetRestartMobileHotpotFlag", protocol::kGetRestartMobileHotpotFlag,
               {}, false);
}

void WifiSystemApi::SetRestartMobileHotpotFlag(bool flag)
{
    Tell("WifiSystemApi::SetRestartMobileHotpotFlag", protocol::kSetRestartMobileHotpotFlag,
         {flag});
}

bool WifiSystemApi::RestartWiFiDirectVirtualAdapter(bool afterWakeUp)
{
    return Ask("WifiSystemApi::RestartWiFiDirectVirtualAdapter",
               protocol::kRestartWiFiDirectVirtualAdapter, {afterWakeUp}, false);
}

unsigned int WifiSystemApi::GetRestartCount()
{
    return Ask("WifiSystemApi::GetRestartCount", protocol::kGetRestartCount, {}, 0U);
}

unsigned int WifiSystemApi::GetWakeUpRestartCount()
{
    return Ask("WifiSystemApi::GetWakeUpRestartCount", protocol::kGetWakeUpRestartCount, {}, 0U);
}

void WifiSystemApi::ResetWakeUpCount()
{
    Tell("WifiSystemApi::ResetWakeUpCount", protocol::kResetWakeUpCount, {});
}

unsigned long WifiSystemApi::GetAdapterIndex()
{
    // Unsigned before it is widened: the index has 32 bits, whatever a long has.
    return Ask("WifiSystemApi::GetAdapterIndex", protocol::kGetAdapterIndex, {}, 0U);
}

std::string WifiSystemApi::GetAdapterGuid()
{
    return Ask<std::string>("WifiSystemApi::GetAdapterGuid", protocol::kGetAdapterGuid, {}, {});
}

void WifiSystemApi::RegistSoftApConnectStatus(ISoftApConnectStatus* listener)
{
    constexpr auto kFunction = "WifiSystemApi::RegistSoftApConnectStatus";
    LogStart(kFunction);
    if (listener == nullptr) {
        Log(kLogIncomplete, kFunction, "callback is nullptr, return");
        return;
    }
    auto lock = LockSoftApMutex();
    const auto keep = [&] {
        lock.unlock();
        IPCMessageSender::GetInstance().SetSoftApConnectStatus(listener);
    };
    Exchange(kFunction, protocol::kRegistSoftApConnectStatus, {}, kUnacknowledged.OnNoReply(keep),
             [&](const std::uint8_t* reply) {
                 keep();
                 return Acknowledge{}(reply);
             });
}

int WifiSystemApi::RegisterSoftApNotificationEventCallback(ISoftAPNotification* listener)
{
    constexpr auto kFunction = "WifiSystemApi::RegisterSoftApNotificationEventCallback";
    LogStart(kFunction);
    return Exchange(kFunction, protocol::kRegisterSoftApNotification, {}, Unanswered(-1),
                    [&](const protocol::StatusReply& reply) {
                        if (reply.status == kSoftApSuccess) {
                            IPCMessageSender::GetInstance().AddSoftApNotificationCallback(listener);
                        }
                        return reply.status;
                    });
}

int WifiSystemApi::UnRegisterSoftApNotificationEventCallback(ISoftAPNotification* listener)
{
    constexpr auto kFunction = "WifiSystemApi::UnRegisterSoftApNotificationEventCallback";
    LogStart(kFunction);
    return Exchange(
        kFunction, protocol::kUnRegisterSoftApNotification, {}, Unanswered(-1),
        [&](const protocol::StatusReply& reply) {
            if (reply.status == kSoftApSuccess) {
                IPCMessageSender::GetInstance().RemoveSoftApNotificationCallback(listener);
            }
            return reply.status;
        });
}
