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
#include <sdk/ipc/Exchange.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/Receivers.h>
#include <sdk/wifi/ErrorStatus.h>

#include <algorithm>
#include <bit>
#include <exception>
#include <iterator>
#include <span>
#include <system_error>

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

void OnAdvertiseDisabled(const TagIPCMessageItem& item)
{
    const auto record = ReadRecord<protocol::AdvertiserStatusRecord>(item.message);
    Sender().AdvertiseDisableCallback(record.advertiserId, record.status);
}

void OnScanStatus(const TagIPCMessageItem& item)
{
    const auto record = ReadRecord<protocol::ScanStatusRecord>(item.message);
    Sender().OnScanStatus(record.listenerId, record.status);
}

void OnScanResult(const TagIPCMessageItem& item)
{
    const auto record = ReadRecord<protocol::ScanResultRecord>(item.message);
    const auto result = std::bit_cast<BleScanResultC>(record.result);
    Sender().OnScanResult(&result);
}

void OnRecvTargertAdvCb(const TagIPCMessageItem& item)
{
    constexpr auto kFunction = "OnRecvTargertAdvCb";
    LogStart(kFunction);
    if (item.message == nullptr) {
        Log(kLogIncomplete, kFunction, "ipcMsg.message is nullptr, return");
        return;
    }
    Sender().OnRecvTargetAdv(ReadRecord<TargetAdvInfo>(item.message));
    LogEnd(kFunction);
}

void OnGattConnectionState(const TagIPCMessageItem& item)
{
    Sender().OnConnectionStateCallback(RecordIn<protocol::GattConnectionState>(item.message));
}

void OnGattNotification(const TagIPCMessageItem& item)
{
    Sender().OnNotificationReceiveCallback(RecordIn<protocol::GattValueRecord>(item.message));
}

void OnGattPeerConnected(const TagIPCMessageItem& item)
{
    Sender().ConnectServerCallback(RecordIn<protocol::GattPeerRecord>(item.message));
}

void OnGattPeerDisconnected(const TagIPCMessageItem& item)
{
    Sender().DisconnectServerCallback(RecordIn<protocol::GattPeerRecord>(item.message));
}

void OnGattNotifySent(const TagIPCMessageItem& item)
{
    Sender().NotifySendCallback(RecordIn<protocol::GattPeerValueRecord>(item.message));
}

void OnGattMtuChanged(const TagIPCMessageItem& item)
{
    Sender().MtuChangeCallback(RecordIn<protocol::GattPeerValueRecord>(item.message));
}

void OnGattPeerReads(const TagIPCMessageItem& item)
{
    Sender().OnServerReadCallback(RecordIn<protocol::GattPeerRequestRecord>(item.message));
}

void OnGattPeerWrites(const TagIPCMessageItem& item)
{
    const auto* record = RecordIn<protocol::GattPeerRequestRecord>(item.message);
    Log(kLogTrace, "OnServerWriteCallbackCb", "len :", record->dataLen);
    Sender().OnServerWriteCallback(record);
}

// The text belongs to the card-state notification, and the level to failures; both are kept.
constexpr auto kCardStateEnter = "WifiCardStateChangeCb enter";

void OnWifiCardState(const TagIPCMessageItem& item)
{
    Log(kLogFailure, "WifiCardStateChangeCb", kCardStateEnter);
    Sender().WifiCardStateChangeCallback(item.message);
}

void OnWifiConnectChannel(const TagIPCMessageItem& item)
{
    Log(kLogFailure, "WifiConnectChannelCallbackCb", kCardStateEnter);
    Sender().WifiConnectChannelCallback(FirstWord(item));
}

void OnSoftApConnectStatus(const TagIPCMessageItem& item)
{
    Sender().ConnectStatusCallBack(FirstWord(item));
}

void OnSoftApAdvertisement(const TagIPCMessageItem& item)
{
    Sender().SoftapAdvertisemenStatusBack(static_cast<std::uint32_t>(FirstWord(item)));
    Sender().SoftapAdvertisemenStateBack(item.message);
}

void OnSoftApDeviceConnection(const TagIPCMessageItem& item)
{
    Sender().SoftapDeviceConnectionStatusBack(static_cast<std::uint32_t>(FirstWord(item)));
}

void OnErrorStatus(const TagIPCMessageItem& item)
{
    const auto code = static_cast<ConnectErrorCode>(FirstWord(item));
    try {
        ErrorStatus::GetInstance()->PostNotification(code);
    } catch (const std::system_error&) {  // its worker cannot be started: nobody listens yet
        Log(kLogFailure, "OnErrorStatus", "catch error");
    }
}

void OnSoftApGroupsChange(const TagIPCMessageItem& item)
{
    Sender().SoftAPGroupsChangeCallBack(item.message);
}

void OnSoftApConnectionStateChange(const TagIPCMessageItem& item)
{
    Sender().SoftAPConnectionStateChangeCallBack(item.message);
}

void OnWifiCfg(const TagIPCMessageItem& item)
{
    Sender().WifiCfgCallback(item.message);
}

void OnConnNotify(const TagIPCMessageItem& item)
{
    Sender().ConnNotifyCallback(item.message);
}

void OnServiceStarted(const TagIPCMessageItem& /*item*/)
{
    constexpr auto kFunction = "ServiceStartNotifyCallbackCb";
    LogStart(kFunction);
    Sender().ServiceStartNotifyCallback();
    LogEnd(kFunction);
}

void OnWifiSwitchState(const TagIPCMessageItem& item)
{
    Log(kLogTrace, "WifiSwitchStateChangeCallback", "PelaconSDK rcv default wifi switch msg");
    Sender().WifiSwitchStateChangeCallback(FirstWord(item));
}

enum class WithoutPayload { kDropped, kPassedOn };

struct Route {
    std::int32_t id;
    void (*handler)(const TagIPCMessageItem& item);
    WithoutPayload withoutPayload = WithoutPayload::kDropped;
};

constexpr Route kRoutes[] = {
    {protocol::kSoftApConnectStatus.id, OnSoftApConnectStatus},
    {protocol::kSoftApAdvertisement.id, OnSoftApAdvertisement},
    {protocol::kSoftApDeviceConnection.id, OnSoftApDeviceConnection},
    {protocol::kSoftApGroupsChange.id, OnSoftApGroupsChange},
    {protocol::kSoftApConnectionStateChange.id, OnSoftApConnectionStateChange},
    {protocol::kAdvertiseDisabled.id, OnAdvertiseDisabled},
    {protocol::kGattConnectionState.id, OnGattConnectionState},
    {protocol::kGattConnectionEnd.id, OnGattConnectionState},
    {protocol::kGattNotification.id, OnGattNotification},
    {protocol::kBtStateChanged.id, OnBtStateChanged},
    {protocol::kScanStatus.id, OnScanStatus},
    {protocol::kScanResult.id, OnScanResult},
    {protocol::kTargetAdvReceived.id, OnRecvTargertAdvCb, WithoutPayload::kPassedOn},
};

constexpr Route kRoutesExt[] = {
    {protocol::kGattPeerConnected.id, OnGattPeerConnected},
    {protocol::kGattPeerDisconnected.id, OnGattPeerDisconnected},
    {protocol::kGattNotifySent.id, OnGattNotifySent},
    {protocol::kGattMtuChanged.id, OnGattMtuChanged},
    {protocol::kGattPeerReads.id, OnGattPeerReads},
    {protocol::kGattPeerWrites.id, OnGattPeerWrites},
    {protocol::kErrorStatus.id, OnErrorStatus},
    {protocol::kWifiCfgChanged.id, OnWifiCfg},
    {protocol::kConnNotify.id, OnConnNotify},
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
