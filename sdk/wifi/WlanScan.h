// The scan for networks, which goes to the operating system and not to the service.
#pragma once

namespace pelacon {

/// Has the first wireless interface scan, under the caller's name in the log. False when there is
/// no such interface; what became of the scan is not known.
bool StartWlanScan(const char* function);

}  // namespace pelacon
