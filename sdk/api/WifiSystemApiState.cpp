// The Wi-Fi switch, and the channel of the Wi-Fi connection.
#include <PelaconSDK/WifiSystemApi.h>
#include <protocol/WifiState.h>
#include <sdk/api/WifiCall.h>
#include <sdk/ipc/WifiStateListeners.h>

#include <string>

using namespace pelacon;

namespace {

/// A request about the switch logs lines of its own: before and after it, and when it is not sent
/// or not answered.
template <typename Result, typename Request, typename Reply, typename... OnReply>
Result SendToSwitch(const char* function, Result unanswered,
                    const protocol::Operation<Request, Reply>& operation, const Request& request,
                    const OnReply&... onReply)
{
    WifiCall call(function, unanswered);
    call.Log(kLogTrace, "PelaconSDK Send IPC Message: ", operation.name);
    const auto logTimeout = [&] {
        call.Log(kLogFailure, "IPC Message timeout:", operation.timeout.count());
    };
    call.WhenNotSent(logTimeout);
    call.WhenNoReply(logTimeout);
    call.EndWith(std::string("PelaconSDK Send IPC Message complete: ") + operation.name);
    return call.Send(operation, request, onReply...);
}

}  // namespace

SystemApiEnableWifiResult WifiSystemApi::EnableWifi(bool enable)
{
    return SendToSwitch("WifiSystemApi::EnableWifi", kEnableWifiNoAnswer, protocol::kEnableWifi,
                        {enable});
}

SystemApiWifiState WifiSystemApi::GetWifiState()
{
    return SendToSwitch("WifiSystemApi::GetWifiState", kWifiStateUnknown, protocol::kGetWifiState,
                        {});
}

bool WifiSystemApi::RegistWifiStateChangeCallback(IWifiStateChangeNotification* observer)
{
    return SendToSwitch("WifiSystemApi::RegistWifiStateChangeCallback", false,
                        protocol::kRegistWifiStateChangeCallback, {},
                        [&](const protocol::ByteReply& reply) {
                            if (reply.value != 0) {
                                Registry<WifiStateListeners>().AddWifiStateChangeCallback(observer);
                            }
                            return reply.value != 0;
                        });
}

bool WifiSystemApi::UnRegistWifiStateChangeCallback(IWifiStateChangeNotification* observer)
{
    return SendToSwitch(
        "WifiSystemApi::UnRegistWifiStateChangeCallback", false,
        protocol::kUnRegistWifiStateChangeCallback, {}, [&](const protocol::ByteReply& reply) {
            if (reply.value != 0) {
                Registry<WifiStateListeners>().RemoveWifiStateChangeCallback(observer);
            }
            return reply.value != 0;
        });
}

void WifiSystemApi::RegistWifiStateChangeCallBack(WifiRealMonitorStateCallBack* callback)
{
    SerialisedCall call("WifiSystemApi::RegistWifiStateChangeCallBack");
    if (callback == nullptr) {
        call.Log(kLogIncomplete, "cb is null");
        return;
    }
    call.Send(protocol::kRegistWifiStateChangeCallBack, {}, [&](const protocol::ByteReply& reply) {
        call.Unlock();
        if (reply.value != 0) {
            Registry<WifiStateListeners>().AddWifiStateCallback(callback);
        }
        return protocol::Nothing{};
    });
}
