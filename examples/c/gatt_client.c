/* A GATT client: switches a lamp on and reads its switch. gatt_client [ADDRESS], twelve hexadecimal
 * digits; without one the lamp of the simulated world. */
#include "Lamp.h"
#include "Wait.h"

#include <PelaconSDK/PelaconSDK.h>

#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static atomic_int connection = -1;

static void OnConnectionState(int32_t client, int32_t state, int32_t reason)
{
    (void)client;
    (void)reason;
    connection = state;
}

static bool HasResult(void)
{
    return connection != -1;
}

/* Whether the lamp is on afterwards. */
static bool SwitchOn(int32_t client)
{
    static const uint8_t on[] = {'o', 'n'};
    uint8_t value[kBleGattMaxValueLength];
    uint32_t length = 0;
    if (BleGattClientSearchServices(client) != kBleStatusSuccess ||
        BleGattClientGetService(client, lampService) != kBleStatusSuccess) {
        fputs("This device is not a lamp.\n", stderr);
        return false;
    }
    if (BleGattClientWriteCharacteristic(client, lampService, lampSwitch, on, sizeof on) !=
            kBleStatusSuccess ||
        BleGattClientReadCharacteristic(client, lampService, lampSwitch, value, &length) !=
            kBleStatusSuccess) {
        return false;
    }
    printf("  the lamp is %.*s\n", (int)length, (const char*)value);
    return length == sizeof on && memcmp(value, on, sizeof on) == 0;
}

int main(int argc, char** argv)
{
    static BtGattClientCallbacksC callbacks = {OnConnectionState, NULL};
    const uint64_t address = strtoull(argc > 1 ? argv[1] : "C00000000004", NULL, 16);
    int32_t client = 0;

    PelaconSvcStart();
    if (BleGattClientRegister(&client) != kBleStatusSuccess) {
        fputs("No answer from the service: is PelaconService running?\n", stderr);
        return 1;
    }
    BleGattClientConnect(client, address, &callbacks);
    const bool isOn = WaitUntil(HasResult) && connection == kBleGattConnected && SwitchOn(client);
    BleGattClientUnRegister(client);
    PelaconSvcStop();
    return isOn ? 0 : 1;
}
