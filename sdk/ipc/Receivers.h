// The receivers of notifications, which call the handler for each.
#pragma once

#include <IPCMessage/IPCMessageClient.h>

namespace pelacon {

/// The two receivers. Each handles its own notifications and ignores all others.
void OnIpcMessage(TagIPCMessageItem& item);
void OnIpcMessageExt(TagIPCMessageItem& item);

/// While it exists, this thread calls the application on behalf of the client's receive thread.
class InReceiver {
  public:
    InReceiver() noexcept;
    ~InReceiver();
    InReceiver(const InReceiver&) = delete;
    InReceiver& operator=(const InReceiver&) = delete;
};

/// Whether the calling thread has an InReceiver, as inside the two receivers.
bool IsInReceiver() noexcept;

/// Registers a receiver with the client for each notification, in the catalogue's order. Without a
/// client only a line is logged.
void RegIpcMessage(IPCMessageClient* client);

}  // namespace pelacon
