// A library that expects the service relative to itself, in a folder of the test's choice.
#include <os/Processes.h>

extern "C" __attribute__((visibility("default"))) const char* ExpectedServicePath()
{
    return pelacon::os::ServiceInstallPath().c_str();
}
