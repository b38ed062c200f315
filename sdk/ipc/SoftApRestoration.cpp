#include <protocol/SoftAp.h>
#include <protocol/Vod2dConfig.h>
#include <protocol/Vod2dGroup.h>
#include <protocol/WifiState.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/Exchange.h>
#include <sdk/ipc/GroupCallbacks.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/SoftApListeners.h>
#include <sdk/ipc/WifiConfigCallbacks.h>
#include <sdk/ipc/WifiStateListeners.h>

#include <optional>

namespace pelacon {

namespace {

constexpr auto kFunction = "IPCMessageSender::RestoreSoftAp";

/// Whether a reply agrees to what was asked, by its form.
struct Agrees {
    bool operator()(protocol::ByteView /*acknowledgement*/) const { return true; }
    bool operator()(const protocol::ByteReply& reply) const { return reply.value != 0; }

    template <typename Reply>
    bool operator()(const Reply& reply) const
    {
        return reply.status == 0;
    }
};

/// Sends the request that was accepted before the restart once more, if there was one.
template <typename Request, typename Reply>
void AskAgain(const protocol::Operation<Request, Reply>& operation,
              const std::optional<Request>& accepted)
{
    if (!accepted) {
        return;
    }
    const bool agreed = Exchange(kFunction, operation, *accepted, Failures<bool>{false, false},
                                 Agrees{}, operation.name);
    if (!agreed) {
        diag::Log(kLogFailure, kFunction, operation.name, " failed");
    }
}

template <typename Reply>
void AskAgain(const protocol::Operation<protocol::Nothing, Reply>& operation, bool wanted)
{
    AskAgain(operation, wanted ? std::optional(protocol::Nothing{}) : std::nullopt);
}

}  // namespace

void IPCMessageSender::RestoreSoftAp()
{
    diag::LogStart(kFunction);
    const auto& softAp = Registry<SoftApListeners>();
    const auto& wifi = Registry<WifiStateListeners>();
    const auto& configurations = Registry<WifiConfigCallbacks>();
    AskAgain(protocol::kRegistSoftApConnectStatus, softAp.HasSoftApConnectStatus());
    AskAgain(protocol::kRegistWifiStateChangeCallBack, wifi.HasWifiStateCallbacks());
    AskAgain(protocol::kRegisterSoftApStateChanged,
             Registry<GroupCallbacks>().HasSoftAPStateChanged());
    AskAgain(protocol::kSetConnNotify, configurations.AcceptedConnNotify());
    AskAgain(protocol::kRegisterWifiCfg, configurations.AcceptedWifiCfg());
    AskAgain(protocol::kSetWifiCardStateNotify, configurations.AcceptedWifiCardState());
    AskAgain(protocol::kRegisterSoftApNotification, softAp.HasSoftApNotificationCallbacks());
    AskAgain(protocol::kRegistWifiStateChangeCallback, wifi.HasWifiStateChangeCallbacks());
    diag::LogEnd(kFunction);
}

}  // namespace pelacon
