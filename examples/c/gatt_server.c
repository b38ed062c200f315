/* A GATT server: a lamp, until it has been switched by a peer and the peer has left. */
#include "Lamp.h"
#include "Wait.h"

#include <PelaconSDK/PelaconSDK.h>

#include <stdatomic.h>
#include <stdio.h>
#include <string.h>

static atomic_bool hasWritten;
static atomic_bool hasLeft;

static void OnDisconnect(uint64_t peer)
{
    (void)peer;
    hasLeft = hasWritten;
}

static void OnWrite(uint64_t peer, const char* service, const char* characteristic,
                    const uint8_t* data, uint32_t length)
{
    (void)service;
    (void)characteristic;
    printf("  %012llX switched the lamp %.*s\n", (unsigned long long)peer, (int)length,
           (const char*)data);
    hasWritten = true;
}

static bool HasLeft(void)
{
    return hasLeft;
}

/* Publishes the lamp's service. */
static bool Serve(int32_t* server)
{
    static BtGattServerCallbacksC callbacks = {NULL, OnDisconnect, NULL, NULL};
    static BtGattCharCallbacksC switchCallbacks = {NULL, OnWrite};
    BLECharacteristicInfoC info;
    int32_t service = 0;
    memset(&info, 0, sizeof info);
    memcpy(info.charUuid, lampSwitch, sizeof lampSwitch);
    info.flags = kBleGattCharRead | kBleGattCharWrite;
    info.callbacks = &switchCallbacks;
    memcpy(info.value, "off", 3);
    info.valueLen = 3;
    return BleGattServerRegister(&callbacks, server) == kBleStatusSuccess &&
           BleGattServerAddService(*server, lampService, &service) == kBleStatusSuccess &&
           BleGattServerAddCharacteristic(*server, service, &info) == kBleStatusSuccess &&
           BleGattServerStartService(*server, service) == kBleStatusSuccess;
}

int main(void)
{
    int32_t server = 0;
    setvbuf(stdout, NULL, _IONBF, 0); /* unbuffered, also into a pipe */

    PelaconSvcStart();
    if (!Serve(&server)) {
        fputs("The service refuses, or is not running.\n", stderr);
        return 1;
    }
    puts("  serving");
    const bool done = WaitUntil(HasLeft);
    BleGattServerUnRegister(server);
    PelaconSvcStop();
    return done ? 0 : 1;
}
