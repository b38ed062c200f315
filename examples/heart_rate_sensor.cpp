// A heart-rate sensor: advertises, serves the heart rate, and notifies subscribers of each change.
// For use with heart_rate_display. Ends at the end of standard input, or when it reads "q".
#include <PelaconSDK/PelaconSDK.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>

namespace {

const std::string kHeartRateService = "180d";
const std::string kMeasurement = "2a37";
const std::string kBodyLocation = "2a38";
const std::string kControlPoint = "2a39";
constexpr uint8_t kChest = 1;
constexpr uint8_t kResetEnergy = 1;

std::atomic<int> energy{0};

// Callbacks are called on the library's receive thread and should return at once. The tables must
// stay valid as long as the library may use them.

BtGattServerCallbacksC serverCallbacks{
    [](uint64_t peer) { std::printf("peer %012llx connected\n", (unsigned long long)peer); },
    [](uint64_t peer) { std::printf("peer %012llx left\n", (unsigned long long)peer); },
    nullptr,  // whether a notification was sent
    nullptr,  // MTU
};

BtGattCharCallbacksC controlPointCallbacks{
    nullptr, [](uint64_t, const char*, const char*, const uint8_t* data, uint32_t dataLen) {
        if (dataLen == 1 && data[0] == kResetEnergy) {
            energy = 0;
            std::puts("energy reset");
        }
    }};

bool Check(BleStatusC status, const char* what)
{
    if (status != kBleStatusSuccess) {
        std::fprintf(stderr, "cannot %s: %d\n", what, status);
    }
    return status == kBleStatusSuccess;
}

bool Add(int32_t server, int32_t service, BLECharacteristicInfo info)
{
    return Check(BleGattServer::BleGattServerAddCharacteristic(server, service, &info),
                 "add a characteristic");
}

/// Publishes the service; false when that fails.
bool Serve(int32_t& server, int32_t& service)
{
    return Check(BleGattServer::BleGattServerRegister(&serverCallbacks, &server), "register") &&
           Check(BleGattServer::BleGattServerAddService(server, kHeartRateService, &service),
                 "add the service") &&
           Add(server, service, {kMeasurement, kBleGattCharNotify, nullptr, {}}) &&
           Add(server, service, {kBodyLocation, kBleGattCharRead, nullptr, {kChest}}) &&
           Add(server, service, {kControlPoint, kBleGattCharWrite, &controlPointCallbacks, {}}) &&
           Check(BleGattServer::BleGattServerStartService(server, service), "start the service");
}

bool Advertise()
{
    static BleAdvCallbacksC callbacks{nullptr};
    int advertiser = 0;
    const BleAdvertiseData data{{2, 0x01, 0x06, 3, 0x03, 0x0D, 0x18}, {}};  // flags; 180D
    return Check(BleAdvertiser::BleAdvRegisterCallbacks(&callbacks, &advertiser), "advertise") &&
           Check(BleAdvertiser::BleStartAdvertise(advertiser, {}, data), "advertise");
}

/// The measurement in its standard format: flags (rate in one byte, energy present), rate, energy
/// in two bytes, low byte first.
std::vector<uint8_t> Measurement(int rate, int joules)
{
    constexpr uint8_t kEnergyPresent = 0x08;
    return {kEnergyPresent, static_cast<uint8_t>(rate), static_cast<uint8_t>(joules),
            static_cast<uint8_t>(joules >> 8)};
}

std::mutex mutex;
std::condition_variable changed;
bool done = false;

void EndWithInput()
{
    std::thread([] {
        std::string line;
        while (std::getline(std::cin, line) && line != "q") {
        }
        const std::lock_guard lock(mutex);
        done = true;
        changed.notify_all();
    }).detach();
}

}  // namespace

int main()
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);  // unbuffered, also into a pipe
    PelaconSvcStart();
    int32_t server = 0;
    int32_t service = 0;
    if (!Serve(server, service) || !Advertise()) {
        return 1;
    }
    std::puts("serving");
    EndWithInput();

    std::unique_lock lock(mutex);
    for (int beat = 0; !done; ++beat) {
        changed.wait_for(lock, std::chrono::milliseconds(100), [] { return done; });
        const int rate = 60 + beat % 20;
        // Peer 0 means all subscribers.
        if (!Check(BleGattServer::BleGattServerPublishNotify(server, service, kMeasurement,
                                                             Measurement(rate, ++energy), 0),
                   "publish")) {
            break;
        }
    }
    const bool endedByInput = done;
    lock.unlock();

    BleGattServer::BleGattServerUnRegister(server);
    PelaconSvcStop();
    return endedByInput ? 0 : 1;
}
