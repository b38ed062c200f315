// Notifications with any payload, of any length, from the service to an application's callbacks,
// which read all that they are given. The first byte chooses the notification; several may follow
// each other: two bytes with the length, then the payload.
#include <PelaconSDK/PelaconSDK.h>
#include <protocol/Catalogue.h>

#include <fuzz/Input.h>
#include <fuzz/library/Service.h>

#include <cstring>
#include <iterator>

namespace {

using namespace pelacon;
using fuzz::Consume;
using fuzz::ConsumeText;
using fuzz::Require;

/// A text in a fixed field, which need not be terminated.
template <std::size_t kSize>
void ConsumeField(const char (&text)[kSize])
{
    Consume(text, kSize);
}

void TakeValue(const char* serviceUuid, const char* charUuid, const std::uint8_t* data,
               std::uint32_t length)
{
    ConsumeText(serviceUuid);
    ConsumeText(charUuid);
    Require(data != nullptr || length == 0);
    Consume(data, length);
}

BtManagerCallbacksC adapterTable = {[](std::int32_t) {}};
BleScanCallbacksC scanTable = {
    [](std::int32_t, std::int32_t) {},
    [](std::int32_t, BleScanResultC result) { Consume(&result, sizeof(result)); }};
VoviewRecvAdvCallbacksC targetTable = {[](TargetAdvInfo info) { Consume(&info, sizeof(info)); }};
BleAdvCallbacksC advertiserTable = {[](std::int32_t, std::int32_t) {}};
BtGattClientCallbacksC gattClientTable = {
    [](std::int32_t, std::int32_t, std::int32_t) {},
    [](std::int32_t, const char* serviceUuid, const char* charUuid, const std::uint8_t* data,
       std::uint32_t length, std::int32_t) { TakeValue(serviceUuid, charUuid, data, length); }};
BtGattServerCallbacksC gattServerTable = {[](std::uint64_t) {}, [](std::uint64_t) {},
                                          [](std::uint64_t, std::uint32_t) {},
                                          [](std::uint64_t, std::uint32_t) {}};
BtGattCharCallbacksC characteristicTable = {
    [](std::uint64_t, const char* serviceUuid, const char* charUuid, const std::uint8_t* data,
       std::uint32_t length) { TakeValue(serviceUuid, charUuid, data, length); },
    [](std::uint64_t, const char* serviceUuid, const char* charUuid, const std::uint8_t* data,
       std::uint32_t length) { TakeValue(serviceUuid, charUuid, data, length); }};
Vod2dWifiBroadcastRecvCb groupTable = {[](Vod2dGroupChange) {},
                                       [](const Vod2dStationChange* change) {
                                           ConsumeField(change->address);
                                           ConsumeField(change->ipAddress);
                                       }};
Vod2dWifiCfgCallback configurationTable = {[](const Vod2dWifiCfgEvent* event) {
    Require(event->length >= 0 && event->length <= 512);
    Consume(event->blob, static_cast<std::size_t>(event->length));
}};
WifiCardStateCallback cardTable = {[](const WifiCardStateEvent* event) {
    Require(event->count >= 0 && event->count <= 5);
    Consume(event->cards, static_cast<std::size_t>(event->count) * sizeof(*event->cards));
}};
SoftApConnectStatusCallbacksC connectTable = {[](std::int32_t) {}};
SoftApNotificationCallbacksC softApTable = {
    [](std::uint32_t) {}, [](const SoftApAdvertisementState* state) { ConsumeField(state->ssid); },
    [](std::uint32_t) {}};
WifiStateCallbacksC wifiTable = {[](std::int32_t) {}};
WifiChannelCallbacksC channelTable = {[](std::int32_t) {}};
ErrorListenerC errorTable = {[](const ErrorDetailC* detail) { ConsumeText(detail->message); }};

void RegisterBluetooth()
{
    int id = 0;
    std::int32_t client = 0;
    std::int32_t server = 0;
    std::int32_t service = 0;
    RegisterBtStateChangeCallbacks(&adapterTable);
    BleScanRegisterCallbacks(&scanTable, &id);
    BleRegisterTargetAdvCallback({}, &targetTable);
    BleAdvRegisterCallbacks(&advertiserTable, &id);
    BleGattClientRegister(&client);
    BleGattClientConnect(client, 1, &gattClientTable);
    BleGattServerRegister(&gattServerTable, &server);
    BleGattServerAddService(server, "180D", &service);
    BLECharacteristicInfoC characteristic{};
    std::strcpy(characteristic.charUuid, "2A37");
    characteristic.callbacks = &characteristicTable;
    BleGattServerAddCharacteristic(server, service, &characteristic);
}

void RegisterWifi()
{
    Vod2dConnNotifyRequest connections{};
    WifiCardStateInfo card{};
    std::int32_t count = 0;
    Vod2dRegisterSoftAPStateChangedCallback(&groupTable);
    Vod2dRegisterWifiCfgCallback(&configurationTable);
    Vod2dSetConnNotify(&connections, &configurationTable);
    Vod2dSetWifiCardStateNotify(&card, &count, &cardTable);
    WifiSystemRegistSoftApConnectStatus(&connectTable);
    WifiSystemRegisterSoftApNotificationEventCallback(&softApTable);
    WifiSystemRegistListener(&errorTable);
    // These are answered by a 1 where the service agrees.
    fuzz::AnswerWith({1});
    WifiSystemRegistWifiStateChangeCallback(&wifiTable);
    WifiSystemRegistWifiChannelCallback(&channelTable);
}

/// Starts the library with a callback of every kind; all ids are 0.
bool Start()
{
    Require(PelaconSvcStart() == 0);
    fuzz::AnswerWith(std::vector<std::uint8_t>(48));
    RegisterBluetooth();
    RegisterWifi();
    fuzz::AnswerWith(std::vector<std::uint8_t>(48));
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    [[maybe_unused]] static const bool isStarted = Start();
    fuzz::Input input(data, size);
    while (!input.IsEmpty()) {
        const auto& entry =
            protocol::kCatalogue[input.Take<std::uint8_t>() % std::size(protocol::kCatalogue)];
        fuzz::Deliver(entry.id, input.SomeBytes());
    }
    return 0;
}
