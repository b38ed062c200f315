// The Wi-Fi switch, and the channel of the Wi-Fi connection.
#include <PelaconSDK/WifiSystemApi.h>
#include <protocol/WifiState.h>
#include <sdk/api/WifiRequest.h>
#include <sdk/diag/Log.h>

#include <string>

using namespace pelacon;  // NOLINT(google-build-using-namespace)
using diag::Log;
using diag::LogStart;

namespace {

/// A request about the switch has lines of its own: around itself, the second one in place of
/// "end", and for one that is not sent or not answered.
template <typename Request, typename Reply, typename Result, typename OnReply>
Result AskAboutSwitch(const char* function, const protocol::Operation<Request, Reply>& operation,
                      const Request& request, Result unanswered, OnReply onReply)
{
    LogStart(function);
    Log(kLogTrace, function, "PelaconSDK Send IPC Message: ", operation.name);
    const auto logTimeout = [&] {
        Log(kLogFailure, function, "IPC Message timeout:", operation.timeout.count());
    };
    const auto complete = std::string("PelaconSDK Send IPC Message complete: ") + operation.name;
    return Exchange(function, operation, request,
                    Unanswered(unanswered).OnNotSent(logTimeout).OnNoReply(logTimeout), onReply,
                    complete);
}

}  // namespace

SystemApiEnableWifiResult WifiSystemApi::EnableWifi(bool enable)
{
    return AskAboutSwitch("WifiSystemApi::EnableWifi", protocol::kEnableWifi, {enable},
                          kEnableWifiNoAnswer, ValueOf<SystemApiEnableWifiResult>{});
}

SystemApiWifiState WifiSystemApi::GetWifiState()
{
    return AskAboutSwitch("WifiSystemApi::GetWifiState", protocol::kGetWifiState, {},
                          kWifiStateUnknown, ValueOf<SystemApiWifiState>{});
}

bool WifiSystemApi::RegistWifiStateChangeCallback(IWifiStateChangeNotification* observer)
{
    return AskAboutSwitch(
        "WifiSystemApi::RegistWifiStateChangeCallback", protocol::kRegistWifiStateChangeCallback,
        {}, false, [&](const protocol::ByteReply& reply) {
            if (reply.value != 0) {
                IPCMessageSender::GetInstance().AddWifiStateChangeCallback(observer);
            }
            return reply.value != 0;
        });
}

bool WifiSystemApi::UnRegistWifiStateChangeCallback(IWifiStateChangeNotification* observer)
{
    return AskAboutSwitch(
        "WifiSystemApi::UnRegistWifiStateChangeCallback",
        protocol::kUnRegistWifiStateChangeCallback, {}, false,
        [&](const protocol::ByteReply& reply) {
            if (reply.value != 0) {
                IPCMessageSender::GetInstance().RemoveWifiStateChangeCallback(observer);
            }
            return reply.value != 0;
        });
}

void WifiSystemApi::RegistWifiStateChangeCallBack(WifiRealMonitorStateCallBack* callback)
{
    constexpr auto kFunction = "WifiSystemApi::RegistWifiStateChangeCallBack";
    LogStart(kFunction);
    if (callback == nullptr) {
        Log(kLogIncomplete, kFunction, "cb is null");
        return;
    }
    auto lock = LockSoftApMutex();
    Exchange(kFunction, protocol::kRegistWifiStateChangeCallBack, {}, kUnacknowledged,
             [&](const protocol::ByteReply& reply) {
                 lock.unlock();
                 if (reply.value != 0) {
                     IPCMessageSender::GetInstance().AddWifiStateCallback(callback);
                 }
                 return protocol::Nothing{};
             });
}
