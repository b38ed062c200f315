// A tour of the library: each family of operations once. It needs PelaconService with its built-in
// world, which has a thermometer, a lamp and a phone. It prints what it does, and after "<-" what
// the callbacks report.
//
// Read it from the bottom: Tour() is the table of contents.
#include <PelaconSDK/PelaconSDK.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// ---- Helpers

/// Callbacks are called on the library's threads. They report events here, and main waits for them.
class Reports {
  public:
    void Add(const std::string& what)
    {
        const std::lock_guard lock(mutex_);
        std::printf("    <- %s\n", what.c_str());
        reports_.insert(what);
        changed_.notify_all();
    }

    void WaitFor(const std::string& what)
    {
        std::unique_lock lock(mutex_);
        if (!changed_.wait_for(lock, std::chrono::seconds(10),
                               [&] { return reports_.contains(what); })) {
            throw std::runtime_error("no report of: " + what);
        }
        reports_.erase(reports_.find(what));
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::multiset<std::string> reports_;
};

// The library keeps pointers to callback tables and listeners, not copies. They are static here, so
// that they exist as long as they may be called.
Reports& reports = *new Reports;

/// The library reports failures as results; 0 is success in every family. The tour ends at the
/// first failure.
void ExpectSuccess(std::int32_t result, const char* what)
{
    if (result != 0) {
        throw std::runtime_error(std::string(what) + " failed");
    }
}

void Heading(const char* text)
{
    std::printf("\n%s\n", text);
}

/// The text of a fixed field ends at its NUL, or at the field's end.
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
    reports.Add(state == kBtStateOn    ? "the adapter is on"
                : state == kBtStateOff ? "the adapter is off"
                                       : "the adapter is switching");
}};

std::uint64_t TourTheAdapter()
{
    Heading("The adapter: on and off, name and address");
    ExpectSuccess(BleManager::RegisterBtStateChangeCallbacks(&adapterCallbacks),
                  "registering for the adapter's state");
    BtInfo info{};
    ExpectSuccess(BleManager::GetBtMacAndName(&info), "reading name and address");
    std::printf("  Its name is \"%s\", its address %012llX.\n", Text(info.name).c_str(),
                static_cast<unsigned long long>(info.mac));
    if (BleManager::IsBtEnabled()) {
        std::puts("  Off...");
        ExpectSuccess(BleManager::BtDisable(), "switching off");
        reports.WaitFor("the adapter is off");
    }
    std::puts("  ... and on.");
    ExpectSuccess(BleManager::BtEnable(), "switching on");
    reports.WaitFor("the adapter is on");
    BleManager::UnRegisterBtStateChangeCallbacks(&adapterCallbacks);
    return info.mac;
}

// ---- Scanning

// Each result has a thread of its own, so this callback may take time.
void OnScanResult(std::int32_t /*listener*/, BleScanResultC result)
{
    constexpr std::uint16_t kBattery = 0x180F;
    constexpr std::uint16_t kCompany = 0xFFFF;
    std::uint8_t* data = nullptr;
    std::uint32_t length = 0;
    if (BleGetServiceDataByUuid(result.data, result.dataLen, kBattery, &data, &length) ==
            kBleStatusSuccess &&
        length == 1) {
        reports.Add("the thermometer's battery is at " + std::to_string(*data) + " %");
    }
    // The company identifier is not compared, so this finds the data of any company.
    if (BleGetManufacturerDataByCompanyId(result.data, result.dataLen, kCompany, &data, &length) ==
        kBleStatusSuccess) {
        reports.Add("a beacon sends " + std::to_string(length) + " bytes of manufacturer data");
    }
}

void TourScanning()
{
    Heading("Scanning: the advertisements of other devices");
    static BleScanCallbacksC callbacks{nullptr, &OnScanResult};
    // Only the device with this address, first octet first.
    BleScanFilter thermometer{kBleScanFilterAddress, 6, {0xC0, 0, 0, 0, 0, 0x01}};
    int listener = 0;
    ExpectSuccess(BleScanner::BleScanRegisterCallbacks(&callbacks, &listener),
                  "registering a listener");
    ExpectSuccess(BleScanner::SetScanFilter(listener, &thermometer, 1), "setting a filter");
    std::puts("  Listening to the thermometer.");
    ExpectSuccess(BleScanner::StartBleScan(listener, kBleScanLowLatency), "scanning");
    reports.WaitFor("the thermometer's battery is at 100 %");
    std::puts("  Listening to all devices.");
    ExpectSuccess(BleScanner::RemoveScanFilter(listener), "removing the filter");
    reports.WaitFor("a beacon sends 7 bytes of manufacturer data");
    BleScanner::StopBleScan(listener);
    BleScanner::BleScanUnRegisterCallbacks(listener);

    // Targeted advertisements are for the programs of one business.
    static VoviewRecvAdvCallbacksC targeted{
        [](TargetAdvInfo info) { reports.Add("for our business: " + TextOf(info.data, 5)); }};
    TargetAdvFilter filter{};
    filter.business = kBleTargetHandoff;
    ExpectSuccess(BleScanner::BleRegisterTargetAdvCallback(filter, &targeted),
                  "registering for targeted advertisements");
    std::puts("  Sending a targeted advertisement to all programs that have registered for it.");
    TargetAdvInfo info{kBleTargetHandoff, {'h', 'e', 'l', 'l', 'o'}};
    ExpectSuccess(BleScanner::BleOnRecvVoviewData(info), "sending it");
    reports.WaitFor("for our business: hello");
    BleScanner::BleUnRegisterTargetAdvCallback(kBleTargetHandoff);
}

// ---- Advertising

BleAdvCallbacksC advertiserCallbacks{[](std::int32_t /*advertiser*/, std::int32_t status) {
    reports.Add(status == kBleAdvTimeOver ? "the advertiser's time is over"
                                          : "the advertiser was stopped");
}};

void TourAdvertising()
{
    Heading("Advertising to other devices");
    int advertiser = 0;
    ExpectSuccess(BleAdvertiser::BleAdvRegisterCallbacks(&advertiserCallbacks, &advertiser),
                  "registering an advertiser");
    BleAdvertiseParamsC parameters{};  // default intervals, all channels
    parameters.advEventType = kBleAdvNonConnectable;
    parameters.sendTotalTime = 200;  // ms
    BleAdvertiseData data;
    data.advData = {5, 0x09, 'T', 'o', 'u', 'r'};  // a structure: length, complete name, the name
    std::puts("  As \"Tour\", for 200 ms.");
    ExpectSuccess(BleAdvertiser::BleStartAdvertise(advertiser, parameters, data), "advertising");
    reports.WaitFor("the advertiser's time is over");
    std::puts("  Again, until it is stopped.");
    parameters.sendTotalTime = 0;
    ExpectSuccess(BleAdvertiser::BleStartAdvertise(advertiser, parameters, data),
                  "advertising again");
    ExpectSuccess(BleAdvertiser::BleStopAdvertise(advertiser), "stopping");
    BleAdvertiser::BleAdvUnRegisterCallbacks(advertiser);
}

// ---- Both sides of GATT

BtGattClientCallbacksC clientCallbacks{
    [](std::int32_t /*client*/, std::int32_t state, std::int32_t /*reason*/) {
        reports.Add(state == kBleGattConnected ? "connected" : "disconnected");
    },
    [](std::int32_t /*client*/, const char* /*service*/, const char* /*characteristic*/,
       const std::uint8_t* data, std::uint32_t length,
       std::int32_t /*kind*/) { reports.Add("the lamp is " + TextOf(data, length)); }};

std::int32_t Connect(std::uint64_t address)
{
    std::int32_t client = 0;
    ExpectSuccess(BleGattClient::BleGattClientRegister(&client), "registering a client");
    // The only operation that does not wait for its outcome, which the callback reports.
    ExpectSuccess(BleGattClient::BleGattClientConnect(client, address, &clientCallbacks),
                  "connecting");
    reports.WaitFor("connected");
    ExpectSuccess(BleGattClient::BleGattClientSearchServices(client), "discovering services");
    return client;
}

void Disconnect(std::int32_t client)
{
    BleGattClient::BleGattClientDisconnect(client);
    reports.WaitFor("disconnected");
    BleGattClient::BleGattClientUnRegister(client);
}

std::string Read(std::int32_t client, const std::string& service, const std::string& characteristic)
{
    std::vector<std::uint8_t> value;
    ExpectSuccess(
        BleGattClient::BleGattClientReadCharacteristic(client, service, characteristic, &value),
        "reading");
    return {value.begin(), value.end()};
}

void TourTheGattClient()
{
    Heading("GATT, as a client: a lamp");
    const std::string lamp = "5e1ac0de-0001-4000-8000-000000000000";
    const std::string light = "5e1ac0de-0002-4000-8000-000000000000";
    const std::int32_t client = Connect(0xC00000000004);
    std::printf("  The lamp is %s. Switching it on.\n", Read(client, lamp, light).c_str());
    ExpectSuccess(BleGattClient::BleGattClientRegisterNotification(client, lamp, light, true),
                  "subscribing");
    ExpectSuccess(BleGattClient::BleGattClientWriteCharacteristic(client, lamp, light, {'o', 'n'}),
                  "writing");
    reports.WaitFor("the lamp is on");
    Disconnect(client);
}

BtGattServerCallbacksC serverCallbacks{
    [](std::uint64_t /*peer*/) { reports.Add("a peer has connected"); },
    [](std::uint64_t /*peer*/) { reports.Add("the peer has disconnected"); }, nullptr, nullptr};

BtGattCharCallbacksC greetingCallbacks{
    nullptr, [](std::uint64_t /*peer*/, const char* /*service*/, const char* /*characteristic*/,
                const std::uint8_t* data,
                std::uint32_t length) { reports.Add("the peer writes: " + TextOf(data, length)); }};

void TourTheGattServer(std::uint64_t ownAddress)
{
    Heading("GATT, as a server: a greeting to read and write");
    const std::string service = "5e1ac0de-0010-4000-8000-000000000000";
    const std::string greeting = "5e1ac0de-0011-4000-8000-000000000000";
    std::int32_t server = 0;
    std::int32_t handle = 0;
    BLECharacteristicInfo characteristic{
        greeting, kBleGattCharRead | kBleGattCharWrite, &greetingCallbacks, {'h', 'i'}};
    ExpectSuccess(BleGattServer::BleGattServerRegister(&serverCallbacks, &server),
                  "registering a server");
    ExpectSuccess(BleGattServer::BleGattServerAddService(server, service, &handle),
                  "adding a service");
    ExpectSuccess(BleGattServer::BleGattServerAddCharacteristic(server, handle, &characteristic),
                  "adding a characteristic");
    ExpectSuccess(BleGattServer::BleGattServerStartService(server, handle), "starting the service");
    // Programs of one service can be peers of each other, and a program can be its own peer.
    const std::int32_t client = Connect(ownAddress);
    reports.WaitFor("a peer has connected");
    std::printf("  The greeting reads \"%s\".\n", Read(client, service, greeting).c_str());
    ExpectSuccess(
        BleGattClient::BleGattClientWriteCharacteristic(client, service, greeting, {'h', 'e', 'y'}),
        "writing");
    reports.WaitFor("the peer writes: hey");
    Disconnect(client);
    reports.WaitFor("the peer has disconnected");
    BleGattServer::BleGattServerUnRegister(server);
}

// ---- Wi-Fi Direct

Vod2dWifiBroadcastRecvCb groupCallbacks{
    [](Vod2dGroupChange change) {
        reports.Add(change.state == kVod2dGroupExists ? "the group was created"
                                                      : "the group was removed");
    },
    [](const Vod2dStationChange* change) {
        reports.Add(change->state == kVod2dStationJoined ? "a station has joined"
                                                         : "a station has left");
    }};

void TourGroups()
{
    Heading("Wi-Fi Direct: a group that devices join");
    ExpectSuccess(Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&groupCallbacks),
                  "registering for the group");
    Vod2dSoftAPInfo group{};  // on any channel
    ExpectSuccess(Vod2dApi::Vod2dCreateGroup(&group), "creating a group");
    std::printf("  \"%s\" on channel %d: %d MHz.\n", Text(group.ssid).c_str(), group.channel,
                Vod2dApi::Vod2dGetFrequency());
    reports.WaitFor("a station has joined");
    ExpectSuccess(Vod2dApi::Vod2dRemoveGroup(), "removing the group");
    reports.WaitFor("the group was removed");
    Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&groupCallbacks);
}

// ---- The Wi-Fi system API

class SoftApListener : public ISoftAPNotification {
  public:
    void OnAdvertisementStatus(std::uint32_t /*status*/) override {}
    void OnAdvertisementState(const SoftApAdvertisementState* state) override
    {
        reports.Add(state->status == kSoftApAdvertisementStopped
                        ? "the soft AP was destroyed"
                        : "the soft AP is on channel " + std::to_string(state->channel));
    }
    void OnDeviceConnectionStatus(std::uint32_t status) override
    {
        reports.Add(status != 0 ? "the phone has connected" : "the phone has disconnected");
    }
};

class Errors : public ErrorListener {
  public:
    // Called on a separate thread: it may call any operation.
    void OnError(ErrorDetail detail) override { reports.Add("error: " + detail.message); }
};

void TourTheWifiSystem()
{
    Heading("The Wi-Fi system: a soft AP for the phone");
    static auto& softApListener = *new SoftApListener;
    static auto& errors = *new Errors;
    WifiSystemApi& wifi = WifiSystemApi::GetInstance();
    ExpectSuccess(wifi.RegisterSoftApNotificationEventCallback(&softApListener),
                  "registering for the soft AP");
    std::string model;
    if (wifi.GetPairDeviceModelName(model)) {
        std::printf("  The phone is a \"%s\", on channel %d.\n", model.c_str(),
                    wifi.GetRecordPhoneChannel());
    }
    SoftAPInfo ap;
    ap.requestByte = kSoftApBandAny;
    ap.requestInt = kGoPurposeTransfer;
    ExpectSuccess(wifi.SystemCreateSoftAP(ap), "creating a soft AP");
    std::printf("  \"%s\" is on channel %d (%d MHz), which suits both devices.\n", ap.ssid.c_str(),
                ap.apByte1, wifi.GetFrequencyFromChannel(ap.apByte1));
    reports.WaitFor("the phone has connected");

    // Errors are reported by the service, or by the application itself.
    wifi.RegistListener(&errors);
    if (wifi.SystemCreateSoftAP(ap) == kSoftApAlreadyExists) {
        wifi.PostNotification(kConnectGoAlreadyExist);
        reports.WaitFor("error: go already exist");
    }
    ExpectSuccess(wifi.SystemDestroySoftAP(kGoPurposeTransfer), "destroying the soft AP");
    reports.WaitFor("the soft AP was destroyed");
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
    // Before this call, operations are refused. It returns at once, even if the service is not
    // running: the library connects when the service starts, and again after each loss of the
    // connection.
    PelaconSvcStart();
    int exitCode = 0;
    try {
        Tour();
        std::puts("\nEnd of the tour.");
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "\n%s. Is PelaconService running, with its built-in world?\n",
                     failure.what());
        exitCode = 1;
    }
    // A process may end without this call. After it, the receive thread calls no more callbacks.
    PelaconSvcStop();
    return exitCode;
}
