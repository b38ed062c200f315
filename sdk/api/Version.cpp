#include <PelaconSDK/Version.h>

int32_t PelaconGetVersionNumber()
{
    return PELACON_VERSION_NUMBER;
}

const char* PelaconGetVersion()
{
    return PELACON_VERSION_TEXT;  // defined by the build
}
