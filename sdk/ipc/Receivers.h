// The receivers of notifications, which call the handler for each.
#pragma once

#include <IPCMessage/IPCMessageClient.h>

namespace pelacon {

/// The two receivers. Each handles its own notifications and ignores all others.
void OnIpcMessage(TagIPCMessageItem& item);
void OnIpcMessageExt(TagIPCMessageItem& item);

/// Whether the calling thread is inside one of them.
bool IsInReceiver() noexcept;

/// Registers a receiver with the client for each notification, in the catalogue's order. Without a
/// client only a line is logged.
void RegIpcMessage(IPCMessageClient* client);

}  // namespace pelacon
