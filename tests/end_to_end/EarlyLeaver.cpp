// An application that returns from main right after it started the library, without a service.
#include <PelaconSDK/PelaconSDK.h>

int main()
{
    constexpr int kExitCode = 42;
    return PelaconSvcStart() == 0 && !IsBtEnabled() ? kExitCode : 1;
}
