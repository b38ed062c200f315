/* A program for the DLL that another compiler built, without a runtime library: only the import
 * library of the DLL, and that of the system. It ends with 0 if the service answers. */
#include <PelaconSDK/PelaconSDK.h>

__declspec(dllimport) void ExitProcess(unsigned code);

void Start(void)
{
    static uint8_t name[64];
    int32_t size = sizeof name;
    BleStatusC result = kBleStatusNoReply;
    PelaconSvcStart();
    result = GetBtName(name, &size);
    PelaconSvcStop();
    ExitProcess(result == kBleStatusSuccess && name[0] != 0 ? 0 : 1);
}
