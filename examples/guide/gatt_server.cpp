// A GATT server: a lamp, until a peer has switched it and has left.
#include "Inbox.h"

#include <PelaconSDK/PelaconSDK.h>

#include <chrono>
#include <cstdio>
#include <string>

namespace {

constexpr auto kService = "5e1ac0de-0001-4000-8000-000000000000";
constexpr auto kSwitch = "5e1ac0de-0002-4000-8000-000000000000";

auto& writes = *new Inbox<std::string>;
auto& departures = *new Inbox<uint64_t>;

void OnWrite(uint64_t /*peer*/, const char* /*service*/, const char* /*characteristic*/,
             const uint8_t* data, uint32_t length)
{
    writes.Put({data, data + length});
}

void OnDisconnect(uint64_t peer)
{
    departures.Put(peer);
}

/// Shows the lamp to peers.
BleStatusC Serve(int32_t& server)
{
    static BtGattServerCallbacksC callbacks{nullptr, &OnDisconnect, nullptr, nullptr};
    static BtGattCharCallbacksC switchCallbacks{nullptr, &OnWrite};
    BLECharacteristicInfo lampSwitch{
        kSwitch, kBleGattCharRead | kBleGattCharWrite, &switchCallbacks, {'o', 'f', 'f'}};
    int32_t service = 0;
    BleStatusC result = BleGattServer::BleGattServerRegister(&callbacks, &server);
    if (result == kBleStatusSuccess) {
        result = BleGattServer::BleGattServerAddService(server, kService, &service);
    }
    if (result == kBleStatusSuccess) {
        result = BleGattServer::BleGattServerAddCharacteristic(server, service, &lampSwitch);
    }
    return result == kBleStatusSuccess ? BleGattServer::BleGattServerStartService(server, service)
                                       : result;
}

}  // namespace

int main()
{
    PelaconSvcStart();
    int32_t server = 0;
    const BleStatusC result = Serve(server);
    if (result != kBleStatusSuccess) {
        std::fprintf(stderr, "GATT: %s\n", PelaconStatusText(kPelaconStatusBle, result));
        return 1;
    }
    std::puts("serving");
    std::fflush(stdout);
    const auto value = writes.Next(std::chrono::minutes(1));
    if (value) {
        std::printf("a peer switched the lamp %s\n", value->c_str());
        departures.Next();
    }

    BleGattServer::BleGattServerUnRegister(server);
    PelaconSvcStop();
    return value == "on" ? 0 : 1;
}
