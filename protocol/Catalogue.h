// Every message of the contract, as data: for the tracer, the monitor, and faults by name.
#pragma once

#include <protocol/BleAdvertiser.h>
#include <protocol/BleManager.h>
#include <protocol/BleScanner.h>
#include <protocol/ErrorStatus.h>
#include <protocol/GattClient.h>
#include <protocol/GattServer.h>
#include <protocol/Operation.h>
#include <protocol/ServiceLink.h>
#include <protocol/SoftAp.h>
#include <protocol/TargetAdv.h>
#include <protocol/Vod2dConfig.h>
#include <protocol/Vod2dGroup.h>
#include <protocol/WifiChannels.h>
#include <protocol/WifiState.h>

#include <algorithm>
#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <type_traits>

namespace pelacon::protocol {

/// What a payload is, as far as can be said without its record.
enum class PayloadForm : std::uint8_t { kNothing, kRecord, kText, kBytes };

/// Where a reply carries its status.
struct StatusPlace {
    std::uint32_t offset;
    std::uint32_t size;  ///< 4, or 1 for a reply that is one byte
};

/// One message of the contract.
struct CatalogueEntry {
    enum class Kind : std::uint8_t {
        kRequest,
        kPosted,  ///< sent to the service like a request, but without a reply
        kNotification,
    };

    const char* name;
    std::chrono::milliseconds timeout;  ///< 0 where there is no reply
    std::int32_t id;
    std::uint32_t size;  ///< of its record; 0 for other forms
    std::uint32_t replySize;
    std::optional<StatusPlace> status;  ///< none where the reply has no such place
    Kind kind;
    PayloadForm form;  ///< of the request, or the notification
    PayloadForm replyForm;

    bool IsSentToService() const noexcept { return kind != Kind::kNotification; }
};

template <typename Record>
constexpr PayloadForm FormOf()
{
    if constexpr (std::is_same_v<Record, Nothing>) {
        return PayloadForm::kNothing;
    } else if constexpr (std::is_same_v<Record, Text>) {
        return PayloadForm::kText;
    } else if constexpr (std::is_same_v<Record, Bytes>) {
        return PayloadForm::kBytes;
    } else {
        return PayloadForm::kRecord;
    }
}

/// A reply's status is its field `status` or `errorCode`; a reply that is a single value has it
/// there.
template <typename Reply>
constexpr std::optional<StatusPlace> StatusPlaceOf()
{
    if constexpr (requires(Reply reply) {
                      {
                          reply.status
                          } -> std::convertible_to<std::int32_t>;
                  }) {
        return StatusPlace{offsetof(Reply, status), sizeof(Reply::status)};
    } else if constexpr (requires(Reply reply) {
                             {
                                 reply.errorCode
                                 } -> std::convertible_to<std::int32_t>;
                         }) {
        return StatusPlace{offsetof(Reply, errorCode), sizeof(Reply::errorCode)};
    } else if constexpr (FormOf<Reply>() == PayloadForm::kRecord &&
                         (sizeof(Reply) == 1 || sizeof(Reply) == 4)) {
        return StatusPlace{0, sizeof(Reply)};
    } else {
        return std::nullopt;
    }
}

/// An operation whose reply is Nothing is posted.
template <typename Request, typename Reply>
constexpr CatalogueEntry Describe(const Operation<Request, Reply>& operation)
{
    constexpr bool kPosted = std::is_same_v<Reply, Nothing>;
    return {
        .name = operation.name,
        .timeout = operation.timeout,
        .id = operation.id,
        .size = WireSize<Request>(),
        .replySize = WireSize<Reply>(),
        .status = StatusPlaceOf<Reply>(),
        .kind = kPosted ? CatalogueEntry::Kind::kPosted : CatalogueEntry::Kind::kRequest,
        .form = FormOf<Request>(),
        .replyForm = FormOf<Reply>(),
    };
}

template <typename Record>
constexpr CatalogueEntry Describe(const Notification<Record>& notification)
{
    return {
        .name = notification.name,
        .timeout = std::chrono::milliseconds(0),
        .id = notification.id,
        .size = WireSize<Record>(),
        .replySize = 0,
        .status = std::nullopt,
        .kind = CatalogueEntry::Kind::kNotification,
        .form = FormOf<Record>(),
        .replyForm = PayloadForm::kNothing,
    };
}

/// One line per message, family by family.
inline constexpr CatalogueEntry kCatalogue[] = {
    // Service link
    Describe(kRepairResource),
    Describe(kServiceStarted),
    // Adapter
    Describe(kRegisterBtStateChange),
    Describe(kBtEnable),
    Describe(kBtDisable),
    Describe(kIsBtEnabled),
    Describe(kGetBtMacAndName),
    Describe(kSetBtName),
    Describe(kGetBtName),
    Describe(kGetBtRunningState),
    Describe(kIsDeviceConnected),
    Describe(kBtStateChanged),
    // Scanner
    Describe(kRegisterScanListener),
    Describe(kUnregisterScanListener),
    Describe(kStartBleScan),
    Describe(kStopBleScan),
    Describe(kSetScanFilter),
    Describe(kRemoveScanFilter),
    Describe(kScanStatus),
    Describe(kScanResult),
    // Targeted advertisements
    Describe(kRegisterTargetAdv),
    Describe(kUnregisterTargetAdv),
    Describe(kPushTargetAdv),
    Describe(kTargetAdvReceived),
    // Advertiser
    Describe(kRegisterAdvertiser),
    Describe(kUnregisterAdvertiser),
    Describe(kStartAdvertise),
    Describe(kStopAdvertise),
    Describe(kAdvertiseDisabled),
    // GATT client
    Describe(kGattClientRegister),
    Describe(kGattClientUnRegister),
    Describe(kGattClientConnect),
    Describe(kGattClientDisconnect),
    Describe(kGattClientSearchServices),
    Describe(kGattClientGetService),
    Describe(kGattClientRead),
    Describe(kGattClientWrite),
    Describe(kGattClientRegisterNotification),
    Describe(kGattClientGetMtu),
    Describe(kGattConnectionState),
    Describe(kGattConnectionEnd),
    Describe(kGattNotification),
    // GATT server
    Describe(kGattServerRegister),
    Describe(kGattServerUnRegister),
    Describe(kGattServerAddService),
    Describe(kGattServerDeleteService),
    Describe(kGattServerAddCharacteristic),
    Describe(kGattServerStartService),
    Describe(kGattServerStopService),
    Describe(kGattServerPublishNotify),
    Describe(kGattPeerConnected),
    Describe(kGattPeerDisconnected),
    Describe(kGattNotifySent),
    Describe(kGattMtuChanged),
    Describe(kGattPeerReads),
    Describe(kGattPeerWrites),
    // Wi-Fi Direct group
    Describe(kGetChannelListFor5G),
    Describe(kGetFrequency),
    Describe(kGetBaseMacAddress),
    Describe(kGetGroupConfig),
    Describe(kCreateGroup),
    Describe(kRemoveGroup),
    Describe(kIsWifiActive),
    Describe(kGetGroupInfoConnected),
    Describe(kRegisterSoftApStateChanged),
    Describe(kUnRegisterSoftApStateChanged),
    Describe(kSoftApGroupsChange),
    Describe(kSoftApConnectionStateChange),
    // Wi-Fi Direct configuration
    Describe(kGetSelfWifiCfgInfo),
    Describe(kSetPeerWifiCfgInfo),
    Describe(kSharedlinkIncrease),
    Describe(kSharedlinkDecrease),
    Describe(kGetIfaceCoexistCap),
    Describe(kGetRecommendChannel),
    Describe(kSetConnNotify),
    Describe(kSetUpperScene),
    Describe(kRegisterWifiCfg),
    Describe(kGetGuidByInterfaceName),
    Describe(kSetWifiCardStateNotify),
    Describe(kWifiCfgChanged),
    Describe(kConnNotify),
    Describe(kWifiCardStateChange),
    // Soft AP
    Describe(kSystemRefreshSoftAPChannel),
    Describe(kSystemCreateSoftAP),
    Describe(kSystemDestroySoftAP),
    Describe(kRegistSoftApConnectStatus),
    Describe(kGetSoftAPChannel),
    Describe(kSetPairDeviceModelName),
    Describe(kGetPairDeviceModelName),
    Describe(kGetRestartMobileHotpotFlag),
    Describe(kSetRestartMobileHotpotFlag),
    Describe(kGetLegacyAPIP),
    Describe(kResetWakeUpCount),
    Describe(kGetWakeUpRestartCount),
    Describe(kGetRestartCount),
    Describe(kRestartWiFiDirectVirtualAdapter),
    Describe(kGetAdapterIndex),
    Describe(kGetAdapterGuid),
    Describe(kCheckMySoftAPExist),
    Describe(kGetSSID),
    Describe(kChangeSSIDAndPasswd),
    Describe(kSetListProductType),
    Describe(kGetSoftApError),
    Describe(kIsAPConnected),
    Describe(kRegisterSoftApNotification),
    Describe(kUnRegisterSoftApNotification),
    Describe(kSoftApConnectStatus),
    Describe(kSoftApAdvertisement),
    Describe(kSoftApDeviceConnection),
    // Channel bookkeeping
    Describe(kGetPCChannelList),
    Describe(kSetPhoneCurrentChannel),
    Describe(kAddPhoneSupportChannel),
    Describe(kRemovePhoneSupportChannels),
    Describe(kCheckIsSet5GFailed),
    Describe(kAddPhoneSupport24Channel),
    Describe(kRepickChannelWithoutEffect),
    Describe(kGetFrequenceType),
    Describe(kGetRecordPhone24GChannelList),
    Describe(kGetRecordPhoneChannelList),
    Describe(kGetPCSupportChannelList),
    Describe(kGetRecordPhoneChannel),
    Describe(kGetPhoneChannelList),
    Describe(kIs5GChannel),
    Describe(kIs24GChannel),
    Describe(kGetFrequencyFromChannel),
    Describe(kSetAPFrequence),
    // Wi-Fi state
    Describe(kEnableWifi),
    Describe(kGetWifiState),
    Describe(kRegistWifiStateChangeCallback),
    Describe(kUnRegistWifiStateChangeCallback),
    Describe(kRegistWifiStateChangeCallBack),
    Describe(kWifiConnectChannel),
    Describe(kWifiSwitchState),
    // Connection errors
    Describe(kErrorStatus),
};

/// The message with this id that goes to the service. Where one id names two of them, the one whose
/// record is as long as the payload is meant, or else the one with the longer record.
constexpr const CatalogueEntry* FindRequest(std::int32_t id, std::size_t payloadLength)
{
    const CatalogueEntry* longest = nullptr;
    for (const CatalogueEntry& entry : kCatalogue) {
        if (entry.id != id || !entry.IsSentToService()) {
            continue;
        }
        if (entry.size == payloadLength) {
            return &entry;
        }
        longest = longest == nullptr || entry.size > longest->size ? &entry : longest;
    }
    return longest;
}

constexpr const CatalogueEntry* FindNotification(std::int32_t id)
{
    const auto* const found = std::find_if(
        std::begin(kCatalogue), std::end(kCatalogue),
        [id](const CatalogueEntry& entry) { return entry.id == id && !entry.IsSentToService(); });
    return found != std::end(kCatalogue) ? found : nullptr;
}

constexpr const CatalogueEntry* FindByName(std::string_view name)
{
    const auto* const found =
        std::find_if(std::begin(kCatalogue), std::end(kCatalogue),
                     [name](const CatalogueEntry& entry) { return entry.name == name; });
    return found != std::end(kCatalogue) ? found : nullptr;
}

}  // namespace pelacon::protocol
