/* Advertising: sends a name and a service for half a second. */
#include "Wait.h"

#include <PelaconSDK/PelaconSDK.h>

#include <stdatomic.h>
#include <stdio.h>
#include <string.h>

static atomic_int endedWith = -1;

static void OnAdvertiseDisabled(int32_t advertiser, int32_t status)
{
    (void)advertiser;
    endedWith = status;
}

static bool HasEnded(void)
{
    return endedWith != -1;
}

int main(void)
{
    static BleAdvCallbacksC callbacks = {OnAdvertiseDisabled};
    static const uint8_t bytes[] = {2, 0x01, 0x06,       /* flags */
                                    3, 0x03, 0x0F, 0x18, /* service 180F */
                                    5, 0x09, 'd',  'e',  's', 'k'};
    const BleAdvertiseDataC data = {sizeof bytes, bytes, 0, NULL};
    BleAdvertiseParamsC params;
    int advertiser = 0;

    PelaconSvcStart();
    if (BleAdvRegisterCallbacks(&callbacks, &advertiser) != kBleStatusSuccess) {
        fputs("No answer from the service: is PelaconService running?\n", stderr);
        return 1;
    }
    memset(&params, 0, sizeof params);
    params.sendTotalTime = 500;
    const bool started = BleStartAdvertise(advertiser, &params, &data) == kBleStatusSuccess;
    if (started) {
        puts("  advertising");
    }
    const bool ended = started && WaitUntil(HasEnded) && endedWith == kBleAdvTimeOver;
    BleAdvUnRegisterCallbacks(advertiser);
    PelaconSvcStop();
    return ended ? 0 : 1;
}
