// The channel to the service, and the registries of application callbacks.
#pragma once

#include <IPCMessage/IPCMessageClient.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>

namespace pelacon {

/// The process's one sender: it knows the message client while the library is started, has the two
/// ways of sending, and holds one registry of application callbacks per family. Lives until the
/// process ends, as threads may use it until then.
class IPCMessageSender {
  public:
    static IPCMessageSender& GetInstance();

    IPCMessageSender(const IPCMessageSender&) = delete;
    IPCMessageSender& operator=(const IPCMessageSender&) = delete;

    /// Sends through this client from now on. The caller keeps ownership.
    void SetIPCMessageSender(IPCMessageClient* client);

    /// Sends through no client any more: later requests are refused.
    void ForgetClient();

    /// Waits until no request or post that began before ForgetClient uses the client.
    void WaitUntilClientIsUnused();

    /// Sends a request and waits for its reply. False, with nothing sent, when there is no client;
    /// true otherwise, whatever the result: a missing answer shows in the reply, which then has no
    /// payload. The caller frees the reply's payload.
    bool SendIPCMessageToService(std::int32_t messageId, const void* payload, std::uint32_t length,
                                 std::uint32_t timeoutMs, TagIPCMessageItem& reply);

    /// Posts the one message that is ever posted, the GATT client's connect with its 16 bytes,
    /// whatever the id. False when there is no client.
    bool PostIPCMessageToService(std::int32_t messageId, const void* payload);

    /// Limits the wait of every request. For tests: exported functions do not call it.
    void LimitWaits(std::chrono::milliseconds longest);

    /// The registry of one family: its header names the class.
    template <typename Callbacks>
    Callbacks& Registry();

    /// The service was restarted: sends it what the library still holds, if it is the installed
    /// service.
    void ServiceStartNotifyCallback();

  private:
    class ClientUse;
    struct Registries;

    IPCMessageSender();
    ~IPCMessageSender() = delete;

    /// Whether the service has repaired what it held.
    bool SendRepairRequest();

    /// Repeats the requests for the Wi-Fi notifications that callbacks are registered for.
    void RestoreSoftAp();

    std::atomic<IPCMessageClient*> client_{nullptr};
    std::atomic<std::uint32_t> longestWaitMs_{std::numeric_limits<std::uint32_t>::max()};
    const std::unique_ptr<Registries> registries_;
};

template <typename Callbacks>
Callbacks& Registry()
{
    return IPCMessageSender::GetInstance().Registry<Callbacks>();
}

}  // namespace pelacon
