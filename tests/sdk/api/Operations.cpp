#include <PelaconSDK/PelaconSDK.h>
#include <protocol/BleAdvertiser.h>
#include <protocol/BleScanner.h>
#include <protocol/GattClient.h>
#include <protocol/GattServer.h>
#include <protocol/SoftAp.h>
#include <protocol/Vod2dGroup.h>
#include <tests/sdk/api/Operations.h>

#include <type_traits>

namespace pelacon::test {

namespace {

// ---- Arguments: everything is 0, but there is room for what a pointer points to.

constexpr std::size_t kRoom = 64;
constexpr std::int32_t kCount = 4;

template <typename Type>
Type Argument()
{
    if constexpr (std::is_same_v<Type, const char*>) {
        return "180d";
    } else if constexpr (std::is_same_v<Type, const char* const*>) {
        static const char* const texts[kCount] = {"a", "b", "c", "d"};
        return texts;
    } else if constexpr (std::is_same_v<Type, std::int32_t>) {
        return kCount;
    } else if constexpr (std::is_same_v<Type, void*> || !std::is_pointer_v<Type>) {
        return {};
    } else if constexpr (std::is_function_v<std::remove_pointer_t<Type>>) {
        return nullptr;
    } else if constexpr (sizeof(std::remove_pointer_t<Type>) == 1) {
        static std::remove_const_t<std::remove_pointer_t<Type>> bytes[2048];
        return bytes;
    } else {
        static std::remove_const_t<std::remove_pointer_t<Type>> records[kRoom];
        return records;
    }
}

// ---- Results, as the document shows them.

std::string Code(const std::string& text)
{
    return "`" + text + "`";
}

std::string Shown(BleStatusC result)
{
    return Code(PelaconStatusName(kPelaconStatusBle, result));
}

std::string Shown(WifiErrorCode result)
{
    return Code(PelaconStatusName(kPelaconStatusWifi, result));
}

std::string Shown(BtRunningState result)
{
    return Code(result == kBtStateUnknown ? "kBtStateUnknown" : std::to_string(result));
}

std::string Shown(DeviceConnectStatus result)
{
    return Code(result == kDeviceConnectUnknown ? "kDeviceConnectUnknown" : std::to_string(result));
}

std::string Shown(SystemApiEnableWifiResult result)
{
    return Code(result == kEnableWifiNoAnswer ? "kEnableWifiNoAnswer" : std::to_string(result));
}

std::string Shown(SystemApiWifiState result)
{
    return Code(result == kWifiStateUnknown ? "kWifiStateUnknown" : std::to_string(result));
}

std::string Shown(WifiFrequenceType result)
{
    return Code(result == kWifiFrequenceUnknown ? "kWifiFrequenceUnknown" : std::to_string(result));
}

std::string Shown(bool result)
{
    return result ? "true" : "false";
}

std::string Shown(const char* result)
{
    return result;
}

template <typename Number>
std::string Shown(Number result)
{
    return std::to_string(result);
}

template <typename Result, typename... Arguments>
ApiOperation Of(const char* name, Result (*function)(Arguments...), std::string lock = {},
                std::string callbacks = {})
{
    const auto call = [function]() -> std::string {
        if constexpr (std::is_void_v<Result>) {
            function(Argument<Arguments>()...);
            return {};
        } else {
            return Shown(function(Argument<Arguments>()...));
        }
    };
    return {name, call, std::move(lock), std::move(callbacks)};
}

/// An operation that refuses the usual arguments.
template <typename Function>
ApiOperation WithArguments(const char* name, std::string lock, const Function& function)
{
    return {name, [function] { return Shown(function()); }, std::move(lock)};
}

constexpr auto kScanner = "scanning";
constexpr auto kAdvertiser = "advertising";
constexpr auto kGattClient = "GATT client";
constexpr auto kGattServer = "GATT server";
constexpr auto kWifiDirect = "Wi-Fi Direct";
constexpr auto kSoftAp = "soft AP";

constexpr auto kAdapterCallbacks = "adapter state";
constexpr auto kScanCallbacks = "scan status";
constexpr auto kAdvertiserCallbacks = "advertiser";
constexpr auto kGattClientCallbacks = "GATT client";
constexpr auto kGattServerCallbacks = "GATT server";
constexpr auto kGroupCallbacks = "group and stations";
constexpr auto kConfigCallbacks = "configuration";
constexpr auto kConnectionCallbacks = "connection";
constexpr auto kCardCallbacks = "card";
constexpr auto kSoftApConnectionCallbacks = "soft AP connection";
constexpr auto kSoftApCallbacks = "soft AP";
constexpr auto kSwitchCallbacks = "Wi-Fi switch";
constexpr auto kChannelCallbacks = "Wi-Fi channel";

}  // namespace

const std::vector<OperationLock>& OperationLocks()
{
    static const std::vector<OperationLock>& locks = *new std::vector<OperationLock>{
        {kScanner, protocol::kRemoveScanFilter.id, [] { RemoveScanFilter(0); }},
        {kAdvertiser, protocol::kStopAdvertise.id, [] { BleStopAdvertise(0); }},
        {kGattClient, protocol::kGattClientDisconnect.id, [] { BleGattClientDisconnect(0); }},
        {kGattServer, protocol::kGattServerStopService.id, [] { BleGattServerStopService(0, 0); }},
        {kWifiDirect, protocol::kGetFrequency.id, [] { Vod2dGetFrequency(); }},
        {kSoftAp, protocol::kGetSoftApError.id, [] { WifiSystemGetSoftApError(); }},
    };
    return locks;
}

const std::vector<CallbackKind>& CallbackKinds()
{
    static const std::vector<CallbackKind>& kinds = *new std::vector<CallbackKind>{
        {kAdapterCallbacks, "BleManager"},
        {kScanCallbacks, "BleScanner"},
        {kAdvertiserCallbacks, "BleAdvertiser"},
        {kGattClientCallbacks, "BleGattClient"},
        {kGattServerCallbacks, "BleGattServer"},
        {kGroupCallbacks, "Vod2dGroup"},
        {kConfigCallbacks, "Vod2dConfigurations"},
        {kConnectionCallbacks, "Vod2dConnections"},
        {kCardCallbacks, "Vod2dCards"},
        {kSoftApConnectionCallbacks, "SoftApConnections"},
        {kSoftApCallbacks, "SoftApNotifications"},
        {kSwitchCallbacks, "WifiSwitch"},
        {kChannelCallbacks, "WifiChannel"},
    };
    return kinds;
}

const std::vector<SpecialOperation>& SpecialOperations()
{
    static const std::vector<SpecialOperation>& operations = *new std::vector<SpecialOperation>{
        {"PelaconSvcStart",
         "waits for a start or a stop on another thread; inside a callback it "
         "does not wait for a stop"},
        {"PelaconSvcStop",
         "waits for a callback on the receive thread, unless it is called inside "
         "that callback"},
        {"WifiSystemDestroyInstance",
         "waits until the queued errors are delivered; refused inside "
         "an error listener"},
    };
    return operations;
}

const std::vector<ApiFamily>& ApiFamilies()
{
    static const std::vector<ApiFamily>& families = *new std::vector<ApiFamily>{
        {"Adapter",
         "`BleManager.h`, results [`BleStatusC`](results.md#bluetooth-le-and-gatt)",
         {
             Of("RegisterBtStateChangeCallbacks", RegisterBtStateChangeCallbacks, {},
                kAdapterCallbacks),
             Of("UnRegisterBtStateChangeCallbacks", UnRegisterBtStateChangeCallbacks, {},
                kAdapterCallbacks),
             Of("BtEnable", BtEnable),
             Of("BtDisable", BtDisable),
             Of("IsBtEnabled", IsBtEnabled),
             Of("GetBtRunningState", GetBtRunningState),
             Of("GetBtMacAndName", GetBtMacAndName),
             Of("SetBtName", SetBtName),
             Of("GetBtName", GetBtName),
             Of("IsDeviceConnected", IsDeviceConnected),
         }},
        {"Scanning",
         "`BleScanner.h`, results [`BleStatusC`](results.md#bluetooth-le-and-gatt)",
         {
             Of("BleScanRegisterCallbacks", BleScanRegisterCallbacks, kScanner, kScanCallbacks),
             Of("BleScanUnRegisterCallbacks", BleScanUnRegisterCallbacks, kScanner, kScanCallbacks),
             Of("StartBleScan", StartBleScan, kScanner),
             Of("StopBleScan", StopBleScan, kScanner),
             Of("SetScanFilter", SetScanFilter, kScanner),
             Of("RemoveScanFilter", RemoveScanFilter, kScanner),
             Of("BleGetAdvDataByType", BleGetAdvDataByType),
             Of("BleGetManufacturerDataByCompanyId", BleGetManufacturerDataByCompanyId),
             Of("BleGetServiceDataByUuid", BleGetServiceDataByUuid),
         }},
        {"Targeted advertisements",
         "`BleScanner.h`, results [`BleStatusC`](results.md#bluetooth-le-and-gatt)",
         {
             Of("BleRegisterTargetAdvCallback", BleRegisterTargetAdvCallback),
             Of("BleUnRegisterTargetAdvCallback", BleUnRegisterTargetAdvCallback),
             Of("BleOnRecvVoviewData", BleOnRecvVoviewData),
         }},
        {"Advertising",
         "`BleAdvertiser.h`, results [`BleStatusC`](results.md#bluetooth-le-and-gatt)",
         {
             Of("BleAdvRegisterCallbacks", BleAdvRegisterCallbacks, kAdvertiser,
                kAdvertiserCallbacks),
             Of("BleAdvUnRegisterCallbacks", BleAdvUnRegisterCallbacks, kAdvertiser,
                kAdvertiserCallbacks),
             Of("BleStartAdvertise", BleStartAdvertise, kAdvertiser),
             Of("BleStopAdvertise", BleStopAdvertise, kAdvertiser),
         }},
        {"GATT client",
         "`BleGattClient.h`, results [`BleStatusC`](results.md#bluetooth-le-and-gatt)",
         {
             Of("BleGattClientRegister", BleGattClientRegister, kGattClient),
             Of("BleGattClientUnRegister", BleGattClientUnRegister, kGattClient),
             Of("BleGattClientConnect", BleGattClientConnect, kGattClient, kGattClientCallbacks),
             Of("BleGattClientDisconnect", BleGattClientDisconnect, kGattClient),
             Of("BleGattClientSearchServices", BleGattClientSearchServices, kGattClient),
             Of("BleGattClientGetService", BleGattClientGetService, kGattClient),
             Of("BleGattClientReadCharacteristic", BleGattClientReadCharacteristic, kGattClient),
             Of("BleGattClientWriteCharacteristic", BleGattClientWriteCharacteristic, kGattClient),
             Of("BleGattClientRegisterNotification", BleGattClientRegisterNotification,
                kGattClient),
             Of("BleGattClientGetMtu", BleGattClientGetMtu, kGattClient),
         }},
        {"GATT server",
         "`BleGattServer.h`, results [`BleStatusC`](results.md#bluetooth-le-and-gatt)",
         {
             Of("BleGattServerRegister", BleGattServerRegister, kGattServer, kGattServerCallbacks),
             Of("BleGattServerUnRegister", BleGattServerUnRegister, kGattServer,
                kGattServerCallbacks),
             Of("BleGattServerAddService", BleGattServerAddService, kGattServer,
                kGattServerCallbacks),
             Of("BleGattServerDeleteService", BleGattServerDeleteService, kGattServer,
                kGattServerCallbacks),
             Of("BleGattServerAddCharacteristic", BleGattServerAddCharacteristic, kGattServer,
                kGattServerCallbacks),
             Of("BleGattServerStartService", BleGattServerStartService, kGattServer),
             Of("BleGattServerStopService", BleGattServerStopService, kGattServer),
             Of("BleGattServerPublishNotify", BleGattServerPublishNotify, kGattServer),
             WithArguments("BleGattServerPublishNotifyExt", kGattServer,
                           [] {
                               BleGattNotifyInfoC info{};
                               info.valueLen = 1;
                               return BleGattServerPublishNotifyExt(&info);
                           }),
         }},
        {"Wi-Fi Direct groups",
         "`Vod2dGroup.h`, results [`WifiErrorCode`](results.md#wi-fi-direct)",
         {
             Of("Vod2dCreateGroup", Vod2dCreateGroup, kWifiDirect),
             Of("Vod2dRemoveGroup", Vod2dRemoveGroup, kWifiDirect),
             Of("Vod2dGetGroupConfig", Vod2dGetGroupConfig, kWifiDirect),
             Of("Vod2dGetGroupInfoConnected", Vod2dGetGroupInfoConnected, kWifiDirect),
             Of("Vod2dIsWifiActive", Vod2dIsWifiActive, kWifiDirect),
             Of("Vod2dGetFrequency", Vod2dGetFrequency, kWifiDirect),
             Of("Vod2dGetChannelListFor5G", Vod2dGetChannelListFor5G, kWifiDirect),
             WithArguments("Vod2dGetBaseMacAddress", kWifiDirect,
                           [] { return Vod2dGetBaseMacAddress(Argument<char*>(), 6); }),
             Of("Vod2dRegisterSoftAPStateChangedCallback", Vod2dRegisterSoftAPStateChangedCallback,
                kWifiDirect, kGroupCallbacks),
             Of("Vod2dUnRegisterSoftAPStateChangedCallback",
                Vod2dUnRegisterSoftAPStateChangedCallback, kWifiDirect, kGroupCallbacks),
         }},
        {"Wi-Fi Direct configuration",
         "`Vod2dConfig.h`, results [`WifiErrorCode`](results.md#wi-fi-direct)",
         {
             Of("Vod2dGetSelfWifiCfgInfo", Vod2dGetSelfWifiCfgInfo, kWifiDirect),
             Of("Vod2dSetPeerWifiCfgInfo", Vod2dSetPeerWifiCfgInfo, kWifiDirect),
             Of("Vod2dRegisterWifiCfgCallback", Vod2dRegisterWifiCfgCallback, kWifiDirect,
                kConfigCallbacks),
             Of("Vod2dGetIfaceCoexistCap", Vod2dGetIfaceCoexistCap, kWifiDirect),
             Of("Vod2dGetRecommendChannel", Vod2dGetRecommendChannel, kWifiDirect),
             Of("Vod2dSetWifiCardStateNotify", Vod2dSetWifiCardStateNotify, kWifiDirect,
                kCardCallbacks),
             Of("Vod2dSetConnNotify", Vod2dSetConnNotify, kWifiDirect, kConnectionCallbacks),
             Of("Vod2dSetUpperScene", Vod2dSetUpperScene, kWifiDirect),
             Of("GetGuidByInterfaceName", GetGuidByInterfaceName, kWifiDirect),
             Of("Vod2dOrvidSharedlinkIncrease", Vod2dOrvidSharedlinkIncrease, kWifiDirect),
             Of("Vod2dOrvidSharedlinkDecrease", Vod2dOrvidSharedlinkDecrease, kWifiDirect),
         }},
        {"Soft AP",
         "`WifiSystem.h`, results [`SoftApResult`](results.md#soft-ap)",
         {
             Of("WifiSystemCreateSoftAP", WifiSystemCreateSoftAP, kSoftAp),
             Of("WifiSystemDestroySoftAP", WifiSystemDestroySoftAP, kSoftAp),
             Of("WifiSystemRefreshSoftAPChannel", WifiSystemRefreshSoftAPChannel, kSoftAp),
             Of("WifiSystemGetSoftAPChannel", WifiSystemGetSoftAPChannel),
             Of("WifiSystemCheckMySoftAPExist", WifiSystemCheckMySoftAPExist, kSoftAp),
             Of("WifiSystemGetSSID", WifiSystemGetSSID, kSoftAp),
             Of("WifiSystemChangeSSIDAndPasswd", WifiSystemChangeSSIDAndPasswd, kSoftAp),
             Of("WifiSystemGetSoftApError", WifiSystemGetSoftApError, kSoftAp),
             Of("WifiSystemGetLegacyAPIP", WifiSystemGetLegacyAPIP),
             Of("WifiSystemIsAPConnected", WifiSystemIsAPConnected, kSoftAp),
         }},
        {"The paired device, and restarts for it",
         "`WifiSystem.h`",
         {
             Of("WifiSystemSetPairDeviceModelName", WifiSystemSetPairDeviceModelName),
             Of("WifiSystemGetPairDeviceModelName", WifiSystemGetPairDeviceModelName),
             Of("WifiSystemSetListProductType", WifiSystemSetListProductType),
             Of("WifiSystemGetRestartMobileHotpotFlag", WifiSystemGetRestartMobileHotpotFlag),
             Of("WifiSystemSetRestartMobileHotpotFlag", WifiSystemSetRestartMobileHotpotFlag),
             Of("WifiSystemRestartWiFiDirectVirtualAdapter",
                WifiSystemRestartWiFiDirectVirtualAdapter),
             Of("WifiSystemGetRestartCount", WifiSystemGetRestartCount),
             Of("WifiSystemGetWakeUpRestartCount", WifiSystemGetWakeUpRestartCount),
             Of("WifiSystemResetWakeUpCount", WifiSystemResetWakeUpCount),
             Of("WifiSystemGetAdapterIndex", WifiSystemGetAdapterIndex),
             Of("WifiSystemGetAdapterGuid", WifiSystemGetAdapterGuid),
         }},
        {"Callbacks for the soft AP",
         "`WifiSystem.h`",
         {
             Of("WifiSystemRegistSoftApConnectStatus", WifiSystemRegistSoftApConnectStatus, kSoftAp,
                kSoftApConnectionCallbacks),
             Of("WifiSystemRegisterSoftApNotificationEventCallback",
                WifiSystemRegisterSoftApNotificationEventCallback, {}, kSoftApCallbacks),
             Of("WifiSystemUnRegisterSoftApNotificationEventCallback",
                WifiSystemUnRegisterSoftApNotificationEventCallback, {}, kSoftApCallbacks),
         }},
        {"Channels",
         "`WifiSystem.h`",
         {
             Of("WifiSystemGetPCChannelList", WifiSystemGetPCChannelList),
             Of("WifiSystemGetPCSupportChannelList", WifiSystemGetPCSupportChannelList),
             Of("WifiSystemSetPhoneCurrentChannel", WifiSystemSetPhoneCurrentChannel),
             Of("WifiSystemGetRecordPhoneChannel", WifiSystemGetRecordPhoneChannel),
             Of("WifiSystemAddPhoneSupportChannel", WifiSystemAddPhoneSupportChannel),
             Of("WifiSystemAddPhoneSupport24Channel", WifiSystemAddPhoneSupport24Channel),
             Of("WifiSystemRemovePhoneSupportChannels", WifiSystemRemovePhoneSupportChannels),
             Of("WifiSystemGetRecordPhoneChannelList", WifiSystemGetRecordPhoneChannelList),
             Of("WifiSystemGetRecordPhone24GChannelList", WifiSystemGetRecordPhone24GChannelList),
             Of("WifiSystemGetPhoneChannelList", WifiSystemGetPhoneChannelList),
             Of("WifiSystemCheckIsSet5GFailed", WifiSystemCheckIsSet5GFailed),
             Of("WifiSystemRepickChannelWithoutEffect", WifiSystemRepickChannelWithoutEffect,
                kSoftAp),
             Of("WifiSystemSetAPFrequence", WifiSystemSetAPFrequence, kSoftAp),
             Of("WifiSystemGetFrequenceType", WifiSystemGetFrequenceType),
             Of("WifiSystemIs5GChannel", WifiSystemIs5GChannel),
             Of("WifiSystemIs24GChannel", WifiSystemIs24GChannel),
             Of("WifiSystemGetFrequencyFromChannel", WifiSystemGetFrequencyFromChannel),
         }},
        {"The Wi-Fi switch",
         "`WifiSystem.h`",
         {
             Of("WifiSystemEnableWifi", WifiSystemEnableWifi),
             Of("WifiSystemGetWifiState", WifiSystemGetWifiState),
             Of("WifiSystemRegistWifiStateChangeCallback", WifiSystemRegistWifiStateChangeCallback,
                {}, kSwitchCallbacks),
             Of("WifiSystemUnRegistWifiStateChangeCallback",
                WifiSystemUnRegistWifiStateChangeCallback, {}, kSwitchCallbacks),
             Of("WifiSystemRegistWifiChannelCallback", WifiSystemRegistWifiChannelCallback, kSoftAp,
                kChannelCallbacks),
             Of("WifiSystemScan", WifiSystemScan),
         }},
        {"Connection errors",
         "`WifiSystem.h`",
         {
             Of("WifiSystemRegistListener", WifiSystemRegistListener),
             Of("WifiSystemUnregistListener", WifiSystemUnregistListener),
             Of("WifiSystemPostNotification", WifiSystemPostNotification),
             Of("WifiSystemGetErrorString", WifiSystemGetErrorString),
         }},
        {"The library itself",
         "`Diagnostics.h`, `ServiceState.h`, `Status.h`, `Version.h`",
         {
             Of("PelaconSetLogSink", PelaconSetLogSink),
             Of("PelaconSetEventSink", PelaconSetEventSink),
             Of("PelaconSetServiceSink", PelaconSetServiceSink),
             Of("PelaconGetServiceState", PelaconGetServiceState),
             Of("PelaconGetServicePath", PelaconGetServicePath),
             Of("PelaconStatusName", PelaconStatusName),
             Of("PelaconStatusText", PelaconStatusText),
             Of("PelaconGetVersion", PelaconGetVersion),
             Of("PelaconGetVersionNumber", PelaconGetVersionNumber),
         }},
    };
    return families;
}

}  // namespace pelacon::test
