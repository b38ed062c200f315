// The way to the service, and who wants to hear from it.
#pragma once

#include <IPCMessage/IPCMessageClient.h>
#include <sdk/ipc/AdvertiserCallbacks.h>
#include <sdk/ipc/BleManagerCallbacks.h>
#include <sdk/ipc/GattClientCallbacks.h>
#include <sdk/ipc/GattServerCallbacks.h>
#include <sdk/ipc/ScanCallbacks.h>
#include <sdk/ipc/SoftApCallbacks.h>
#include <sdk/ipc/SoftApListeners.h>
#include <sdk/ipc/TargetAdvCallbacks.h>
#include <sdk/ipc/WifiConfigCallbacks.h>
#include <sdk/ipc/WifiStateListeners.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>

namespace pelacon {

/// The process's one sender: it knows the message client while the library is started, has the two
/// ways of sending, and holds one registry of application callbacks per family (the bases, each
/// with a mutex of its own). Lives until the process ends, as threads may use it until then.
class IPCMessageSender : public BleManagerCallbacks,
                         public AdvertiserCallbacks,
                         public ScanCallbacks,
                         public TargetAdvCallbacks,
                         public GattClientCallbacks,
                         public GattServerCallbacks,
                         public SoftApCallbacks,
                         public WifiConfigCallbacks,
                         public SoftApListeners,
                         public WifiStateListeners {
  public:
    static IPCMessageSender& GetInstance();

    IPCMessageSender(const IPCMessageSender&) = delete;
    IPCMessageSender& operator=(const IPCMessageSender&) = delete;

    /// Sends through this client from now on. The client stays its owner's.
    void SetIPCMessageSender(IPCMessageClient* client);

    /// Sends through no client any more: what is asked later is refused.
    void ForgetClient();

    /// Waits until no request or post that began before ForgetClient uses the client.
    void WaitUntilClientIsUnused();

    /// Sends a request and waits for its reply. False, with nothing sent, when there is no client;
    /// true otherwise, whatever became of the request: a missing answer shows in the reply, which
    /// then has no payload. The reply's payload is the caller's to free.
    bool SendIPCMessageToService(std::int32_t messageId, const void* payload, std::uint32_t length,
                                 std::uint32_t timeoutMs, TagIPCMessageItem& reply);

    /// Posts the one message that is ever posted, the GATT client's connect with its 16 bytes,
    /// whatever id is given. False when there is no client.
    bool PostIPCMessageToService(std::int32_t messageId, const void* payload);

    /// Has no request wait longer than this. For tests of what comes after a long wait: what the
    /// library exports does not lead here.
    void LimitWaits(std::chrono::milliseconds longest);

    /// The service has started anew: tells it what the library still holds, if it is the service
    /// that was installed.
    void ServiceStartNotifyCallback();

  private:
    class ClientUse;

    IPCMessageSender() = default;
    ~IPCMessageSender() = default;

    void SendRepairRequest();

    /// Asks the service again for the Wi-Fi notifications that somebody is registered for.
    void RestoreSoftAp();

    std::atomic<IPCMessageClient*> client_{nullptr};
    std::atomic<std::uint32_t> longestWaitMs_{std::numeric_limits<std::uint32_t>::max()};
};

}  // namespace pelacon
