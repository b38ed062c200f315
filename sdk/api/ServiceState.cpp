#include <PelaconSDK/ServiceState.h>
#include <os/Processes.h>
#include <sdk/api/CEntry.h>
#include <sdk/ipc/ServiceState.h>

void PelaconSetServiceSink(void* context, PelaconServiceSink sink)
{
    pelacon::CEntry(0, [&] {
        pelacon::ServiceState::SetSink(context, sink);
        return 0;
    });
}

PelaconServiceState PelaconGetServiceState()
{
    return pelacon::ServiceState::Of(pelacon::ServiceState::Get());
}

const char* PelaconGetServicePath()
{
    return pelacon::CEntry("", [] { return pelacon::os::ServiceInstallPath().c_str(); });
}
