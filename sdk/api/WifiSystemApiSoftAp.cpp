// The soft AP.
#include <PelaconSDK/WifiSystemApi.h>
#include <karvell_secure_c/securec.h>
#include <protocol/SoftAp.h>
#include <sdk/api/BothForms.h>
#include <sdk/api/WifiCall.h>
#include <sdk/diag/TraverseProcesses.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/SoftApListeners.h>

#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <string>

using namespace pelacon;

namespace {

/// Error codes of the application-interface event.
constexpr std::int32_t kCreateTimedOut = 6;
constexpr std::int32_t kDestroyTimedOut = 7;

constexpr std::int32_t kMacNotCopied = -93;

/// A request that waits for the radio: a missing answer is reported.
class RadioCall : public SerialisedCall<int> {
  public:
    RadioCall(const char* function, std::int32_t eventCode, const char* text)
        : SerialisedCall(function, -1)
    {
        WhenNoReply([this, eventCode, text] {
            VoviewDataReport::ReportApplicationInterface(eventCode);
            Log(kLogTrace, text);
            TryTraverseProcesses(Function());
        });
    }
};

/// Copies the answer to a creation. The last field overwrites the error code of a failed copy.
void Fill(SoftAPInfo& info, const protocol::SoftApInfoMessage& reply, const RadioCall& call)
{
    info.apByte1 = reply.apByte1;
    if (memcpy_s(info.mac, sizeof info.mac, reply.mac, sizeof reply.mac) != 0) {
        call.Log(kLogFailure, "GetMacAddress memcpy_s failed!");
        info.errorCode = kMacNotCopied;
    }
    info.ipAddress = protocol::TextIn(reply.ipAddress);
    info.ssid = protocol::TextIn(reply.ssid);
    info.password = protocol::TextIn(reply.password);
    info.apByte2 = reply.apByte2;
    info.errorCode = reply.errorCode;
}

/// Each with a comma after it, including the last one.
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

int pelacon::CreateSoftAp(SoftAPInfo& info, bool& answered)
{
    RadioCall call("WifiSystemApi::SystemCreateSoftAP", kCreateTimedOut,
                   "SystemCreateSoftAP timeout");
    protocol::SoftApInfoMessage request{};
    request.requestByte = info.requestByte;
    request.requestInt = info.requestInt;
    return call.Send(protocol::kSystemCreateSoftAP, request,
                     [&](const protocol::SoftApInfoMessage& reply) {
                         answered = true;
                         Fill(info, reply, call);
                         return info.errorCode;
                     });
}

int WifiSystemApi::SystemCreateSoftAP(SoftAPInfo& info)
{
    bool answered = false;
    return CreateSoftAp(info, answered);
}

int WifiSystemApi::SystemDestroySoftAP(EGoPurpose purpose)
{
    return RadioCall("WifiSystemApi::SystemDestroySoftAP", kDestroyTimedOut,
                     "SystemDestroySoftAP timeout")
        .Send(protocol::kSystemDestroySoftAP, {purpose});
}

unsigned char WifiSystemApi::SystemRefreshSoftAPChannel()
{
    return SerialisedCall<unsigned char>("WifiSystemApi::SystemRefreshSoftAPChannel", 0)
        .Send(protocol::kSystemRefreshSoftAPChannel, {});
}

unsigned char WifiSystemApi::GetSoftAPChannel()
{
    return WifiCall<unsigned char>("WifiSystemApi::GetSoftAPChannel", 0)
        .Send(protocol::kGetSoftAPChannel, {});
}

bool WifiSystemApi::CheckMySoftAPExist()
{
    return SerialisedCall("WifiSystemApi::CheckMySoftAPExist", false)
        .Send(protocol::kCheckMySoftAPExist, {});
}

std::string WifiSystemApi::GetSSID()
{
    return SerialisedCall<std::string>("WifiSystemApi::GetSSID").Send(protocol::kGetSSID, {});
}

void WifiSystemApi::ChangeSSIDAndPasswd()
{
    SerialisedCall("WifiSystemApi::ChangeSSIDAndPasswd").Send(protocol::kChangeSSIDAndPasswd, {});
}

int WifiSystemApi::GetSoftApError()
{
    return SerialisedCall("WifiSystemApi::GetSoftApError", -1).Send(protocol::kGetSoftApError, {});
}

std::string WifiSystemApi::GetLegacyAPIP()
{
    return WifiCall<std::string>("WifiSystemApi::GetLegacyAPIP").Send(protocol::kGetLegacyAPIP, {});
}

bool WifiSystemApi::IsAPConnected(int& channel, std::string& ssid)
{
    return SerialisedCall("WifiSystemApi::IsAPConnected", false)
        .Send(protocol::kIsAPConnected, {}, [&](const protocol::ApConnectedReply& reply) {
            channel = reply.value;
            ssid = protocol::TextIn(reply.text);
            return reply.connected != 0;
        });
}

bool WifiSystemApi::SetPairDeviceModelName(
    std::string name)  // NOLINT(performance-unnecessary-value-param): as the contract has it
{
    return WifiCall("WifiSystemApi::SetPairDeviceModelName", false)
        .Send(protocol::kSetPairDeviceModelName, name);
}

bool WifiSystemApi::GetPairDeviceModelName(std::string& name)
{
    return WifiCall("WifiSystemApi::GetPairDeviceModelName", false)
        .Send(protocol::kGetPairDeviceModelName, {}, [&](const protocol::ModelNameReply& reply) {
            name = protocol::TextIn(reply.name);
            return reply.result != 0;
        });
}

bool WifiSystemApi::SetListProductType(
    std::list<std::string> types)  // NOLINT(performance-unnecessary-value-param): likewise
{
    WifiCall call("WifiSystemApi::SetListProductType", false);
    const std::string joined = Joined(types);
    const std::size_t size = joined.size() + 1;
    const std::unique_ptr<std::uint8_t[]> buffer(new (std::nothrow) std::uint8_t[size]);
    if (!buffer) {
        return call.Refuse(kLogFailure, "malloc failed");
    }
    if (memcpy_s(buffer.get(), size, joined.c_str(), size) != 0) {
        return call.Refuse(kLogFailure, "memcpy_s failed!");
    }
    return call.Send(protocol::kSetListProductType, std::span(buffer.get(), size));
}

bool WifiSystemApi::GetRestartMobileHotpotFlag()
{
    return WifiCall("WifiSystemApi::GetRestartMobileHotpotFlag", false)
        .Send(protocol::kGetRestartMobileHotpotFlag, {});
}

void WifiSystemApi::SetRestartMobileHotpotFlag(bool flag)
{
    WifiCall("WifiSystemApi::SetRestartMobileHotpotFlag")
        .Send(protocol::kSetRestartMobileHotpotFlag, {flag});
}

bool WifiSystemApi::RestartWiFiDirectVirtualAdapter(bool afterWakeUp)
{
    return WifiCall("WifiSystemApi::RestartWiFiDirectVirtualAdapter", false)
        .Send(protocol::kRestartWiFiDirectVirtualAdapter, {afterWakeUp});
}

unsigned int WifiSystemApi::GetRestartCount()
{
    return WifiCall("WifiSystemApi::GetRestartCount", 0U).Send(protocol::kGetRestartCount, {});
}

unsigned int WifiSystemApi::GetWakeUpRestartCount()
{
    return WifiCall("WifiSystemApi::GetWakeUpRestartCount", 0U)
        .Send(protocol::kGetWakeUpRestartCount, {});
}

void WifiSystemApi::ResetWakeUpCount()
{
    WifiCall("WifiSystemApi::ResetWakeUpCount").Send(protocol::kResetWakeUpCount, {});
}

unsigned long WifiSystemApi::GetAdapterIndex()
{
    // Unsigned before it is widened: the index has 32 bits, whatever a long has.
    return WifiCall("WifiSystemApi::GetAdapterIndex", 0U).Send(protocol::kGetAdapterIndex, {});
}

std::string WifiSystemApi::GetAdapterGuid()
{
    return WifiCall<std::string>("WifiSystemApi::GetAdapterGuid")
        .Send(protocol::kGetAdapterGuid, {});
}

void WifiSystemApi::RegistSoftApConnectStatus(ISoftApConnectStatus* listener)
{
    SerialisedCall call("WifiSystemApi::RegistSoftApConnectStatus");
    if (listener == nullptr) {
        call.Log(kLogIncomplete, "callback is nullptr, return");
        return;
    }
    const auto keep = [&] {
        call.Unlock();
        Registry<SoftApListeners>().SetSoftApConnectStatus(listener);
    };
    call.WhenNoReply(keep);
    call.Send(protocol::kRegistSoftApConnectStatus, {}, [&](protocol::ByteView /*reply*/) {
        keep();
        return protocol::Nothing{};
    });
}

int WifiSystemApi::RegisterSoftApNotificationEventCallback(ISoftAPNotification* listener)
{
    WifiCall call("WifiSystemApi::RegisterSoftApNotificationEventCallback", -1);
    return call.Send(protocol::kRegisterSoftApNotification, {}, call.Then([&](const auto&) {
        Registry<SoftApListeners>().AddSoftApNotificationCallback(listener);
    }));
}

int WifiSystemApi::UnRegisterSoftApNotificationEventCallback(ISoftAPNotification* listener)
{
    WifiCall call("WifiSystemApi::UnRegisterSoftApNotificationEventCallback", -1);
    return call.Send(protocol::kUnRegisterSoftApNotification, {}, call.Then([&](const auto&) {
        Registry<SoftApListeners>().RemoveSoftApNotificationCallback(listener);
    }));
}
