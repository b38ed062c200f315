/* The adapter: switches Bluetooth off and on again, and waits for the callback each time. */
#include "Wait.h"

#include <PelaconSDK/PelaconSDK.h>

#include <stdatomic.h>
#include <stdio.h>

static atomic_int state = kBtStateUnknown;

static void OnStateChanged(int32_t newState)
{
    printf("  callback: state %d\n", newState);
    state = newState;
}

static bool IsOff(void)
{
    return state == kBtStateOff;
}

static bool IsOn(void)
{
    return state == kBtStateOn;
}

int main(void)
{
    static BtManagerCallbacksC callbacks = {OnStateChanged};
    BtInfo info;

    PelaconSvcStart();
    if (RegisterBtStateChangeCallbacks(&callbacks) != kBleStatusSuccess ||
        GetBtMacAndName(&info) != kBleStatusSuccess) {
        fputs("No answer from the service: is PelaconService running?\n", stderr);
        return 1;
    }
    /* A name that fills its field has no NUL. */
    printf("  %012llX is \"%.*s\"\n", (unsigned long long)info.mac, (int)sizeof info.name,
           info.name);
    const bool switched = BtDisable() == kBleStatusSuccess && WaitUntil(IsOff) &&
                          BtEnable() == kBleStatusSuccess && WaitUntil(IsOn);
    UnRegisterBtStateChangeCallbacks(&callbacks);
    PelaconSvcStop();
    return switched ? 0 : 1;
}
