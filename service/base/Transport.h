// The core's way to its clients.
#pragma once

#include <IPCMessage/IPCMessageServer.h>

namespace pelacon::service {

/// Implemented by IPCMessageServer, and by tests.
using Transport = IPCServerTransport;

}  // namespace pelacon::service
