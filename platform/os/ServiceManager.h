// The system's service manager, if it started this process.
#pragma once

namespace pelacon::os {

/// Reports that this service is ready, to the socket that NOTIFY_SOCKET names (systemd's
/// Type=notify). Does nothing without that variable; false when the report cannot be sent. Does
/// nothing on Windows.
bool NotifyReady();

}  // namespace pelacon::os
