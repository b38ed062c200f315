#include <protocol/BleManager.h>
#include <protocol/ServiceLink.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/Exchange.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/Receivers.h>

#include <algorithm>
#include <iterator>
#include <span>

namespace pelacon {

namespace {

using diag::Log;
using diag::LogEnd;
using diag::LogStart;

IPCMessageSender& Sender()
{
    return IPCMessageSender::GetInstance();
}

/// The first 32-bit word of a payload, which is all that several notifications carry.
std::int32_t FirstWord(const TagIPCMessageItem& item)
{
    return ReadRecord<protocol::Int32Record>(item.message).value;
}

void OnBtStateChanged(const TagIPCMessageItem& item)
{
    Sender().OnBtStateChanged(FirstWord(item));
}

void OnServerWrite(const TagIPCMessageItem& item)
{
    constexpr std::size_t kWriteLengthOffset = 1080;
    std::uint32_t length = 0;
    std::memcpy(&length, item.message + kWriteLengthOffset, sizeof length);
    Log(kLogTrace, "OnServerWriteCallbackCb", "len :", length);
}

// The text belongs to the card-state notification, and the level to failures; both are kept.
constexpr auto kCardStateEnter = "WifiCardStateChangeCb enter";

void OnWifiCardState(const TagIPCMessageItem& /*item*/)
{
    Log(kLogFailure, "WifiCardStateChangeCb", kCardStateEnter);
}

void OnWifiConnectChannel(const TagIPCMessageItem& /*item*/)
{
    Log(kLogFailure, "WifiConnectChannelCallbackCb", kCardStateEnter);
}

void OnServiceStarted(const TagIPCMessageItem& /*item*/)
{
    constexpr auto kFunction = "ServiceStartNotifyCallbackCb";
    LogStart(kFunction);
    Sender().ServiceStartNotifyCallback();
    LogEnd(kFunction);
}

void OnWifiSwitchState(const TagIPCMessageItem& /*item*/)
{
    Log(kLogTrace, "WifiSwitchStateChangeCallback", "PelaconSDK rcv default wifi switch msg");
}

void NotHandledYet(const TagIPCMessageItem& /*item*/) {}

enum class WithoutPayload { kDropped, kPassedOn };

struct Route {
    std::int32_t id;
    void (*handler)(const TagIPCMessageItem& item);
    WithoutPayload withoutPayload = WithoutPayload::kDropped;
};

constexpr Route kRoutes[] = {
    {0xD80006, NotHandledYet},
    {0xD80007, NotHandledYet},
    {0xD80008, NotHandledYet},
    {0xD80038, NotHandledYet},
    {0xD80039, NotHandledYet},
    {0xD80044, NotHandledYet},
    {0xD80048, NotHandledYet},
    {0xD80049, NotHandledYet},
    {0xD80053, NotHandledYet},
    {protocol::kBtStateChanged.id, OnBtStateChanged},
    {0xD8006A, NotHandledYet},
    {0xD8006B, NotHandledYet},
    {0xD8007E, NotHandledYet, WithoutPayload::kPassedOn},
};

constexpr Route kRoutesExt[] = {
    {0xD80075, NotHandledYet},
    {0xD80076, NotHandledYet},
    {0xD80077, NotHandledYet},
    {0xD80078, NotHandledYet},
    {0xD80079, NotHandledYet},
    {0xD8007A, OnServerWrite},
    {0xD80028, NotHandledYet},
    {0xD80087, NotHandledYet},
    {0xD80088, NotHandledYet},
    {0xD8008B, OnWifiCardState},
    {0xD70008, OnWifiConnectChannel},
    {protocol::kServiceStarted.id, OnServiceStarted, WithoutPayload::kPassedOn},
    {0xD80096, OnWifiSwitchState},
};

static_assert(std::size(kRoutes) + std::size(kRoutesExt) == 26);

void Dispatch(std::span<const Route> routes, const TagIPCMessageItem& item)
{
    const auto route = std::find_if(routes.begin(), routes.end(), [&](const Route& candidate) {
        return candidate.id == item.msgId;
    });
    if (route == routes.end()) {
        return;
    }
    if (item.message == nullptr && route->withoutPayload == WithoutPayload::kDropped) {
        return;
    }
    route->handler(item);
}

}  // namespace

void OnIpcMessage(TagIPCMessageItem& item)
{
    Dispatch(kRoutes, item);
}

void OnIpcMessageExt(TagIPCMessageItem& item)
{
    Dispatch(kRoutesExt, item);
}

void RegIpcMessage(IPCMessageClient* client)
{
    constexpr auto kFunction = "RegIpcMessage";
    if (client == nullptr) {
        Log(kLogFailure, kFunction, "ipcSender is  nullptr");
        return;
    }
    for (const Route& route : kRoutes) {
        client->RegisterMessageCallback(route.id, OnIpcMessage);
    }
    for (const Route& route : kRoutesExt) {
        if (route.id == protocol::kServiceStarted.id) {
            Log(kLogTrace, kFunction, "reg start notify");
        }
        client->RegisterMessageCallback(route.id, OnIpcMessageExt);
    }
}

}  // namespace pelacon
