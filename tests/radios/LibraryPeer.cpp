// A device for LibraryTest and the soak test, made with the library: advertises a service, keeps a
// value, and notifies as often as it is asked to. Commands on standard input, a line each: "serve"
// begins anew, after a restart of the service, "advertise" only advertises again, after trouble
// with the adapter. Ends at the end of standard input.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/radios/LibraryPeer.h>
#include <tests/support/Eventually.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace {

using namespace pelacon::radios_test;

std::mutex mutex;
std::condition_variable changed;
std::uint32_t wanted = 0;
bool isOver = false;

/// How many values may be on their way.
constexpr int kMostUnderWay = 32;
int underWay = 0;

BtGattServerCallbacksC serverCallbacks{nullptr, nullptr,
                                       [](uint64_t, uint32_t status) {
                                           if (status != 0) {
                                               std::printf("not sent: %u\n", status);
                                           }
                                           const std::lock_guard lock(mutex);
                                           --underWay;
                                           changed.notify_all();
                                       },
                                       nullptr};
BtGattCharCallbacksC valueCallbacks{};
BtGattCharCallbacksC controlCallbacks{
    nullptr, [](uint64_t, const char*, const char*, const uint8_t* data, uint32_t dataLen) {
        if (dataLen == sizeof wanted) {
            const std::lock_guard lock(mutex);
            std::memcpy(&wanted, data, sizeof wanted);
            changed.notify_all();
        }
    }};
BleAdvCallbacksC advCallbacks{nullptr};

bool Check(BleStatusC status, const char* what)
{
    if (status != kBleStatusSuccess) {
        std::printf("cannot %s: %d\n", what, status);
    }
    return status == kBleStatusSuccess;
}

/// What the service knows this device by.
struct Device {
    int32_t server = 0;
    int32_t service = 0;
    int32_t advertiser = 0;
};

bool Serve(Device& device)
{
    const auto add = [&](const char* uuid, int32_t flags, BtGattCharCallbacksC* callbacks) {
        BLECharacteristicInfo info{uuid, flags, callbacks, {0}};
        return Check(
            BleGattServer::BleGattServerAddCharacteristic(device.server, device.service, &info),
            "add a characteristic");
    };
    return Check(BleGattServer::BleGattServerRegister(&serverCallbacks, &device.server),
                 "register") &&
           Check(BleGattServer::BleGattServerAddService(device.server, kService, &device.service),
                 "add the service") &&
           add(kValue, kBleGattCharRead | kBleGattCharWrite, &valueCallbacks) &&
           add(kNumbers, kBleGattCharNotify, nullptr) &&
           add(kControl, kBleGattCharWrite, &controlCallbacks) &&
           Check(BleGattServer::BleGattServerStartService(device.server, device.service),
                 "start the service");
}

bool Advertise(const Device& device)
{
    return Check(
        BleAdvertiser::BleStartAdvertise(device.advertiser, {}, {kAdvertisement, kScanResponse}),
        "advertise");
}

bool Begin(Device& device)
{
    return Serve(device) &&
           Check(BleAdvertiser::BleAdvRegisterCallbacks(&advCallbacks, &device.advertiser),
                 "register an advertiser") &&
           Advertise(device);
}

/// What a bluetoothd that has just begun does not answer in time is tried again.
template <typename Attempt>
bool InTheEnd(const Attempt& attempt)
{
    return pelacon::test::Eventually(attempt, std::chrono::seconds(60),
                                     std::chrono::milliseconds(500));
}

/// After trouble Bluetooth comes back by itself, or can be switched on.
bool SwitchOn()
{
    return InTheEnd([] { return BleManager::IsBtEnabled() || (BleManager::BtEnable(), false); });
}

/// The library has kept the advertiser; servers are the program's to register again.
void Obey(const std::string& command, Device& device)
{
    if (!SwitchOn()) {
        std::puts("Bluetooth stays off");
    } else if (command == "serve") {
        BleGattServer::BleGattServerUnRegister(device.server);
        Device next{.advertiser = device.advertiser};
        if (Serve(next) && InTheEnd([&] { return Advertise(next); })) {
            const std::lock_guard lock(mutex);
            device = next;
            std::puts("serves");
        }
    } else if (InTheEnd([&] { return Advertise(device); })) {
        std::puts("advertises");
    }
}

/// Publishes the numbers from 0 to one below the count, unless a client asks again meanwhile.
void Count(const Device& device, std::uint32_t count)
{
    for (std::uint32_t number = 0; number < count; ++number) {
        std::vector<uint8_t> value(kNumberSize, static_cast<uint8_t>(number));
        std::memcpy(value.data(), &number, sizeof number);
        std::unique_lock lock(mutex);
        changed.wait(lock, [] { return isOver || wanted != 0 || underWay < kMostUnderWay; });
        if (isOver || wanted != 0) {
            return;
        }
        ++underWay;
        lock.unlock();
        if (!Check(BleGattServer::BleGattServerPublishNotify(device.server, device.service,
                                                             kNumbers, value, 0),
                   "publish")) {
            return;
        }
    }
    std::printf("counted %u\n", count);
}

/// Counts whenever a client asks for it.
void ServeClients(const Device& device)
{
    std::unique_lock lock(mutex);
    for (;;) {
        changed.wait(lock, [] { return isOver || wanted != 0; });
        if (isOver) {
            return;
        }
        const std::uint32_t count = std::exchange(wanted, 0);
        underWay = 0;  // what was under way when a connection ended is not reported
        const Device now = device;
        lock.unlock();
        Count(now, count);
        lock.lock();
    }
}

}  // namespace

int main()
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    PelaconSvcStart();
    Device device;
    if (!SwitchOn() || !Begin(device)) {
        return 1;
    }
    std::puts("ready");
    std::thread counter(ServeClients, std::ref(device));
    for (std::string command; std::getline(std::cin, command);) {
        Obey(command, device);
    }
    {
        const std::lock_guard lock(mutex);
        isOver = true;
        changed.notify_all();
    }
    counter.join();
    BleGattServer::BleGattServerUnRegister(device.server);
    PelaconSvcStop();
    return 0;
}
