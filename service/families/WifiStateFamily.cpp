#include <service/families/WifiStateFamily.h>

#include <nlohmann/json.hpp>

namespace pelacon::service {

using protocol::ByteReply;
using protocol::FlagRequest;
using protocol::Int32Record;
using protocol::Nothing;

namespace {

// The values are those of SystemApiEnableWifiResult in the public headers.
constexpr std::int32_t kEnabled = 0;
constexpr std::int32_t kNoAdapter = 2;

/// The values are those of SystemApiWifiState.
std::int32_t StateOf(bool on)
{
    return on ? 2 : 1;
}

}  // namespace

WifiStateFamily::WifiStateFamily(const Context& context)
    : wifi_(context.radios.GetWifi()), cards_(context.radios.GetWifiCards())
{
    wifi_.ObserveSwitch([this](bool on) { TellSwitch(on); });
    context.radios.GetPhone().Observe([this](std::int32_t channel) { TellChannel(channel); });

    Router& router = context.router;
    router.Serve(protocol::kEnableWifi, [this](Session&, const FlagRequest& request) {
        return Int32Record{Enable(request.flag != 0)};
    });
    router.Serve(protocol::kGetWifiState,
                 [this](Session&, const Nothing&) { return Int32Record{StateOf(wifi_.IsOn())}; });
    router.Serve(protocol::kRegistWifiStateChangeCallback,
                 [this](Session& session, const Nothing&) {
                     switchListeners_.insert(&session);
                     return ByteReply{1};
                 });
    // The client may have other objects registered: it goes on to hear of the switch.
    router.Serve(protocol::kUnRegistWifiStateChangeCallback,
                 [](Session&, const Nothing&) { return ByteReply{1}; });
    router.Serve(protocol::kRegistWifiStateChangeCallBack,
                 [this](Session& session, const Nothing&) {
                     channelListeners_.insert(&session);
                     return ByteReply{1};
                 });
}

void WifiStateFamily::ClientLeft(Session& session)
{
    switchListeners_.erase(&session);
    channelListeners_.erase(&session);
}

std::int32_t WifiStateFamily::Enable(bool on)
{
    if (cards_.States().front() == radio::CardState::kAbsent) {
        return kNoAdapter;
    }
    wifi_.Switch(on);
    return kEnabled;
}

void WifiStateFamily::TellSwitch(bool on) const
{
    for (Session* session : switchListeners_) {
        session->Notify(protocol::kWifiSwitchState, {StateOf(on)});
    }
}

void WifiStateFamily::TellChannel(std::int32_t channel) const
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
