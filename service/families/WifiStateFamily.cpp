#include <PelaconSDK/WifiState.h>
#include <service/families/WifiStateFamily.h>

#include <functional>

namespace pelacon::service {

namespace {

/// How long a request waits for the switch: well within the time-out of the client.
constexpr auto kSwitchPatience = protocol::kEnableWifi.timeout / 2;

std::int32_t StateOf(bool on)
{
    return on ? kWifiStateOn : kWifiStateOff;
}

std::int32_t ResultOf(radio::Outcome outcome)
{
    switch (outcome) {
        case radio::Outcome::kDone:
            return kEnableWifiSuccess;
        case radio::Outcome::kNoAdapter:
            return kEnableWifiNoAdapter;
        default:
            return kEnableWifiFailed;
    }
}

}  // namespace

WifiStateFamily::WifiStateFamily(const Context& context)
    : scheduler_(context.scheduler),
      wifi_(context.radios.GetWifi()),
      cards_(context.radios.GetWifiCards()),
      phone_(context.radios.GetPhone())
{
    wifi_.ObserveSwitch([this](bool on) {
        NotifyAll(switchListeners_, protocol::kWifiSwitchState, {StateOf(on)});
    });
    phone_.Observe([this](std::int32_t channel) {
        NotifyAll(channelListeners_, protocol::kWifiConnectChannel, {channel});
    });

    Router& router = context.router;
    router.Serve(protocol::kEnableWifi, std::bind_front(&WifiStateFamily::Enable, this));
    router.Serve(protocol::kGetWifiState, [this] { return StateOf(wifi_.IsOn()); });
    router.Serve(protocol::kRegistWifiStateChangeCallback, [this](Session& session) {
        switchListeners_.insert(&session);
        return true;
    });
    // The client may have other objects registered: it is still notified of the switch.
    router.Serve(protocol::kUnRegistWifiStateChangeCallback, [] { return true; });
    router.Serve(protocol::kRegistWifiStateChangeCallBack, [this](Session& session) {
        channelListeners_.insert(&session);
        return true;
    });
}

// A returning client is notified of the present state, and ignores what it has no object for.
void WifiStateFamily::ClientArrived(Session& session, bool returning)
{
    if (returning) {
        switchListeners_.insert(&session);
        channelListeners_.insert(&session);
        session.Notify(protocol::kWifiSwitchState, {StateOf(wifi_.IsOn())});
        session.Notify(protocol::kWifiConnectChannel, {phone_.ConnectionChannel()});
    }
}

void WifiStateFamily::ClientLeft(Session& session)
{
    switchListeners_.erase(&session);
    channelListeners_.erase(&session);
}

/// Switches, and waits until that is done. Returns nothing if the client has left meanwhile, and a
/// failure if the service ends. The family may be destroyed during the wait and is not used after
/// it.
std::optional<std::int32_t> WifiStateFamily::Enable(Session& session,
                                                    const protocol::FlagRequest& request)
{
    const auto& cards = cards_.States();
    if (cards.empty() || cards.front() == radio::CardState::kAbsent) {
        return kEnableWifiNoAdapter;
    }
    Scheduler& scheduler = scheduler_;
    const Completion<radio::Outcome> completion(scheduler);
    wifi_.Switch(request.flag != 0,
                 [completion](radio::Outcome outcome) { completion.Set(outcome); });
    const auto outcome = session.Await(completion, kSwitchPatience);
    if (!outcome && !session.IsPresent() && !scheduler.IsStopping()) {
        return std::nullopt;
    }
    return ResultOf(outcome.value_or(radio::Outcome::kFailed));
}

void WifiStateFamily::Describe(json::Output& status) const
{
    status["wifi"] = {
        {"on", wifi_.IsOn()},
        {"switchListeners", switchListeners_.size()},
        {"channelListeners", channelListeners_.size()},
    };
}

}  // namespace pelacon::service
