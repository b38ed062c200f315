#include <os/Wlan.h>
#include <sdk/diag/Log.h>
#include <sdk/wifi/WlanScan.h>

#include <atomic>
#include <memory>

namespace pelacon {

using diag::Log;

namespace {

/// The process's one client of the system's WLAN service, opened when it is first needed and never
/// closed. Of two that are opened at the same moment the later one is kept.
os::WlanHandle InstanceHandle()
{
    static std::atomic<os::WlanHandle> handle{nullptr};
    if (handle == nullptr) {
        handle = os::OpenWlan();
        if (handle == nullptr) {
            Log(kLogFailure, "InstanceHandle", "WlanOpenHandle failed");
        }
    }
    return handle;
}

bool ScanFirstInterface(os::WlanHandle handle)
{
    const std::unique_ptr<os::WlanInterfaces> interfaces = os::ListWlanInterfaces(handle);
    if (!interfaces || interfaces->Count() == 0) {
        return false;
    }
    interfaces->RequestScan(0);
    return true;
}

}  // namespace

bool StartWlanScan(const char* function)
{
    diag::LogStart(function);
    if (!ScanFirstInterface(InstanceHandle())) {
        Log(kLogFailure, function, "WlanEnumInterfaces failed");
        return false;
    }
    diag::LogEnd(function);
    return true;
}

}  // namespace pelacon
