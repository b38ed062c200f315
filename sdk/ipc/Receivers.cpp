#include <PelaconSDK/BleScanner.h>
#include <protocol/BleAdvertiser.h>
#include <protocol/BleManager.h>
#include <protocol/BleScanner.h>
#include <protocol/ErrorStatus.h>
#include <protocol/GattClient.h>
#include <protocol/GattServer.h>
#include <protocol/ServiceLink.h>
#include <protocol/SoftAp.h>
#include <protocol/TargetAdv.h>
#include <protocol/Vod2dConfig.h>
#include <protocol/Vod2dGroup.h>
#include <protocol/WifiState.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/AdvertiserCallbacks.h>
#include <sdk/ipc/BleManagerCallbacks.h>
#include <sdk/ipc/Exchange.h>
#include <sdk/ipc/GattClientCallbacks.h>
#include <sdk/ipc/GattServerCallbacks.h>
#include <sdk/ipc/GroupCallbacks.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/Receivers.h>
#include <sdk/ipc/ScanCallbacks.h>
#include <sdk/ipc/SoftApListeners.h>
#include <sdk/ipc/TargetAdvCallbacks.h>
#include <sdk/ipc/WifiConfigCallbacks.h>
#include <sdk/ipc/WifiStateListeners.h>
#include <sdk/wifi/ErrorStatus.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <span>
#include <system_error>
#include <type_traits>

namespace pelacon {

namespace {

using diag::Log;
using diag::LogEnd;
using diag::LogStart;

using protocol::Notification;

/// The argument of a handler: the notification's record, a pointer to it, or, where the record
/// consists of one number, that number.
template <typename Argument, typename Record>
Argument ArgumentFrom(const TagIPCMessageItem& item)
{
    if constexpr (std::is_same_v<Argument, const Record*>) {
        return RecordIn<Record>(item.message);
    } else if constexpr (std::is_same_v<Argument, Record>) {
        return ReadRecord<Record>(item.message);
    } else {
        static_assert(std::is_same_v<Record, protocol::Int32Record> && std::is_integral_v<Argument>,
                      "this handler takes another record");
        return static_cast<Argument>(ReadRecord<Record>(item.message).value);
    }
}

/// Calls a registry's handler.
template <typename Record, typename Callbacks, typename Argument>
void Handle(const Notification<Record>& /*notification*/, void (Callbacks::*handler)(Argument),
            const TagIPCMessageItem& item)
{
    (Registry<Callbacks>().*handler)(ArgumentFrom<std::remove_cvref_t<Argument>, Record>(item));
}

/// Calls a handler of this file.
template <typename Record, typename Argument>
void Handle(const Notification<Record>& /*notification*/, void (*handler)(Argument),
            const TagIPCMessageItem& item)
{
    handler(ArgumentFrom<std::remove_cvref_t<Argument>, Record>(item));
}
void Handle(const Notification<protocol::Nothing>& /*notification*/, void (*handler)(),
            const TagIPCMessageItem& /*item*/)
{
    handler();
}

enum class WithoutPayload { kDropped, kPassedOn };

struct Route {
    std::int32_t id;
    void (*handler)(const TagIPCMessageItem& item);
    WithoutPayload withoutPayload = WithoutPayload::kDropped;
};

/// The route of a notification to its handler. Does not compile if the handler takes another
/// record.
template <const auto& kNotification, auto kHandler>
constexpr Route On(WithoutPayload withoutPayload = WithoutPayload::kDropped)
{
    return {kNotification.id,
            [](const TagIPCMessageItem& item) { Handle(kNotification, kHandler, item); },
            withoutPayload};
}

// Handlers that call more than one registry, or none, and those that log a line first.

void OnRecvTargertAdvCb(const TargetAdvInfo* record)
{
    constexpr auto kFunction = "OnRecvTargertAdvCb";
    LogStart(kFunction);
    if (record == nullptr) {
        Log(kLogIncomplete, kFunction, "ipcMsg.message is nullptr, return");
        return;
    }
    Registry<TargetAdvCallbacks>().OnRecvTargetAdv(*record);
    LogEnd(kFunction);
}

void OnGattPeerWrites(const protocol::GattPeerRequestRecord* record)
{
    Log(kLogTrace, "OnServerWriteCallbackCb", "len :", record->dataLen);
    Registry<GattServerCallbacks>().OnServerWriteCallback(record);
}

// The text belongs to the card-state notification, and the level to failures; both are kept.
constexpr auto kCardStateEnter = "WifiCardStateChangeCb enter";

void OnWifiCardState(const protocol::CardStateChange& record)
{
    Log(kLogFailure, "WifiCardStateChangeCb", kCardStateEnter);
    Registry<WifiConfigCallbacks>().WifiCardStateChangeCallback(record);
}

void OnWifiConnectChannel(std::int32_t channel)
{
    Log(kLogFailure, "WifiConnectChannelCallbackCb", kCardStateEnter);
    Registry<WifiStateListeners>().WifiConnectChannelCallback(channel);
}

void OnWifiSwitchState(std::int32_t state)
{
    Log(kLogTrace, "WifiSwitchStateChangeCallback", "PelaconSDK rcv default wifi switch msg");
    Registry<WifiStateListeners>().WifiSwitchStateChangeCallback(state);
}

void OnSoftApAdvertisement(const protocol::SoftApAdvertisement* record)
{
    Registry<SoftApListeners>().SoftapAdvertisemenStatusBack(record->status);
    Registry<SoftApListeners>().SoftapAdvertisemenStateBack(record);
}

void OnErrorStatus(std::int32_t code)
{
    try {
        ErrorStatus::GetInstance()->PostNotification(static_cast<ConnectErrorCode>(code));
    } catch (const std::system_error&) {  // its worker cannot be started: there is no listener yet
        Log(kLogFailure, "OnErrorStatus", "catch error");
    }
}

void OnServiceStarted()
{
    constexpr auto kFunction = "ServiceStartNotifyCallbackCb";
    LogStart(kFunction);
    IPCMessageSender::GetInstance().ServiceStartNotifyCallback();
    LogEnd(kFunction);
}

constexpr Route kRoutes[] = {
    On<protocol::kSoftApConnectStatus, &SoftApListeners::ConnectStatusCallBack>(),
    On<protocol::kSoftApAdvertisement, &OnSoftApAdvertisement>(),
    On<protocol::kSoftApDeviceConnection, &SoftApListeners::SoftapDeviceConnectionStatusBack>(),
    On<protocol::kSoftApGroupsChange, &GroupCallbacks::SoftAPGroupsChangeCallBack>(),
    On<protocol::kSoftApConnectionStateChange,
       &GroupCallbacks::SoftAPConnectionStateChangeCallBack>(),
    On<protocol::kAdvertiseDisabled, &AdvertiserCallbacks::AdvertiseDisableCallback>(),
    On<protocol::kGattConnectionState, &GattClientCallbacks::OnConnectionStateCallback>(),
    On<protocol::kGattConnectionEnd, &GattClientCallbacks::OnConnectionStateCallback>(),
    On<protocol::kGattNotification, &GattClientCallbacks::OnNotificationReceiveCallback>(),
    On<protocol::kBtStateChanged, &BleManagerCallbacks::OnBtStateChanged>(),
    On<protocol::kScanStatus, &ScanCallbacks::OnScanStatus>(),
    On<protocol::kScanResult, &ScanCallbacks::OnScanResult>(),
    On<protocol::kTargetAdvReceived, &OnRecvTargertAdvCb>(WithoutPayload::kPassedOn),
};

constexpr Route kRoutesExt[] = {
    On<protocol::kGattPeerConnected, &GattServerCallbacks::ConnectServerCallback>(),
    On<protocol::kGattPeerDisconnected, &GattServerCallbacks::DisconnectServerCallback>(),
    On<protocol::kGattNotifySent, &GattServerCallbacks::NotifySendCallback>(),
    On<protocol::kGattMtuChanged, &GattServerCallbacks::MtuChangeCallback>(),
    On<protocol::kGattPeerReads, &GattServerCallbacks::OnServerReadCallback>(),
    On<protocol::kGattPeerWrites, &OnGattPeerWrites>(),
    On<protocol::kErrorStatus, &OnErrorStatus>(),
    On<protocol::kWifiCfgChanged, &WifiConfigCallbacks::WifiCfgCallback>(),
    On<protocol::kConnNotify, &WifiConfigCallbacks::ConnNotifyCallback>(),
    On<protocol::kWifiCardStateChange, &OnWifiCardState>(),
    On<protocol::kWifiConnectChannel, &OnWifiConnectChannel>(),
    On<protocol::kServiceStarted, &OnServiceStarted>(WithoutPayload::kPassedOn),
    On<protocol::kWifiSwitchState, &OnWifiSwitchState>(),
};

static_assert(std::size(kRoutes) + std::size(kRoutesExt) == 26);

constinit thread_local int receiversEntered = 0;

void Dispatch(const char* function, std::span<const Route> routes, const TagIPCMessageItem& item)
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
    const InReceiver inside;
    try {
        route->handler(item);
    } catch (const std::exception&) {  // no memory, or no thread: the notification is lost
        Log(kLogFailure, function, "catch error");
    }
}

}  // namespace

InReceiver::InReceiver() noexcept
{
    ++receiversEntered;
}

InReceiver::~InReceiver()
{
    --receiversEntered;
}

bool IsInReceiver() noexcept
{
    return receiversEntered != 0;
}

void OnIpcMessage(TagIPCMessageItem& item)
{
    Dispatch("OnIpcMessage", kRoutes, item);
}

void OnIpcMessageExt(TagIPCMessageItem& item)
{
    Dispatch("OnIpcMessageExt", kRoutesExt, item);
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
