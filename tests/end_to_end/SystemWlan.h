// The wireless interfaces of the machine that runs the tests.
#pragma once

#include <os/Wlan.h>

namespace pelacon::test {

/// Whether the system has a wireless interface.
inline bool SystemHasWlan()
{
    static const os::WlanHandle handle = os::OpenWlan();
    const auto interfaces = os::ListWlanInterfaces(handle);
    return interfaces && interfaces->Count() != 0;
}

}  // namespace pelacon::test
