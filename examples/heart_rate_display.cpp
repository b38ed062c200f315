// A heart-rate display: finds a sensor, subscribes to its measurements and prints them. Connects
// again when the connection is lost. heart_rate_display [COUNT] ends after COUNT measurements.
#include <PelaconSDK/PelaconSDK.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace {

const std::string kHeartRateService = "180d";
const std::string kMeasurement = "2a37";
const std::string kBodyLocation = "2a38";
const std::string kControlPoint = "2a39";

/// An event that a callback, on a thread of the library, posts for main.
struct Event {
    enum { kFound, kConnected, kDisconnected, kMeasured } what;
    uint64_t address = 0;
    std::vector<uint8_t> data = {};
};

std::mutex mutex;
std::condition_variable changed;
std::deque<Event> events;

void Post(Event event)
{
    const std::lock_guard lock(mutex);
    events.push_back(std::move(event));
    changed.notify_all();
}

Event Wait()
{
    std::unique_lock lock(mutex);
    changed.wait(lock, [] { return !events.empty(); });
    Event event = std::move(events.front());
    events.pop_front();
    return event;
}

BleScanCallbacksC scanCallbacks{nullptr, [](int32_t, BleScanResultC result) {
                                    Post({Event::kFound, result.address});
                                }};

BtGattClientCallbacksC clientCallbacks{
    [](int32_t, int32_t state, int32_t) {
        Post({state == kBleGattConnected ? Event::kConnected : Event::kDisconnected});
    },
    [](int32_t, const char*, const char*, const uint8_t* data, uint32_t dataLen, int32_t) {
        Post({Event::kMeasured, 0, {data, data + dataLen}});
    }};

/// Scans until a device advertises the heart-rate service; 0 when scanning is refused.
uint64_t FindSensor()
{
    int listener = 0;
    BleScanFilter filter{0x03, 2, {0x0D, 0x18}};  // complete list of 16-bit services: 180D
    if (BleScanner::BleScanRegisterCallbacks(&scanCallbacks, &listener) != kBleStatusSuccess ||
        BleScanner::SetScanFilter(listener, &filter, 1) != kBleStatusSuccess ||
        BleScanner::StartBleScan(listener, kBleScanLowLatency) != kBleStatusSuccess) {
        return 0;
    }
    const uint64_t address = Wait().address;
    BleScanner::StopBleScan(listener);
    BleScanner::BleScanUnRegisterCallbacks(listener);
    return address;
}

/// Subscribes to the measurements; false when the device is not a sensor or has disconnected.
bool Subscribe(int32_t client)
{
    std::vector<uint8_t> location;
    if (BleGattClient::BleGattClientSearchServices(client) != kBleStatusSuccess ||
        BleGattClient::BleGattClientReadCharacteristic(client, kHeartRateService, kBodyLocation,
                                                       &location) != kBleStatusSuccess ||
        location.empty()) {
        return false;
    }
    std::printf("sensor at body location %d\n", location[0]);
    BleGattClient::BleGattClientWriteCharacteristic(client, kHeartRateService, kControlPoint, {1});
    return BleGattClient::BleGattClientRegisterNotification(client, kHeartRateService, kMeasurement,
                                                            true) == kBleStatusSuccess;
}

/// Prints a measurement; false when the data are not a measurement.
bool Print(const std::vector<uint8_t>& data)
{
    if (data.size() < 2) {
        return false;
    }
    const bool hasEnergy = (data[0] & 0x08) != 0 && data.size() >= 4;
    std::printf("%d beats per minute", data[1]);
    if (hasEnergy) {
        std::printf(", %d kJ", data[2] | data[3] << 8);
    }
    std::puts("");
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);  // unbuffered, also into a pipe
    int remaining = argc > 1 ? std::atoi(argv[1]) : -1;
    PelaconSvcStart();
    int32_t client = 0;
    if (BleGattClient::BleGattClientRegister(&client) != kBleStatusSuccess) {
        std::fputs("No answer from the service: is PelaconService running?\n", stderr);
        return 1;
    }
    const uint64_t sensor = FindSensor();
    if (sensor == 0) {
        std::fputs("Scanning was refused: is Bluetooth on?\n", stderr);
        return 1;
    }
    BleGattClient::BleGattClientConnect(client, sensor, &clientCallbacks);
    bool hasSensor = true;
    while (remaining != 0) {
        const Event event = Wait();
        if (event.what == Event::kConnected) {
            if (Subscribe(client)) {
                hasSensor = true;
            } else {
                BleGattClient::BleGattClientDisconnect(client);
            }
        } else if (event.what == Event::kDisconnected) {
            if (std::exchange(hasSensor, false)) {
                std::puts("no sensor");
            }
            BleGattClient::BleGattClientConnect(client, sensor, &clientCallbacks);
        } else if (event.what == Event::kMeasured && Print(event.data)) {
            --remaining;
        }
    }
    BleGattClient::BleGattClientUnRegister(client);
    PelaconSvcStop();
    return 0;
}
