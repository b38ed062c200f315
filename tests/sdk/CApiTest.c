/* Every C entry point from a C11 program, with the library as applications get it and no service:
 * before the start operations are refused, after it they are not answered, after the stop they are
 * refused again. */
#include <PelaconSDK/PelaconSDK.h>

#include <stdio.h>
#include <string.h>

static int failures = 0;

static void Expect(const char* what, long is, long shouldBe)
{
    if (is != shouldBe) {
        printf("%s is %ld, not %ld\n", what, is, shouldBe);
        ++failures;
    }
}

/* What operations return while the library is not started, or without a service. */
typedef struct Failed {
    BleStatusC ble;
    BleStatusC posted;
    WifiErrorCode wifi;
} Failed;

static const Failed refused = {kBleStatusFailed, kBleStatusFailed, kWifiFailed};
static const Failed unanswered = {kBleStatusNoReply, kBleStatusSuccess, kWifiNoReply};

/* Tables that stay with the library for good. */
static BtGattClientCallbacksC clientTable;

static void CallBleManager(Failed failed)
{
    BtManagerCallbacksC table = {NULL};
    BtInfo info;
    uint8_t name[64];
    int32_t size = (int32_t)sizeof name;
    Expect("RegisterBtStateChangeCallbacks", RegisterBtStateChangeCallbacks(&table), failed.ble);
    Expect("UnRegisterBtStateChangeCallbacks", UnRegisterBtStateChangeCallbacks(&table), 0);
    Expect("BtEnable", BtEnable(), failed.ble);
    Expect("BtDisable", BtDisable(), failed.ble);
    Expect("IsBtEnabled", IsBtEnabled(), false);
    Expect("GetBtRunningState", GetBtRunningState(), kBtStateUnknown);
    Expect("GetBtMacAndName", GetBtMacAndName(&info), failed.ble);
    Expect("SetBtName", SetBtName("name", 4), failed.ble);
    Expect("GetBtName", GetBtName(name, &size), failed.ble);
    Expect("IsDeviceConnected", IsDeviceConnected(1, kBluetoothLe), kDeviceConnectUnknown);

    Expect("RegisterBtStateChangeCallbacks(NULL)", RegisterBtStateChangeCallbacks(NULL),
           kBleStatusFailed);
    Expect("GetBtMacAndName(NULL)", GetBtMacAndName(NULL), kBleStatusFailed);
    Expect("SetBtName(NULL)", SetBtName(NULL, 0), kBleStatusFailed);
    Expect("SetBtName(-1)", SetBtName("name", -1), kBleStatusFailed);
}

static void CallBleScanner(Failed failed)
{
    BleScanCallbacksC table = {NULL, NULL};
    VoviewRecvAdvCallbacksC targetTable = {NULL};
    BleScanFilter filter;
    TargetAdvFilter targetFilter;
    TargetAdvInfo target;
    int listener = 0;
    memset(&filter, 0, sizeof filter);
    memset(&targetFilter, 0, sizeof targetFilter);
    memset(&target, 0, sizeof target);
    Expect("BleScanRegisterCallbacks", BleScanRegisterCallbacks(&table, &listener), failed.ble);
    Expect("StartBleScan", StartBleScan(1, kBleScanLowLatency), failed.ble);
    Expect("StopBleScan", StopBleScan(1), failed.ble);
    Expect("SetScanFilter", SetScanFilter(1, &filter, 1), failed.ble);
    Expect("RemoveScanFilter", RemoveScanFilter(1), failed.ble);
    Expect("BleScanUnRegisterCallbacks", BleScanUnRegisterCallbacks(1), failed.ble);
    Expect("BleRegisterTargetAdvCallback", BleRegisterTargetAdvCallback(targetFilter, &targetTable),
           failed.ble);
    Expect("BleUnRegisterTargetAdvCallback", BleUnRegisterTargetAdvCallback(kBleTargetPairing),
           failed.ble);
    Expect("BleOnRecvVoviewData", BleOnRecvVoviewData(target), failed.ble);
}

static void CallBleAdvertiser(Failed failed)
{
    static const uint8_t bytes[] = {2, 1, 6};
    BleAdvCallbacksC table = {NULL};
    BleAdvertiseParamsC params;
    BleAdvertiseDataC data = {sizeof bytes, bytes, 0, NULL};
    int advertiser = 0;
    memset(&params, 0, sizeof params);
    Expect("BleAdvRegisterCallbacks", BleAdvRegisterCallbacks(&table, &advertiser), failed.ble);
    Expect("BleStartAdvertise", BleStartAdvertise(1, &params, &data), failed.ble);
    Expect("BleStopAdvertise", BleStopAdvertise(1), failed.ble);
    Expect("BleAdvUnRegisterCallbacks", BleAdvUnRegisterCallbacks(1), failed.ble);
}

static void CallGattClient(Failed failed)
{
    uint8_t value[kBleGattMaxValueLength] = {0};
    uint32_t length = 0;
    int32_t client = 0;
    int32_t mtu = 0;
    Expect("BleGattClientRegister", BleGattClientRegister(&client), failed.ble);
    Expect("BleGattClientConnect", BleGattClientConnect(1, 2, &clientTable), failed.posted);
    Expect("BleGattClientSearchServices", BleGattClientSearchServices(1), failed.ble);
    Expect("BleGattClientGetService", BleGattClientGetService(1, "180D"), failed.ble);
    Expect("BleGattClientReadCharacteristic",
           BleGattClientReadCharacteristic(1, "180D", "2A37", value, &length), failed.ble);
    Expect("BleGattClientWriteCharacteristic",
           BleGattClientWriteCharacteristic(1, "180D", "2A37", value, 1), failed.ble);
    Expect("BleGattClientRegisterNotification",
           BleGattClientRegisterNotification(1, "180D", "2A37", true), failed.ble);
    Expect("BleGattClientGetMtu", BleGattClientGetMtu(1, &mtu), failed.ble);
    Expect("BleGattClientDisconnect", BleGattClientDisconnect(1), failed.ble);
    Expect("BleGattClientUnRegister", BleGattClientUnRegister(1), failed.ble);
}

static void CallGattServer(Failed failed)
{
    static const uint8_t value[] = {1};
    BtGattServerCallbacksC table;
    BLECharacteristicInfoC characteristic;
    BleGattNotifyInfoC notify;
    int32_t server = 0;
    int32_t service = 0;
    memset(&table, 0, sizeof table);
    memset(&characteristic, 0, sizeof characteristic);
    memset(&notify, 0, sizeof notify);
    notify.valueLen = 1;
    Expect("BleGattServerRegister", BleGattServerRegister(&table, &server), failed.ble);
    Expect("BleGattServerAddService", BleGattServerAddService(1, "180D", &service), failed.ble);
    Expect("BleGattServerAddCharacteristic", BleGattServerAddCharacteristic(1, 2, &characteristic),
           failed.ble);
    Expect("BleGattServerStartService", BleGattServerStartService(1, 2), failed.ble);
    Expect("BleGattServerPublishNotify",
           BleGattServerPublishNotify(1, 2, "2A37", value, sizeof value, 3), failed.ble);
    Expect("BleGattServerPublishNotifyExt", BleGattServerPublishNotifyExt(&notify), failed.ble);
    Expect("BleGattServerStopService", BleGattServerStopService(1, 2), failed.ble);
    Expect("BleGattServerDeleteService", BleGattServerDeleteService(1, 2), failed.ble);
    Expect("BleGattServerUnRegister", BleGattServerUnRegister(1), failed.ble);
}

static void CallVod2dGroup(Failed failed)
{
    Vod2dWifiBroadcastRecvCb table = {NULL, NULL};
    Vod2dSoftAPInfo info;
    Vod2dLinkGroup group;
    int32_t channels[1020];
    char address[6];
    bool active = false;
    memset(&info, 0, sizeof info);
    Expect("Vod2dCreateGroup", Vod2dCreateGroup(&info), failed.wifi);
    Expect("Vod2dRemoveGroup", Vod2dRemoveGroup(), failed.wifi);
    Expect("Vod2dGetGroupConfig", Vod2dGetGroupConfig(&info), failed.wifi);
    Expect("Vod2dGetGroupInfoConnected", Vod2dGetGroupInfoConnected(&group), failed.wifi);
    Expect("Vod2dIsWifiActive", Vod2dIsWifiActive(&active), failed.wifi);
    Expect("Vod2dGetFrequency", Vod2dGetFrequency(), failed.wifi);
    Expect("Vod2dGetChannelListFor5G", Vod2dGetChannelListFor5G(channels, 1020), failed.wifi);
    Expect("Vod2dGetBaseMacAddress", Vod2dGetBaseMacAddress(address, 6), failed.wifi);
    Expect("Vod2dRegisterSoftAPStateChangedCallback",
           Vod2dRegisterSoftAPStateChangedCallback(&table), failed.wifi);
    Expect("Vod2dUnRegisterSoftAPStateChangedCallback",
           Vod2dUnRegisterSoftAPStateChangedCallback(&table), failed.wifi);
}

static void CallVod2dConfig(Failed failed)
{
    Vod2dWifiCfgCallback table = {NULL};
    WifiCardStateCallback cardTable = {NULL};
    RecommendChannelRequest wish;
    RecommendChannelResponse channel;
    WifiCardStateInfo card = {0, 0};
    Vod2dConnNotifyRequest connections;
    Vod2dUpperScene scene;
    uint8_t configuration[512] = {0};
    char capabilities[256];
    char interfaceName[] = "wlan0";
    char guid[39];
    int32_t length = 0;
    memset(&wish, 0, sizeof wish);
    memset(&connections, 0, sizeof connections);
    memset(&scene, 0, sizeof scene);
    Expect("Vod2dGetSelfWifiCfgInfo",
           Vod2dGetSelfWifiCfgInfo(kSelfCfgStation, configuration, &length), failed.wifi);
    Expect("Vod2dSetPeerWifiCfgInfo", Vod2dSetPeerWifiCfgInfo(kPeerCfgStation, configuration, 1),
           failed.wifi);
    Expect("Vod2dRegisterWifiCfgCallback", Vod2dRegisterWifiCfgCallback(&table), failed.wifi);
    Expect("Vod2dGetIfaceCoexistCap", Vod2dGetIfaceCoexistCap(capabilities, &length), failed.wifi);
    Expect("Vod2dGetRecommendChannel", Vod2dGetRecommendChannel(&wish, 1, &channel), failed.wifi);
    Expect("Vod2dSetWifiCardStateNotify", Vod2dSetWifiCardStateNotify(&card, &length, &cardTable),
           failed.wifi);
    Expect("Vod2dSetConnNotify", Vod2dSetConnNotify(&connections, &table), failed.wifi);
    Expect("Vod2dSetUpperScene", Vod2dSetUpperScene(interfaceName, 5, scene), failed.wifi);
    Expect("GetGuidByInterfaceName", GetGuidByInterfaceName(interfaceName, 5, 39, guid),
           failed.wifi);
    Expect("Vod2dOrvidSharedlinkIncrease", Vod2dOrvidSharedlinkIncrease(), failed.wifi);
    Expect("Vod2dOrvidSharedlinkDecrease", Vod2dOrvidSharedlinkDecrease(), failed.wifi);
}

/* Tables that stay with the library for good. */
static SoftApConnectStatusCallbacksC connectTable;
static WifiChannelCallbacksC channelTable;

static void CallSoftAp(void)
{
    SoftApNotificationCallbacksC table = {NULL, NULL, NULL};
    const char* types[] = {"phone", "tablet"};
    SoftAPInfoC info;
    char text[64];
    int32_t channel = 0;
    memset(&info, 0, sizeof info);
    Expect("WifiSystemCreateSoftAP", WifiSystemCreateSoftAP(&info), -1);
    Expect("WifiSystemDestroySoftAP", WifiSystemDestroySoftAP(kGoPurposeAny), -1);
    Expect("WifiSystemRefreshSoftAPChannel", WifiSystemRefreshSoftAPChannel(), 0);
    Expect("WifiSystemGetSoftAPChannel", WifiSystemGetSoftAPChannel(), 0);
    Expect("WifiSystemCheckMySoftAPExist", WifiSystemCheckMySoftAPExist(), false);
    Expect("WifiSystemGetSSID", WifiSystemGetSSID(text, sizeof text), 0);
    WifiSystemChangeSSIDAndPasswd();
    Expect("WifiSystemGetSoftApError", WifiSystemGetSoftApError(), -1);
    Expect("WifiSystemGetLegacyAPIP", WifiSystemGetLegacyAPIP(text, sizeof text), 0);
    Expect("WifiSystemIsAPConnected", WifiSystemIsAPConnected(&channel, text, sizeof text), false);
    Expect("WifiSystemSetPairDeviceModelName", WifiSystemSetPairDeviceModelName("model"), false);
    Expect("WifiSystemGetPairDeviceModelName", WifiSystemGetPairDeviceModelName(text, sizeof text),
           0);
    Expect("WifiSystemSetListProductType", WifiSystemSetListProductType(types, 2), false);
    Expect("WifiSystemGetRestartMobileHotpotFlag", WifiSystemGetRestartMobileHotpotFlag(), false);
    WifiSystemSetRestartMobileHotpotFlag(true);
    Expect("WifiSystemRestartWiFiDirectVirtualAdapter",
           WifiSystemRestartWiFiDirectVirtualAdapter(true), false);
    Expect("WifiSystemGetRestartCount", (long)WifiSystemGetRestartCount(), 0);
    Expect("WifiSystemGetWakeUpRestartCount", (long)WifiSystemGetWakeUpRestartCount(), 0);
    WifiSystemResetWakeUpCount();
    Expect("WifiSystemGetAdapterIndex", (long)WifiSystemGetAdapterIndex(), 0);
    Expect("WifiSystemGetAdapterGuid", WifiSystemGetAdapterGuid(text, sizeof text), 0);
    WifiSystemRegistSoftApConnectStatus(&connectTable);
    Expect("WifiSystemRegisterSoftApNotificationEventCallback",
           WifiSystemRegisterSoftApNotificationEventCallback(&table), -1);
    Expect("WifiSystemUnRegisterSoftApNotificationEventCallback",
           WifiSystemUnRegisterSoftApNotificationEventCallback(&table), -1);

    Expect("WifiSystemCreateSoftAP(NULL)", WifiSystemCreateSoftAP(NULL), -1);
    Expect("WifiSystemGetSSID(NULL)", WifiSystemGetSSID(NULL, 1), -1);
    Expect("WifiSystemSetListProductType(-1)", WifiSystemSetListProductType(types, -1), false);
}

static void CallChannels(void)
{
    char texts[2][258];
    int32_t channels[2][64];
    int32_t counts[2] = {64, 64};
    int32_t current = 0;
    Expect("WifiSystemGetPCChannelList",
           WifiSystemGetPCChannelList(texts[0], 258, texts[1], 258, &current), false);
    Expect("WifiSystemGetPCSupportChannelList",
           WifiSystemGetPCSupportChannelList(channels[0], &counts[0], channels[1], &counts[1],
                                             &current),
           false);
    WifiSystemSetPhoneCurrentChannel(36);
    Expect("WifiSystemGetRecordPhoneChannel", WifiSystemGetRecordPhoneChannel(), 0);
    WifiSystemAddPhoneSupportChannel(36);
    WifiSystemAddPhoneSupport24Channel(6);
    WifiSystemRemovePhoneSupportChannels();
    Expect("WifiSystemGetRecordPhoneChannelList",
           WifiSystemGetRecordPhoneChannelList(channels[0], 64), 0);
    Expect("WifiSystemGetRecordPhone24GChannelList",
           WifiSystemGetRecordPhone24GChannelList(channels[0], 64), 0);
    Expect("WifiSystemGetPhoneChannelList", WifiSystemGetPhoneChannelList(texts[0], 258), 0);
    WifiSystemCheckIsSet5GFailed();
    Expect("WifiSystemRepickChannelWithoutEffect", WifiSystemRepickChannelWithoutEffect(true), 0);
    Expect("WifiSystemSetAPFrequence", WifiSystemSetAPFrequence(true), 0);
    Expect("WifiSystemGetFrequenceType", WifiSystemGetFrequenceType(36), kWifiFrequenceUnknown);
    Expect("WifiSystemIs5GChannel", WifiSystemIs5GChannel(36), false);
    Expect("WifiSystemIs24GChannel", WifiSystemIs24GChannel(6), false);
    Expect("WifiSystemGetFrequencyFromChannel", WifiSystemGetFrequencyFromChannel(36), 0);
}

static void CallWifiSwitch(void)
{
    WifiStateCallbacksC table = {NULL};
    Expect("WifiSystemEnableWifi", WifiSystemEnableWifi(true), kEnableWifiNoAnswer);
    Expect("WifiSystemGetWifiState", WifiSystemGetWifiState(), kWifiStateUnknown);
    Expect("WifiSystemRegistWifiStateChangeCallback",
           WifiSystemRegistWifiStateChangeCallback(&table), false);
    Expect("WifiSystemUnRegistWifiStateChangeCallback",
           WifiSystemUnRegistWifiStateChangeCallback(&table), false);
    WifiSystemRegistWifiChannelCallback(&channelTable);
}

static void CallEverything(Failed failed)
{
    CallBleManager(failed);
    CallBleScanner(failed);
    CallBleAdvertiser(failed);
    CallGattClient(failed);
    CallGattServer(failed);
    CallVod2dGroup(failed);
    CallVod2dConfig(failed);
    CallSoftAp();
    CallChannels();
    CallWifiSwitch();
}

/* What needs neither the library to be started nor a service. */
static void ReadAdvertisingData(void)
{
    static const uint8_t advertisement[] = {2, 1, 6,    4,    0xFF, 0x34, 0x12,
                                            7, 4, 0x16, 0x0D, 0x18, 9};
    uint8_t* data = NULL;
    uint32_t length = 0;
    Expect("BleGetAdvDataByType",
           BleGetAdvDataByType(advertisement, sizeof advertisement, 1, &data, &length), 0);
    Expect("flags", length == 1 ? data[0] : -1, 6);
    Expect("BleGetManufacturerDataByCompanyId",
           BleGetManufacturerDataByCompanyId(advertisement, sizeof advertisement, 0x1234, &data,
                                             &length),
           0);
    Expect("manufacturer's data", length == 1 ? data[0] : -1, 7);
    Expect("BleGetServiceDataByUuid",
           BleGetServiceDataByUuid(advertisement, sizeof advertisement, 0x180D, &data, &length), 0);
    Expect("service data", length == 1 ? data[0] : -1, 9);
    Expect("BleGetAdvDataByType of a type that is not there",
           BleGetAdvDataByType(advertisement, sizeof advertisement, 9, &data, &length),
           kBleStatusNotFound);
}

static void ReadVersionAndStatus(void)
{
    char version[32];
    snprintf(version, sizeof version, "%d.%d.%d", PELACON_VERSION_MAJOR, PELACON_VERSION_MINOR,
             PELACON_VERSION_PATCH);
    Expect("PelaconGetVersionNumber", PelaconGetVersionNumber(), PELACON_VERSION_NUMBER);
    Expect("PelaconGetVersion", strncmp(PelaconGetVersion(), version, strlen(version)), 0);
    Expect("PelaconStatusName",
           strcmp(PelaconStatusName(kPelaconStatusBle, kBleStatusNoReply), "kBleStatusNoReply"), 0);
    Expect("PelaconStatusText",
           strcmp(PelaconStatusText(kPelaconStatusWifi, kWifiIsOff), "the radio is off"), 0);
}

typedef struct Counted {
    int lines;
    int startLines;
    int events;
    int32_t lastEvent;
} Counted;

/* Other threads write lines of their own meanwhile; only this one uses the adapter. */
static void CountLine(void* context, PelaconLogLevel level, const char* line)
{
    Counted* counted = context;
    if (strstr(line, "(BleManager::") == NULL) {
        return;
    }
    ++counted->lines;
    if (level == kPelaconLogTrace && strcmp(line, "[PelaconSDK]start(BleManager::BtEnable)") == 0) {
        ++counted->startLines;
    }
}

static void CountEvent(void* context, int32_t eventId, const PelaconEventEntry* entries,
                       uint32_t count)
{
    Counted* counted = context;
    ++counted->events;
    counted->lastEvent = eventId;
    Expect("entries", (long)count, 2);
    Expect("first key", strcmp(entries[0].key, "EventType"), 0);
    Expect("first number", (long)entries[0].number, 1);
}

static void TakeLinesAndEvents(void)
{
    Counted counted = {0, 0, 0, 0};
    BtInfo info;
    PelaconSetLogSink(CountLine, &counted, kPelaconLogTrace);
    PelaconSetEventSink(CountEvent, &counted);
    BtEnable();
    GetBtMacAndName(&info);
    PelaconSetLogSink(NULL, NULL, kPelaconLogTrace);
    PelaconSetEventSink(NULL, NULL);
    const int lines = counted.lines;
    BtEnable();
    GetBtMacAndName(&info);
    Expect("start lines", counted.startLines, 1);
    Expect("lines after the sink was taken away", counted.lines - lines, 0);
    Expect("events", counted.events, 1);
    Expect("event", counted.lastEvent, 954082006);
}

static void TakeServiceState(void* context, PelaconServiceState state)
{
    *(PelaconServiceState*)context = state;
}

/* There is no service, so the sink is never called. */
static void WatchTheService(void)
{
    static PelaconServiceState seen = kPelaconServiceNotFound;
    PelaconSetServiceSink(&seen, TakeServiceState);
    Expect("PelaconGetServiceState", PelaconGetServiceState(), kPelaconServiceNotFound);
    PelaconSetServiceSink(NULL, NULL);
    Expect("the sink's state", seen, kPelaconServiceNotFound);
    Expect("PelaconGetServicePath", strstr(PelaconGetServicePath(), "PelaconService") != NULL,
           true);
}

static int errorsReceived = 0;

static void TakeError(const ErrorDetailC* detail)
{
    Expect("the error's code", detail->code, kConnectBleSendFail);
    Expect("the error's text", strcmp(detail->message, "ble send fail"), 0);
    ++errorsReceived;
}

/* The system decides what a scan returns. DestroyInstance waits for what is queued. */
static void ScanAndTakeErrors(void)
{
    static ErrorListenerC listener = {TakeError};
    static ErrorListenerC other = {NULL};
    char text[64];
    printf("WifiSystemScan: %d\n", WifiSystemScan());
    Expect("WifiSystemGetErrorString",
           WifiSystemGetErrorString(kConnectBleSendFail, text, sizeof text), 13);
    Expect("the text of an error", strcmp(text, "ble send fail"), 0);
    Expect("WifiSystemRegistListener", WifiSystemRegistListener(&listener), true);
    Expect("WifiSystemRegistListener again", WifiSystemRegistListener(&listener), false);
    Expect("WifiSystemRegistListener(NULL)", WifiSystemRegistListener(NULL), false);
    Expect("WifiSystemUnregistListener of another", WifiSystemUnregistListener(&other), false);
    WifiSystemPostNotification(kConnectBleSendFail);
    Expect("WifiSystemDestroyInstance", WifiSystemDestroyInstance(), true);
    Expect("errors", errorsReceived, 1);
    Expect("WifiSystemDestroyInstance again", WifiSystemDestroyInstance(), false);
}

int main(void)
{
    ReadAdvertisingData();
    ReadVersionAndStatus();
    CallEverything(refused);
    Expect("PelaconSvcStop before the start", PelaconSvcStop(), 0);
    Expect("PelaconSvcStart", PelaconSvcStart(), 0);
    Expect("PelaconSvcStart again", PelaconSvcStart(), 0);
    CallEverything(unanswered);
    TakeLinesAndEvents();
    WatchTheService();
    Expect("PelaconSvcStop", PelaconSvcStop(), 0);
    CallEverything(refused);
    ScanAndTakeErrors();
    Expect("PelaconSvcStop again", PelaconSvcStop(), 0);
    return failures == 0 ? 0 : 1;
}
