// Succeeds if the library is found, by compiler and loader, and reaches the service.
#include <PelaconSDK/PelaconSDK.h>

#include <cstdio>
#include <string>

int main()
{
    PelaconSvcStart();
    std::string name;
    const int status = BleManager::GetBtName(name);
    PelaconSvcStop();
    std::printf("GetBtName: %d, \"%s\"\n", status, name.c_str());
    return status == kBleStatusSuccess && !name.empty() ? 0 : 1;
}
