#include <os/Processes.h>
#include <os/Singleton.h>
#include <os/UseCount.h>
#include <protocol/Operation.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/AdvertiserCallbacks.h>
#include <sdk/ipc/BleManagerCallbacks.h>
#include <sdk/ipc/GattClientCallbacks.h>
#include <sdk/ipc/GattServerCallbacks.h>
#include <sdk/ipc/GroupCallbacks.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/ScanCallbacks.h>
#include <sdk/ipc/SoftApListeners.h>
#include <sdk/ipc/TargetAdvCallbacks.h>
#include <sdk/ipc/WifiConfigCallbacks.h>
#include <sdk/ipc/WifiStateListeners.h>

#include <algorithm>
#include <tuple>

namespace pelacon {

using diag::Log;
using diag::LogEnd;
using diag::LogStart;

namespace {

/// The one message that is posted, and its length.
constexpr std::int32_t kPostedMessage = 0xD70048;
constexpr std::uint32_t kPostedLength = 16;

/// Requests and posts that are using the client.
constinit os::UseCount clientUses;

TagIPCMessageItem MessageToService(std::int32_t messageId, const void* payload,
                                   std::uint32_t length)
{
    TagIPCMessageItem item;
    item.targetModuleId = protocol::kServiceModule;
    item.sourceModuleId = protocol::kSdkModule;
    item.msgId = messageId;
    item.length = length;
    // The client only reads it; the record has one pointer for both directions.
    item.message = static_cast<std::uint8_t*>(const_cast<void*>(payload));
    return item;
}

void LogNoClient(const char* function)
{
    Log(kLogIncomplete, function, "pIpcMessageSender is nullptr, return");
}

}  // namespace

/// Keeps the client alive while it is used: stop takes the pointer away first and then waits for
/// the uses to end. Both sides need sequential consistency, or each could miss the other.
class IPCMessageSender::ClientUse {
  public:
    explicit ClientUse(const std::atomic<IPCMessageClient*>& client)
        : use_(client.load() != nullptr ? &clientUses : nullptr),  // refused requests do not count
          client_(use_.IsCounted() ? client.load() : nullptr)
    {}

    const IPCMessageClient* Client() const { return client_; }

  private:
    os::UseCount::Use use_;
    const IPCMessageClient* client_;
};

IPCMessageSender& IPCMessageSender::GetInstance()
{
    static constinit os::Singleton<IPCMessageSender> sender;
    return sender.Get([] { return new IPCMessageSender; });
}

struct IPCMessageSender::Registries {
    std::tuple<BleManagerCallbacks, AdvertiserCallbacks, ScanCallbacks, TargetAdvCallbacks,
               GattClientCallbacks, GattServerCallbacks, GroupCallbacks, WifiConfigCallbacks,
               SoftApListeners, WifiStateListeners>
        all;
};

template <typename Callbacks>
Callbacks& IPCMessageSender::Registry()
{
    return std::get<Callbacks>(registries_->all);
}

template BleManagerCallbacks& IPCMessageSender::Registry();
template AdvertiserCallbacks& IPCMessageSender::Registry();
template ScanCallbacks& IPCMessageSender::Registry();
template TargetAdvCallbacks& IPCMessageSender::Registry();
template GattClientCallbacks& IPCMessageSender::Registry();
template GattServerCallbacks& IPCMessageSender::Registry();
template GroupCallbacks& IPCMessageSender::Registry();
template WifiConfigCallbacks& IPCMessageSender::Registry();
template SoftApListeners& IPCMessageSender::Registry();
template WifiStateListeners& IPCMessageSender::Registry();

IPCMessageSender::IPCMessageSender() : registries_(std::make_unique<Registries>()) {}

void IPCMessageSender::SetIPCMessageSender(IPCMessageClient* client)
{
    constexpr auto kFunction = "IPCMessageSender::SetIPCMessageSender";
    LogStart(kFunction);
    client_.store(client);
    LogEnd(kFunction);
}

void IPCMessageSender::ForgetClient()
{
    client_.store(nullptr);
}

void IPCMessageSender::WaitUntilClientIsUnused()
{
    clientUses.WaitUntilUnused();
}

void IPCMessageSender::LimitWaits(std::chrono::milliseconds longest)
{
    longestWaitMs_ = static_cast<std::uint32_t>(longest.count());
}

bool IPCMessageSender::SendIPCMessageToService(std::int32_t messageId, const void* payload,
                                               std::uint32_t length, std::uint32_t timeoutMs,
                                               TagIPCMessageItem& reply)
{
    {
        const ClientUse use(client_);
        if (const IPCMessageClient* client = use.Client()) {
            TagIPCMessageItem request = MessageToService(messageId, payload, length);
            request.processId = os::CurrentProcessId();
            client->SendIPCMessage(request, reply, std::min(timeoutMs, longestWaitMs_.load()));
            return true;
        }
    }
    LogNoClient("IPCMessageSender::SendIPCMessageToService");
    return false;
}

bool IPCMessageSender::PostIPCMessageToService(std::int32_t /*messageId*/, const void* payload)
{
    {
        const ClientUse use(client_);
        if (const IPCMessageClient* client = use.Client()) {
            client->PostIPCMessage(MessageToService(kPostedMessage, payload, kPostedLength));
            return true;
        }
    }
    LogNoClient("IPCMessageSender::PostIPCMessageToService");
    return false;
}

}  // namespace pelacon
