/* The soft AP: created, with its callbacks, and destroyed. */
#include "Wait.h"

#include <PelaconSDK/PelaconSDK.h>

#include <stdatomic.h>
#include <stdio.h>
#include <string.h>

static atomic_bool isUp;

static void OnAdvertisementState(const SoftApAdvertisementState* state)
{
    printf("  callback: status %u, channel %d\n", state->status, state->channel);
    isUp = state->status != kSoftApAdvertisementStopped;
}

static bool IsUp(void)
{
    return isUp;
}

static bool IsDown(void)
{
    return !isUp;
}

int main(void)
{
    static SoftApNotificationCallbacksC callbacks = {NULL, OnAdvertisementState, NULL};
    SoftAPInfoC ap;
    memset(&ap, 0, sizeof ap);
    ap.requestedBand = kSoftApBandAny;
    ap.purpose = kGoPurposeTransfer;

    PelaconSvcStart();
    if (WifiSystemRegisterSoftApNotificationEventCallback(&callbacks) != 0) {
        fputs("No answer from the service: is PelaconService running?\n", stderr);
        return 1;
    }
    bool done = WifiSystemCreateSoftAP(&ap) == kSoftApSuccess && WaitUntil(IsUp);
    if (done) {
        printf("  join \"%s\" with \"%s\", channel %d, %s\n", ap.ssid, ap.password, ap.channel,
               ap.ipAddress);
    }
    done =
        WifiSystemDestroySoftAP(kGoPurposeTransfer) == kSoftApSuccess && WaitUntil(IsDown) && done;
    WifiSystemUnRegisterSoftApNotificationEventCallback(&callbacks);
    PelaconSvcStop();
    return done ? 0 : 1;
}
