/* The service's end and return: keeps a callback for the adapter through restarts of the service,
 * and ends when the service has been restarted once. Restart it with: pelaconctl service restart */
#include "Wait.h"

#include <PelaconSDK/PelaconSDK.h>

#include <stdatomic.h>
#include <stdio.h>

static atomic_int state = kPelaconServiceNotFound;

static void OnServiceState(void* context, PelaconServiceState newState)
{
    static const char* const words[] = {"not found", "available", "lost", "restarted",
                                        "restarted, but not repaired"};
    (void)context;
    printf("  the service is %s\n", words[newState]);
    fflush(stdout);
    state = newState;
}

static void OnAdapterState(int32_t adapterState)
{
    printf("  callback: adapter state %d\n", adapterState);
    fflush(stdout);
}

static bool IsFound(void)
{
    return state != kPelaconServiceNotFound;
}

static bool IsThereAgain(void)
{
    return state == kPelaconServiceRestarted || state == kPelaconServiceNotRepaired;
}

int main(void)
{
    static BtManagerCallbacksC callbacks = {OnAdapterState};

    PelaconSetServiceSink(NULL, OnServiceState);
    PelaconSvcStart();
    if (!WaitUntil(IsFound)) {
        fputs("No service was found: is PelaconService running?\n", stderr);
        return 1;
    }
    if (RegisterBtStateChangeCallbacks(&callbacks) != kBleStatusSuccess) {
        fputs("The callback cannot be registered.\n", stderr);
        return 1;
    }
    const bool thereAgain = WaitUntil(IsThereAgain);
    /* The library has registered the callback again, unless nothing was repaired. */
    if (state == kPelaconServiceNotRepaired) {
        RegisterBtStateChangeCallbacks(&callbacks);
    }
    UnRegisterBtStateChangeCallbacks(&callbacks);
    PelaconSvcStop();
    PelaconSetServiceSink(NULL, NULL);
    return thereAgain ? 0 : 1;
}
