/* Succeeds if the library is found, by compiler and loader, and reaches the service. */
#include <PelaconSDK/PelaconSDK.h>

#include <stdio.h>

int main(void)
{
    PelaconSvcStart();
    bool enabled = IsBtEnabled();
    PelaconSvcStop();
    printf("Bluetooth is %s\n", enabled ? "on" : "not on");
    return enabled ? 0 : 1;
}
