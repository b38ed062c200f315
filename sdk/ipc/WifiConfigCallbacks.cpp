#include <sdk/ipc/WifiConfigCallbacks.h>

#include <algorithm>
#include <iterator>

namespace pelacon {

namespace {

constexpr std::int32_t kLastCard = protocol::kMostCards - 1;

/// A count that an application can rely on, whatever the service says.
template <typename Element, std::size_t Size>
std::int32_t Clamped(std::int32_t count, const Element (&field)[Size])
{
    return std::clamp(count, 0, static_cast<std::int32_t>(std::size(field)));
}

Vod2dWifiCfgEvent WifiCfgEvent(Vod2dWifiCfgEvent event)
{
    event.length = Clamped(event.length, event.blob);
    return event;
}

WifiCardStateEvent CardStateEvent(WifiCardStateEvent event)
{
    event.count = Clamped(event.count, event.cards);
    event.changed = std::min(Clamped(event.changed, event.cards), kLastCard);
    return event;
}

}  // namespace

void WifiConfigCallbacks::RegisterWifiCfgCallback(Vod2dWifiCfgCallback* table)
{
    configurations_.Register("IPCMessageSender::RegisterWifiCfgCallback", table, {});
}

void WifiConfigCallbacks::RegisterConnNotifyCallback(Vod2dWifiCfgCallback* table,
                                                     const protocol::ConnNotifyRequest& accepted)
{
    connections_.Register("IPCMessageSender::RegisterConnNotifyCallback", table, accepted);
}

void WifiConfigCallbacks::RegisterWifiCardStateCallback(WifiCardStateCallback* table,
                                                        const protocol::CardState& accepted)
{
    cardStates_.Register("IPCMessageSender::RegisterWifiCardStateCallback", table, accepted);
}

void WifiConfigCallbacks::WifiCfgCallback(const protocol::WifiCfg& record)
{
    configurations_.Call("IPCMessageSender::WifiCfgCallback", &Vod2dWifiCfgCallback::onEvent,
                         WifiCfgEvent(record));
}

void WifiConfigCallbacks::ConnNotifyCallback(const protocol::WifiCfg& record)
{
    connections_.Call("IPCMessageSender::ConnNotifyCallback", &Vod2dWifiCfgCallback::onEvent,
                      WifiCfgEvent(record));
}

void WifiConfigCallbacks::WifiCardStateChangeCallback(const protocol::CardStateChange& record)
{
    cardStates_.Call("IPCMessageSender::WifiCardStateChangeCallback",
                     &WifiCardStateCallback::onCardStateChanged, CardStateEvent(record));
}

}  // namespace pelacon
