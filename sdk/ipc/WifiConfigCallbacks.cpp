#include <sdk/ipc/WifiConfigCallbacks.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <iterator>

namespace pelacon {

static_assert(sizeof(Vod2dWifiCfgEvent) == sizeof(protocol::WifiCfg));
static_assert(offsetof(Vod2dWifiCfgEvent, blob) == offsetof(protocol::WifiCfg, blob));
static_assert(offsetof(Vod2dWifiCfgEvent, length) == offsetof(protocol::WifiCfg, length));
static_assert(sizeof(WifiCardStateEvent) == sizeof(protocol::CardStateChange));
static_assert(offsetof(WifiCardStateEvent, changed) ==
              offsetof(protocol::CardStateChange, changed));
static_assert(offsetof(WifiCardStateEvent, count) == offsetof(protocol::CardStateChange, count));

namespace {

constexpr std::int32_t kLastCard = protocol::kMostCards - 1;

/// A count that an application can rely on, whatever the service says.
template <typename Element, std::size_t Size>
std::int32_t Clamped(std::int32_t count, const Element (&field)[Size])
{
    return std::clamp(count, 0, static_cast<std::int32_t>(std::size(field)));
}

Vod2dWifiCfgEvent WifiCfgEvent(const protocol::WifiCfg& record)
{
    auto event = std::bit_cast<Vod2dWifiCfgEvent>(record);
    event.length = Clamped(event.length, event.blob);
    return event;
}

WifiCardStateEvent CardStateEvent(const protocol::CardStateChange& record)
{
    auto event = std::bit_cast<WifiCardStateEvent>(record);
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
