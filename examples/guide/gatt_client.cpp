// A GATT client: connects to a lamp, switches it on, and reads its switch.
#include "Inbox.h"

#include <PelaconSDK/PelaconSDK.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr uint64_t kLamp = 0xC00000000004;  // of the simulated world
const std::string service = "5e1ac0de-0001-4000-8000-000000000000";
const std::string lampSwitch = "5e1ac0de-0002-4000-8000-000000000000";

auto& connections = *new Inbox<int32_t>;

void OnConnectionState(int32_t /*client*/, int32_t state, int32_t /*reason*/)
{
    connections.Put(state);
}

/// What the lamp's switch says afterwards; empty after a failure.
std::string SwitchOn(int32_t client)
{
    std::vector<uint8_t> value;
    if (BleGattClient::BleGattClientSearchServices(client) != kBleStatusSuccess ||
        BleGattClient::BleGattClientWriteCharacteristic(client, service, lampSwitch, {'o', 'n'}) !=
            kBleStatusSuccess ||
        BleGattClient::BleGattClientReadCharacteristic(client, service, lampSwitch, &value) !=
            kBleStatusSuccess) {
        return {};
    }
    return {value.begin(), value.end()};
}

}  // namespace

int main()
{
    PelaconSvcStart();
    static BtGattClientCallbacksC callbacks{&OnConnectionState, nullptr};
    int32_t client = 0;
    const BleStatusC result = BleGattClient::BleGattClientRegister(&client);
    if (result != kBleStatusSuccess) {
        std::fprintf(stderr, "GATT: %s\n", PelaconStatusText(kPelaconStatusBle, result));
        return 1;
    }
    BleGattClient::BleGattClientConnect(client, kLamp, &callbacks);  // returns at once
    std::string lamp;
    if (connections.Next() == kBleGattConnected) {
        lamp = SwitchOn(client);
        std::printf("the lamp is %s\n", lamp.c_str());
    }

    BleGattClient::BleGattClientUnRegister(client);  // ends the connection
    PelaconSvcStop();
    return lamp == "on" ? 0 : 1;
}
