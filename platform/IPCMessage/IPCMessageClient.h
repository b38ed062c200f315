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

    /// What the channel has been through, for diagnosis.
    struct Statistics {
        std::uint64_t timedOut = 0;   ///< requests that got no answer in time
        std::uint64_t connected = 0;  ///< times that the event connection came up
        std::uint64_t unhandled = 0;  ///< notifications that no callback was registered for
    };

    /// Connects at once if the service is there, without waiting for it; otherwise, and whenever
    /// the connection is lost, goes on trying in the background (from every 50 ms to every 2 s).
    /// Throws std::system_error when the receive thread cannot be created.
    /// The two flags are kept for the contract's sake and have no effect.
    IPCMessageClient(int moduleId, bool reserved1, bool reserved2, const std::wstring& pipeName);

    /// As UnRegisterMessageCallbackAll. The caller sees to it that no other member is running.
    ~IPCMessageClient();

    IPCMessageClient(const IPCMessageClient&) = delete;
    IPCMessageClient& operator=(const IPCMessageClient&) = delete;

    /// Has the callback called for each notification with this id, in place of the one before.
    void RegisterMessageCallback(int messageId, MessageCallback callback);

    /// Ends the client's work: all callbacks are forgotten, requests that wait end at once without
    /// a payload, and later ones are refused. Waits for a callback that is running, unless called
    /// from inside it; afterwards none runs. Returns true.
    bool UnRegisterMessageCallbackAll();

    /// Sends a request and waits for its reply, at most timeoutMs from the call on. On an answer
    /// fills the reply and returns true; its payload is allocated with malloc, holds at least 1,024
    /// bytes (2,048 if `length` is 0), is zero behind `length`, and belongs to the caller. An
    /// answer without payload leaves `message` null. Returns false, the reply untouched, when there
    /// is no service, it does not answer in time, goes away meanwhile, or the payload is too large
    /// for a frame.
    bool SendIPCMessage(TagIPCMessageItem& request, TagIPCMessageItem& reply,
                        unsigned timeoutMs) const;

    /// Sends a message that has no reply. A request that is made after this returns, by whichever
    /// thread, does not overtake it. Returns whether it was handed to the service's pipe.
    bool PostIPCMessage(const TagIPCMessageItem& item) const;

    Statistics GetStatistics() const;

  private:
    class Implementation;
    std::shared_ptr<Implementation> implementation_;
};
