// A tour of the library: each family once, in the order in which an application may want to meet
// them. It runs beside PelaconService with its built-in world, in which there are a thermometer, a
// lamp and a phone, and prints what it does, and "<-" what it is told meanwhile.
//
// Read it from the bottom: main() is the table of contents.
#include <PelaconSDK/PelaconSDK.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// ---- What every application needs in one form or another

/// Callbacks run on the library's threads. They leave word here, and main goes on when it comes.
class News {
  public:
    void Tell(const std::string& what)
    {
        const std::lock_guard lock(mutex_);
        std::printf("    <- %s\n", what.c_str());
        told_.insert(what);
        changed_.notify_all();
    }

    void WaitFor(const std::string& what)
    {
        std::unique_lock lock(mutex_);
        if (!changed_.wait_for(lock, std::chrono::seconds(10),
                               [&] { return told_.contains(what); })) {
            throw std::runtime_error("nobody told: " + what);
        }
        told_.erase(told_.find(what));
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::multiset<std::string> told_;
};

// The library keeps pointers to callback tables and listeners, never copies. What is static here is
// there as long as it may be called.
News& news = *new News;

/// Results say what happened, and nothing throws for a failure. A tour has no use for failures.
void Expect(bool good, const char* what)
{
    if (!good) {
        throw std::runtime_error(std::string(what) + " did not work");
    }
}

void Heading(const char* text)
{
    std::printf("\n%s\n", text);
}

/// Text in a fixed field ends at its NUL, or with the field.
template <std::size_t Size>
std::string Text(const char (&field)[Size])
{
    return {field, std::find(field, field + Size, '\0')};
}

std::string TextOf(const std::uint8_t* data, std::uint32_t length)
{
    return {data, data + length};
}

// ---- The adapter

BtManagerCallbacksC adapterCallbacks{[](std::int32_t state) {
    news.Tell(state == kBtStateOn    ? "the adapter is on"
              : state == kBtStateOff ? "the adapter is off"
                                     : "the adapter is on its way");
}};

std::uint64_t TourTheAdapter()
{
    Heading("The adapter: on and off, name and address");
    Expect(BleManager::RegisterBtStateChangeCallbacks(&adapterCallbacks) == kBleStatusSuccess,
           "registering for the adapter's state");
    BtInfo info{};
    Expect(BleManager::GetBtMacAndName(&info) == kBleStatusSuccess, "reading name and address");
    std::printf("  It is called \"%s\", its address is %012llX.\n", Text(info.name).c_str(),
                static_cast<unsigned long long>(info.mac));
    if (BleManager::IsBtEnabled()) {
        std::puts("  Off...");
        Expect(BleManager::BtDisable() == kBleStatusSuccess, "switching off");
        news.WaitFor("the adapter is off");
    }
    std::puts("  ... and on.");
    Expect(BleManager::BtEnable() == kBleStatusSuccess, "switching on");
    news.WaitFor("the adapter is on");
    BleManager::UnRegisterBtStateChangeCallbacks(&adapterCallbacks);
    return info.mac;
}

// ---- Scanning

// Each result comes on a thread of its own, so this may take its time.
void OnScanResult(std::int32_t /*listener*/, BleScanResultC result)
{
    constexpr std::uint16_t kBattery = 0x180F;
    constexpr std::uint16_t kCompany = 0xFFFF;
    std::uint8_t* data = nullptr;
    std::uint32_t length = 0;
    if (BleGetServiceDataByUuid(result.data, result.dataLen, kBattery, &data, &length) ==
            kBleStatusSuccess &&
        length == 1) {
        news.Tell("the thermometer's battery is at " + std::to_string(*data) + " %");
    }
    // Of whatever company: the two bytes before the data say which, and are not compared.
    if (BleGetManufacturerDataByCompanyId(result.data, result.dataLen, kCompany, &data, &length) ==
        kBleStatusSuccess) {
        news.Tell("a beacon sends " + std::to_string(length) + " bytes of its maker's");
    }
}

void TourScanning()
{
    Heading("Scanning: what devices say of themselves");
    static BleScanCallbacksC callbacks{nullptr, &OnScanResult};
    // Only one device, by its address; its first octet first.
    BleScanFilter thermometer{kBleScanFilterAddress, 6, {0xC0, 0, 0, 0, 0, 0x01}};
    int listener = 0;
    Expect(BleScanner::BleScanRegisterCallbacks(&callbacks, &listener) == kBleStatusSuccess,
           "registering a listener");
    Expect(BleScanner::SetScanFilter(listener, &thermometer, 1) == kBleStatusSuccess,
           "setting a filter");
    std::puts("  Listening for the thermometer.");
    Expect(BleScanner::StartBleScan(listener, kBleScanLowLatency) == kBleStatusSuccess, "scanning");
    news.WaitFor("the thermometer's battery is at 100 %");
    std::puts("  And for everybody.");
    Expect(BleScanner::RemoveScanFilter(listener) == kBleStatusSuccess, "removing the filter");
    news.WaitFor("a beacon sends 7 bytes of its maker's");
    BleScanner::StopBleScan(listener);
    BleScanner::BleScanUnRegisterCallbacks(listener);

    // Targeted advertisements are for the programs of one business, and come by other ways as well.
    static VoviewRecvAdvCallbacksC targeted{
        [](TargetAdvInfo info) { news.Tell("for our business: " + TextOf(info.data, 5)); }};
    TargetAdvFilter filter{};
    filter.business = kBleTargetHandoff;
    Expect(BleScanner::BleRegisterTargetAdvCallback(filter, &targeted) == kBleStatusSuccess,
           "registering for targeted advertisements");
    std::puts(
        "  Handing a targeted advertisement to the service, which tells all whom it concerns.");
    TargetAdvInfo info{kBleTargetHandoff, {'h', 'e', 'l', 'l', 'o'}};
    Expect(BleScanner::BleOnRecvVoviewData(info) == kBleStatusSuccess, "handing it on");
    news.WaitFor("for our business: hello");
    BleScanner::BleUnRegisterTargetAdvCallback(kBleTargetHandoff);
}

// ---- Advertising

BleAdvCallbacksC advertiserCallbacks{[](std::int32_t /*advertiser*/, std::int32_t status) {
    news.Tell(status == kBleAdvTimeOver ? "the advertiser has had its time"
                                        : "the advertiser was silenced");
}};

void TourAdvertising()
{
    Heading("Advertising: being heard");
    int advertiser = 0;
    Expect(BleAdvertiser::BleAdvRegisterCallbacks(&advertiserCallbacks, &advertiser) ==
               kBleStatusSuccess,
           "registering an advertiser");
    BleAdvertiseParamsC parameters{};  // usual intervals, all channels
    parameters.advEventType = kBleAdvNonConnectable;
    parameters.sendTotalTime = 200;  // ms
    BleAdvertiseData data;
    data.advData = {5, 0x09, 'T', 'o', 'u', 'r'};  // a structure: length, complete name, the name
    std::puts("  As \"Tour\", for 200 ms.");
    Expect(BleAdvertiser::BleStartAdvertise(advertiser, parameters, data) == kBleStatusSuccess,
           "advertising");
    news.WaitFor("the advertiser has had its time");
    std::puts("  Once more, until it is told to stop.");
    parameters.sendTotalTime = 0;
    Expect(BleAdvertiser::BleStartAdvertise(advertiser, parameters, data) == kBleStatusSuccess,
           "advertising again");
    Expect(BleAdvertiser::BleStopAdvertise(advertiser) == kBleStatusSuccess, "stopping");
    BleAdvertiser::BleAdvUnRegisterCallbacks(advertiser);
}

// ---- Both sides of GATT

BtGattClientCallbacksC clientCallbacks{
    [](std::int32_t /*client*/, std::int32_t state, std::int32_t /*reason*/) {
        news.Tell(state == kBleGattConnected ? "connected" : "disconnected");
    },
    [](std::int32_t /*client*/, const char* /*service*/, const char* /*characteristic*/,
       const std::uint8_t* data, std::uint32_t length,
       std::int32_t /*kind*/) { news.Tell("the lamp is " + TextOf(data, length)); }};

std::int32_t Connect(std::uint64_t address)
{
    std::int32_t client = 0;
    Expect(BleGattClient::BleGattClientRegister(&client) == kBleStatusSuccess,
           "registering a client");
    // The only operation that does not wait: its outcome comes through the callback.
    Expect(
        BleGattClient::BleGattClientConnect(client, address, &clientCallbacks) == kBleStatusSuccess,
        "connecting");
    news.WaitFor("connected");
    Expect(BleGattClient::BleGattClientSearchServices(client) == kBleStatusSuccess,
           "discovering services");
    return client;
}

void Disconnect(std::int32_t client)
{
    BleGattClient::BleGattClientDisconnect(client);
    news.WaitFor("disconnected");
    BleGattClient::BleGattClientUnRegister(client);
}

void TourTheGattClient()
{
    Heading("GATT, as a client: a lamp");
    const std::string lamp = "5e1ac0de-0001-4000-8000-000000000000";
    const std::string light = "5e1ac0de-0002-4000-8000-000000000000";
    const std::int32_t client = Connect(0xC00000000004);
    std::vector<std::uint8_t> value;
    Expect(BleGattClient::BleGattClientReadCharacteristic(client, lamp, light, &value) ==
               kBleStatusSuccess,
           "reading");
    std::printf("  The lamp is %s. Switching it.\n",
                std::string(value.begin(), value.end()).c_str());
    Expect(BleGattClient::BleGattClientRegisterNotification(client, lamp, light, true) ==
               kBleStatusSuccess,
           "asking for notifications");
    Expect(BleGattClient::BleGattClientWriteCharacteristic(client, lamp, light, {'o', 'n'}) ==
               kBleStatusSuccess,
           "writing");
    news.WaitFor("the lamp is on");
    Disconnect(client);
}

BtGattServerCallbacksC serverCallbacks{
    [](std::uint64_t /*peer*/) { news.Tell("a peer has come"); },
    [](std::uint64_t /*peer*/) { news.Tell("the peer has gone"); }, nullptr, nullptr};

BtGattCharCallbacksC greetingCallbacks{
    nullptr, [](std::uint64_t /*peer*/, const char* /*service*/, const char* /*characteristic*/,
                const std::uint8_t* data,
                std::uint32_t length) { news.Tell("the peer writes: " + TextOf(data, length)); }};

void TourTheGattServer(std::uint64_t ownAddress)
{
    Heading("GATT, as a server: a greeting to read and write");
    const std::string service = "5e1ac0de-0010-4000-8000-000000000000";
    const std::string greeting = "5e1ac0de-0011-4000-8000-000000000000";
    std::int32_t server = 0;
    std::int32_t handle = 0;
    BLECharacteristicInfo characteristic{
        greeting, kBleGattCharRead | kBleGattCharWrite, &greetingCallbacks, {'h', 'i'}};
    Expect(
        BleGattServer::BleGattServerRegister(&serverCallbacks, &server) == kBleStatusSuccess &&
            BleGattServer::BleGattServerAddService(server, service, &handle) == kBleStatusSuccess &&
            BleGattServer::BleGattServerAddCharacteristic(server, handle, &characteristic) ==
                kBleStatusSuccess &&
            BleGattServer::BleGattServerStartService(server, handle) == kBleStatusSuccess,
        "serving");
    // Programs on one service can be each other's peers, and one can be its own.
    const std::int32_t client = Connect(ownAddress);
    news.WaitFor("a peer has come");
    std::vector<std::uint8_t> value;
    Expect(BleGattClient::BleGattClientReadCharacteristic(client, service, greeting, &value) ==
               kBleStatusSuccess,
           "reading");
    std::printf("  The greeting reads \"%s\".\n", std::string(value.begin(), value.end()).c_str());
    Expect(BleGattClient::BleGattClientWriteCharacteristic(client, service, greeting,
                                                           {'h', 'e', 'y'}) == kBleStatusSuccess,
           "writing");
    news.WaitFor("the peer writes: hey");
    Disconnect(client);
    news.WaitFor("the peer has gone");
    BleGattServer::BleGattServerUnRegister(server);
}

// ---- Wi-Fi Direct

Vod2dWifiBroadcastRecvCb groupCallbacks{
    [](Vod2dGroupChange change) {
        news.Tell(change.state == kVod2dGroupExists ? "the group is there" : "the group is gone");
    },
    [](const Vod2dStationChange* change) {
        news.Tell(change->state == kVod2dStationJoined ? "a station has joined"
                                                       : "a station has left");
    }};

void TourGroups()
{
    Heading("Wi-Fi Direct: a group that devices join");
    Expect(Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&groupCallbacks) == kWifiSuccess,
           "registering for the group");
    Vod2dSoftAPInfo group{};  // on any channel
    Expect(Vod2dApi::Vod2dCreateGroup(&group) == kWifiSuccess, "making a group");
    std::printf("  \"%s\" on channel %d: %d MHz.\n", Text(group.ssid).c_str(), group.channel,
                Vod2dApi::Vod2dGetFrequency());
    news.WaitFor("a station has joined");
    Expect(Vod2dApi::Vod2dRemoveGroup() == kWifiSuccess, "removing the group");
    news.WaitFor("the group is gone");
    Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&groupCallbacks);
}

// ---- The Wi-Fi system API

class SoftApListener : public ISoftAPNotification {
  public:
    void OnAdvertisementStatus(std::uint32_t /*status*/) override {}
    void OnAdvertisementState(const SoftApAdvertisementState* state) override
    {
        news.Tell(state->status == kSoftApAdvertisementStopped
                      ? "the soft AP is gone"
                      : "the soft AP is on channel " + std::to_string(state->channel));
    }
    void OnDeviceConnectionStatus(std::uint32_t status) override
    {
        news.Tell(status != 0 ? "the phone has connected" : "the phone is gone");
    }
};

class Errors : public ErrorListener {
  public:
    // On a thread of its own: it may call anything.
    void OnError(ErrorDetail detail) override { news.Tell("error: " + detail.message); }
};

void TourTheWifiSystem()
{
    Heading("The Wi-Fi system: a soft AP for the phone");
    static auto& softApListener = *new SoftApListener;
    static auto& errors = *new Errors;
    WifiSystemApi& wifi = WifiSystemApi::GetInstance();
    Expect(wifi.RegisterSoftApNotificationEventCallback(&softApListener) == 0,
           "registering for the soft AP");
    std::string model;
    if (wifi.GetPairDeviceModelName(model)) {
        std::printf("  The phone is a \"%s\", on channel %d.\n", model.c_str(),
                    wifi.GetRecordPhoneChannel());
    }
    SoftAPInfo ap;
    ap.requestByte = kSoftApBandAny;
    ap.requestInt = kGoPurposeTransfer;
    Expect(wifi.SystemCreateSoftAP(ap) == kSoftApSuccess, "creating a soft AP");
    std::printf("  \"%s\" is where both need not hop: channel %d, %d MHz.\n", ap.ssid.c_str(),
                ap.apByte1, wifi.GetFrequencyFromChannel(ap.apByte1));
    news.WaitFor("the phone has connected");

    // Errors come from the service, or from the application itself.
    wifi.RegistListener(&errors);
    if (wifi.SystemCreateSoftAP(ap) == kSoftApAlreadyExists) {
        wifi.PostNotification(kConnectGoAlreadyExist);
        news.WaitFor("error: go already exist");
    }
    Expect(wifi.SystemDestroySoftAP(kGoPurposeTransfer) == kSoftApSuccess,
           "destroying the soft AP");
    news.WaitFor("the soft AP is gone");
    wifi.UnRegisterSoftApNotificationEventCallback(&softApListener);
}

void Tour()
{
    const std::uint64_t ownAddress = TourTheAdapter();
    TourScanning();
    TourAdvertising();
    TourTheGattClient();
    TourTheGattServer(ownAddress);
    TourGroups();
    TourTheWifiSystem();
}

}  // namespace

int main()
{
    // Operations are refused before this. It returns at once, also when there is no service yet:
    // the library connects as soon as there is one, and again whenever it was lost.
    PelaconSvcStart();
    int exitCode = 0;
    try {
        Tour();
        std::puts("\nThat was all of it.");
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "\n%s. Is PelaconService running, with its built-in world?\n",
                     failure.what());
        exitCode = 1;
    }
    // A process may end without it. Afterwards no callback runs on the receive thread any more.
    PelaconSvcStop();
    return exitCode;
}
