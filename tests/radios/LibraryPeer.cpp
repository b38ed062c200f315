// A device for LibraryTest, made with the library: advertises a service, keeps a value, and
// notifies as often as it is asked to. Ends at the end of standard input.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/radios/LibraryPeer.h>

#include <condition_variable>
#include <cstdio>
#include <cstring>
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

bool Serve(int32_t& server, int32_t& service)
{
    const auto add = [&](const char* uuid, int32_t flags, BtGattCharCallbacksC* callbacks) {
        BLECharacteristicInfo info{uuid, flags, callbacks, {0}};
        return Check(BleGattServer::BleGattServerAddCharacteristic(server, service, &info),
                     "add a characteristic");
    };
    return Check(BleGattServer::BleGattServerRegister(&serverCallbacks, &server), "register") &&
           Check(BleGattServer::BleGattServerAddService(server, kService, &service),
                 "add the service") &&
           add(kValue, kBleGattCharRead | kBleGattCharWrite, &valueCallbacks) &&
           add(kNumbers, kBleGattCharNotify, nullptr) &&
           add(kControl, kBleGattCharWrite, &controlCallbacks) &&
           Check(BleGattServer::BleGattServerStartService(server, service), "start the service");
}

bool Advertise()
{
    int advertiser = 0;
    return Check(BleAdvertiser::BleAdvRegisterCallbacks(&advCallbacks, &advertiser),
                 "register an advertiser") &&
           Check(BleAdvertiser::BleStartAdvertise(advertiser, {}, {kAdvertisement, kScanResponse}),
                 "advertise");
}

/// Publishes the numbers from 0 to one below the count.
bool Count(int32_t server, int32_t service, std::uint32_t count)
{
    for (std::uint32_t number = 0; number < count; ++number) {
        std::vector<uint8_t> value(kNumberSize, static_cast<uint8_t>(number));
        std::memcpy(value.data(), &number, sizeof number);
        std::unique_lock lock(mutex);
        changed.wait(lock, [] { return isOver || underWay < kMostUnderWay; });
        ++underWay;
        lock.unlock();
        if (!Check(BleGattServer::BleGattServerPublishNotify(server, service, kNumbers, value, 0),
                   "publish")) {
            return false;
        }
    }
    return true;
}

}  // namespace

int main()
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    PelaconSvcStart();
    int32_t server = 0;
    int32_t service = 0;
    if (!Serve(server, service) || !Advertise()) {
        return 1;
    }
    std::puts("ready");
    std::thread([] {
        while (std::cin.get() != std::char_traits<char>::eof()) {
        }
        const std::lock_guard lock(mutex);
        isOver = true;
        changed.notify_all();
    }).detach();

    std::unique_lock lock(mutex);
    for (;;) {
        changed.wait(lock, [] { return isOver || wanted != 0; });
        if (isOver) {
            break;
        }
        const std::uint32_t count = std::exchange(wanted, 0);
        lock.unlock();
        if (!Count(server, service, count)) {
            return 1;
        }
        std::printf("counted %u\n", count);
        lock.lock();
    }
    lock.unlock();
    BleGattServer::BleGattServerUnRegister(server);
    PelaconSvcStop();
    return 0;
}
