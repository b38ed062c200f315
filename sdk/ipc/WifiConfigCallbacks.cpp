#include <sdk/ipc/Exchange.h>
#include <sdk/ipc/WifiConfigCallbacks.h>

#include <algorithm>
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

Vod2dWifiCfgEvent WifiCfgEvent(const std::uint8_t* payload)
{
    auto event = ReadRecord<Vod2dWifiCfgEvent>(payload);
    event.length = Clamped(event.length, event.blob);
    return event;
}

WifiCardStateEvent CardStateEvent(const std::uint8_t* payload)
{
    auto event = ReadRecord<WifiCardStateEvent>(payload);
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

void WifiConfigCallbacks::WifiCfgCallback(const std::uint8_t* payload) const
{
    configurations_.Tell("IPCMessageSender::WifiCfgCallback", &Vod2dWifiCfgCallback::onEvent,
                         WifiCfgEvent(payload));
}

void WifiConfigCallbacks::ConnNotifyCallback(const std::uint8_t* payload) const
{
    connections_.Tell("IPCMessageSender::ConnNotifyCallback", &Vod2dWifiCfgCallback::onEvent,
                      WifiCfgEvent(payload));
}

void WifiConfigCallbacks::WifiCardStateChangeCallback(const std::uint8_t* payload) const
{
    cardStates_.Tell("IPCMessageSender::WifiCardStateChangeCallback",
                     &WifiCardStateCallback::onCardStateChanged, CardStateEvent(payload));
}

}  // namespace pelacon
