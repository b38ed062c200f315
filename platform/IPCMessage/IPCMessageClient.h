// The message client: requests and posted messages to a service, notifications from it.
#pragma once

#include <IPCMessage/TagIPCMessageItem.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

/// A client of one service. Every member may be called from any thread.
///
/// A request travels on a connection of its calling thread and is answered there, so calls of
/// several threads do not wait for each other, and a call made inside a notification callback is
/// answered like any other. Notifications arrive on one receive thread, in the order sent.
class IPCMessageClient {
  public:
    /// Runs on the receive thread. The item and its payload are the client's and end with the call.
    /// The payload buffer holds at least 2,048 bytes and is zero behind the payload. What it
    /// throws ends the process.
    using MessageCallback = std::function<void(TagIPCMessageItem& item)>;

    /// For diagnosis.
    struct Statistics {
        std::uint64_t timedOut = 0;   ///< requests that were not answered in time
        std::uint64_t connected = 0;  ///< how often the event connection came up
        std::uint64_t unhandled = 0;  ///< notifications without a registered callback
    };

    /// Connects if the service is running, without waiting for it. Otherwise, and whenever the
    /// connection is lost, a thread tries again (after 50 ms at first, then up to every 2 s).
    /// Throws std::system_error if that thread cannot be created. The two flags have no effect.
    IPCMessageClient(int moduleId, bool reserved1, bool reserved2, const std::wstring& pipeName);

    /// Calls UnRegisterMessageCallbackAll. No other member may be running.
    ~IPCMessageClient();

    IPCMessageClient(const IPCMessageClient&) = delete;
    IPCMessageClient& operator=(const IPCMessageClient&) = delete;

    /// Registers the callback for notifications with this id; it replaces an earlier one.
    void RegisterMessageCallback(int messageId, MessageCallback callback);

    /// Stops the client: removes all callbacks and makes waiting and later requests fail at once.
    /// Waits for a running callback, unless it is called from inside that; no callback is called
    /// afterwards. Returns true.
    bool UnRegisterMessageCallbackAll();

    /// Sends a request and waits for its reply for at most timeoutMs. If it is answered, fills the
    /// reply and returns true. The reply's payload belongs to the caller: it is allocated with
    /// malloc, has at least 1,024 bytes (2,048 if `length` is 0) and is zero after `length`. In a
    /// reply without payload, `message` is null. Returns false and leaves the reply unchanged if
    /// there is no service, if it does not answer in time or ends, or if the payload is too large
    /// for a frame.
    bool SendIPCMessage(TagIPCMessageItem& request, TagIPCMessageItem& reply,
                        unsigned timeoutMs) const;

    /// Sends a message that has no reply. No request that any thread makes after this has returned
    /// overtakes it. Returns whether it was written to the service's pipe.
    bool PostIPCMessage(const TagIPCMessageItem& item) const;

    Statistics GetStatistics() const;

  private:
    class Implementation;
    std::shared_ptr<Implementation> implementation_;
};
