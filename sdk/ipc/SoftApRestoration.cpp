#include <protocol/SoftAp.h>
#include <protocol/Vod2dConfig.h>
#include <protocol/Vod2dGroup.h>
#include <protocol/WifiState.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/Exchange.h>
#include <sdk/ipc/IPCMessageSender.h>

#include <optional>

namespace pelacon {

namespace {

constexpr auto kFunction = "IPCMessageSender::RestoreSoftAp";

/// Whether a reply agrees to what was asked, by its form.
struct Agrees {
    bool operator()(const std::uint8_t* /*acknowledgement*/) const { return true; }
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
    AskAgain(protocol::kRegistSoftApConnectStatus, HasSoftApConnectStatus());
    AskAgain(protocol::kRegistWifiStateChangeCallBack, HasWifiStateCallbacks());
    AskAgain(protocol::kRegisterSoftApStateChanged, HasSoftAPStateChanged());
    AskAgain(protocol::kSetConnNotify, AcceptedConnNotify());
    AskAgain(protocol::kRegisterWifiCfg, AcceptedWifiCfg());
    AskAgain(protocol::kSetWifiCardStateNotify, AcceptedWifiCardState());
    AskAgain(protocol::kRegisterSoftApNotification, HasSoftApNotificationCallbacks());
    AskAgain(protocol::kRegistWifiStateChangeCallback, HasWifiStateChangeCallbacks());
    diag::LogEnd(kFunction);
}

}  // namespace pelacon
