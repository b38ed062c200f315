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

/// Calls the handler with the notification's record: the record itself, a pointer to it, or, where
/// it consists of one number, that number.
template <typename Record, typename Callbacks, typename Argument>
void Handle(const Notification<Record>& /*notification*/, void (Callbacks::*handler)(Argument),
            const TagIPCMessageItem& item)
{
    auto& callbacks = Registry<Callbacks>();
    if constexpr (std::is_same_v<Argument, const Record*>) {
        (callbacks.*handler)(RecordIn<Record>(item.message));
    } else if constexpr (std::is_same_v<Argument, const Record&>) {
        (callbacks.*handler)(ReadRecord<Record>(item.message));
    } else {
        static_assert(std::is_same_v<Record, protocol::Int32Record> && std::is_integral_v<Argument>,
                      "this handler takes another record");
        (callbacks.*handler)(static_cast<Argument>(ReadRecord<Record>(item.message).value));
    }
}

enum class WithoutPayload { kDropped, kPassedOn };

struct Route {
    std::int32_t id;
    void (*handler)(const TagIPCMessageItem& item);
    WithoutPayload withoutPayload = WithoutPayload::kDropped;
};

/// The route of a notification to its handler in a registry.
template <const auto& kNotification, auto kHandler>
constexpr Route On()
{
    return {kNotification.id,
            [](const TagIPCMessageItem& item) { Handle(kNotification, kHandler, item); }};
}

// Routes to more than one handler, and those that log a line first.

void OnRecvTargertAdvCb(const TagIPCMessageItem& item)
{
    constexpr auto kFunction = "OnRecvTargertAdvCb";
    LogStart(kFunction);
    if (item.message == nullptr) {
        Log(kLogIncomplete, kFunction, "ipcMsg.message is nullptr, return");
        return;
    }
    Registry<TargetAdvCallbacks>().OnRecvTargetAdv(ReadRecord<TargetAdvInfo>(item.message));
    LogEnd(kFunction);
}

void OnGattPeerWrites(const TagIPCMessageItem& item)
{
    const auto* record = RecordIn<protocol::GattPeerRequestRecord>(item.message);
    Log(kLogTrace, "OnServerWriteCallbackCb", "len :", record->dataLen);
    Registry<GattServerCallbacks>().OnServerWriteCallback(record);
}

// The text belongs to the card-state notification, and the level to failures; both are kept.
constexpr auto kCardStateEnter = "WifiCardStateChangeCb enter";

void OnWifiCardState(const TagIPCMessageItem& item)
{
    Log(kLogFailure, "WifiCardStateChangeCb", kCardStateEnter);
    Handle(protocol::kWifiCardStateChange, &WifiConfigCallbacks::WifiCardStateChangeCallback, item);
}

void OnWifiConnectChannel(const TagIPCMessageItem& item)
{
    Log(kLogFailure, "WifiConnectChannelCallbackCb", kCardStateEnter);
    Handle(protocol::kWifiConnectChannel, &WifiStateListeners::WifiConnectChannelCallback, item);
}

void OnWifiSwitchState(const TagIPCMessageItem& item)
{
    Log(kLogTrace, "WifiSwitchStateChangeCallback", "PelaconSDK rcv default wifi switch msg");
    Handle(protocol::kWifiSwitchState, &WifiStateListeners::WifiSwitchStateChangeCallback, item);
}

void OnSoftApAdvertisement(const TagIPCMessageItem& item)
{
    const auto* record = RecordIn<protocol::SoftApAdvertisement>(item.message);
    Registry<SoftApListeners>().SoftapAdvertisemenStatusBack(record->status);
    Registry<SoftApListeners>().SoftapAdvertisemenStateBack(record);
}

void OnErrorStatus(const TagIPCMessageItem& item)
{
    const auto code =
        static_cast<ConnectErrorCode>(ReadRecord<protocol::Int32Record>(item.message).value);
    try {
        ErrorStatus::GetInstance()->PostNotification(code);
    } catch (const std::system_error&) {  // its worker cannot be started: there is no listener yet
        Log(kLogFailure, "OnErrorStatus", "catch error");
    }
}

void OnServiceStarted(const TagIPCMessageItem& /*item*/)
{
    constexpr auto kFunction = "ServiceStartNotifyCallbackCb";
    LogStart(kFunction);
    IPCMessageSender::GetInstance().ServiceStartNotifyCallback();
    LogEnd(kFunction);
}

constexpr Route kRoutes[] = {
    On<protocol::kSoftApConnectStatus, &SoftApListeners::ConnectStatusCallBack>(),
    {protocol::kSoftApAdvertisement.id, OnSoftApAdvertisement},
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
    {protocol::kTargetAdvReceived.id, OnRecvTargertAdvCb, WithoutPayload::kPassedOn},
};

constexpr Route kRoutesExt[] = {
    On<protocol::kGattPeerConnected, &GattServerCallbacks::ConnectServerCallback>(),
    On<protocol::kGattPeerDisconnected, &GattServerCallbacks::DisconnectServerCallback>(),
    On<protocol::kGattNotifySent, &GattServerCallbacks::NotifySendCallback>(),
    On<protocol::kGattMtuChanged, &GattServerCallbacks::MtuChangeCallback>(),
    On<protocol::kGattPeerReads, &GattServerCallbacks::OnServerReadCallback>(),
    {protocol::kGattPeerWrites.id, OnGattPeerWrites},
    {protocol::kErrorStatus.id, OnErrorStatus},
    On<protocol::kWifiCfgChanged, &WifiConfigCallbacks::WifiCfgCallback>(),
    On<protocol::kConnNotify, &WifiConfigCallbacks::ConnNotifyCallback>(),
    {protocol::kWifiCardStateChange.id, OnWifiCardState},
    {protocol::kWifiConnectChannel.id, OnWifiConnectChannel},
    {protocol::kServiceStarted.id, OnServiceStarted, WithoutPayload::kPassedOn},
    {protocol::kWifiSwitchState.id, OnWifiSwitchState},
};

static_assert(std::size(kRoutes) + std::size(kRoutesExt) == 26);

constinit thread_local int receiversEntered = 0;

/// While it exists, this thread is inside a receiver.
class InReceiver {
  public:
    InReceiver() { ++receiversEntered; }
    ~InReceiver() { --receiversEntered; }
    InReceiver(const InReceiver&) = delete;
    InReceiver& operator=(const InReceiver&) = delete;
};

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
