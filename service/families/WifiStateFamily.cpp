#include <PelaconSDK/WifiState.h>
#include <service/families/WifiStateFamily.h>

#include <nlohmann/json.hpp>

#include <chrono>

namespace pelacon::service {

using protocol::ByteReply;
using protocol::FlagRequest;
using protocol::Int32Record;
using protocol::Nothing;

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
    wifi_.ObserveSwitch([this](bool on) { NotifySwitch(on); });
    phone_.Observe([this](std::int32_t channel) { NotifyChannel(channel); });

    Router& router = context.router;
    router.Serve(protocol::kEnableWifi, [this](Session& session, const FlagRequest& request) {
        return Enable(session, request.flag != 0);
    });
    router.Serve(protocol::kGetWifiState,
                 [this](Session&, const Nothing&) { return Int32Record{StateOf(wifi_.IsOn())}; });
    router.Serve(protocol::kRegistWifiStateChangeCallback,
                 [this](Session& session, const Nothing&) {
                     switchListeners_.insert(&session);
                     return ByteReply{1};
                 });
    // The client may have other objects registered: it is still notified of the switch.
    router.Serve(protocol::kUnRegistWifiStateChangeCallback,
                 [](Session&, const Nothing&) { return ByteReply{1}; });
    router.Serve(protocol::kRegistWifiStateChangeCallBack,
                 [this](Session& session, const Nothing&) {
                     channelListeners_.insert(&session);
                     return ByteReply{1};
                 });
}

// A client that returns is notified of the state that it finds, and drops what none of its objects
// is registered for.
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

/// Switches, and waits until that is done. Nothing where the client has left meanwhile. Where there
/// is no point in going on the family may be gone, and is not touched.
std::optional<Int32Record> WifiStateFamily::Enable(Session& session, bool on)
{
    const auto& cards = cards_.States();
    if (cards.empty() || cards.front() == radio::CardState::kAbsent) {
        return Int32Record{kEnableWifiNoAdapter};
    }
    const Completion<radio::Outcome> completion(scheduler_);
    wifi_.Switch(on, [completion](radio::Outcome outcome) { completion.Set(outcome); });
    const auto outcome = session.Await(completion, kSwitchPatience);
    if (!outcome && !session.IsPresent()) {
        return std::nullopt;
    }
    return Int32Record{ResultOf(outcome.value_or(radio::Outcome::kFailed))};
}

void WifiStateFamily::NotifySwitch(bool on) const
{
    for (Session* session : switchListeners_) {
        session->Notify(protocol::kWifiSwitchState, {StateOf(on)});
    }
}

void WifiStateFamily::NotifyChannel(std::int32_t channel) const
{
    for (Session* session : channelListeners_) {
        session->Notify(protocol::kWifiConnectChannel, {channel});
    }
}

void WifiStateFamily::Describe(nlohmann::json& status) const
{
    status["wifi"] = {
        {"on", wifi_.IsOn()},
        {"switchListeners", switchListeners_.size()},
        {"channelListeners", channelListeners_.size()},
    };
}

}  // namespace pelacon::service
