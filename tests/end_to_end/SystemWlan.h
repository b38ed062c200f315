// What the machine that the tests run on has.
#pragma once

#include <os/Wlan.h>

namespace pelacon::test {

/// Whether the system knows of a wireless interface.
inline bool SystemHasWlan()
{
    static const os::WlanHandle handle = os::OpenWlan();
    const auto interfaces = os::ListWlanInterfaces(handle);
    return interfaces && interfaces->Count() != 0;
}

}  // namespace pelacon::test
