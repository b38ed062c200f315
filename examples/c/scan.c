/* Scanning: prints the first ten advertisements, with the device's name where there is one. */
#include "Wait.h"

#include <PelaconSDK/PelaconSDK.h>

#include <stdatomic.h>
#include <stdio.h>

static atomic_int results;

static bool AreEnough(void)
{
    return results >= 10;
}

/* Each call has a thread of its own; several may run at once. */
static void OnScanResult(int32_t listenerId, BleScanResultC result)
{
    const uint8_t completeName = 0x09;
    uint8_t* name = NULL;
    uint32_t length = 0;
    (void)listenerId;
    if (BleGetAdvDataByType(result.data, result.dataLen, completeName, &name, &length) !=
            kBleStatusSuccess ||
        length > sizeof result.data) {
        length = 0;
    }
    printf("  %012llX  %4d dBm  %.*s\n", (unsigned long long)result.address, result.rssi,
           (int)length, length == 0 ? "" : (const char*)name);
    ++results;
}

int main(void)
{
    static BleScanCallbacksC callbacks = {NULL, OnScanResult};
    int listener = 0;

    PelaconSvcStart();
    if (BleScanRegisterCallbacks(&callbacks, &listener) != kBleStatusSuccess) {
        fputs("No answer from the service: is PelaconService running?\n", stderr);
        return 1;
    }
    const bool found =
        StartBleScan(listener, kBleScanLowLatency) == kBleStatusSuccess && WaitUntil(AreEnough);
    BleScanUnRegisterCallbacks(listener);
    PelaconSvcStop();
    return found ? 0 : 1;
}
