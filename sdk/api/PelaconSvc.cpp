#include <IPCMessage/IPCMessageClient.h>
#include <IPCMessage/ServicePresence.h>
#include <PelaconSDK/PelaconSvc.h>
#include <os/Fork.h>
#include <os/Lock.h>
#include <os/Processes.h>
#include <os/SharedLibrary.h>
#include <os/WordWait.h>
#include <protocol/Operation.h>
#include <sdk/api/CEntry.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/Receivers.h>
#include <sdk/ipc/ServiceState.h>

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

namespace {

namespace os = pelacon::os;
using pelacon::CEntry;
using pelacon::IPCMessageSender;
using pelacon::diag::Log;

/// The library's client, made by the first start and ended by the stop after it, whatever threads
/// call which.
class Library {
  public:
    constexpr Library() = default;

    int Start();
    void Stop();

    /// Returns when a start that is running has ended.
    void WaitForStart() { const Lock started(lock_); }

  private:
    using Client = std::unique_ptr<IPCMessageClient>;
    using Lock = std::unique_lock<os::Lock>;

    std::uint64_t Stopper() const;
    void End(Lock& lock, Client client);

    os::Lock lock_;  // also held while a client is made, which does not wait
    IPCMessageClient* client_ = nullptr;

    // The thread that is ending a client, or 0. That thread does not hold the lock while it waits
    // for callbacks, which may start and stop.
    std::atomic<std::uint64_t> stopper_{0};
};

constinit Library library;

/// The sink may make requests at once, so a client that is connected while it is made is reported
/// when the sender knows it.
void OnPresence(pelacon::ipc::ServicePresence::Change change) noexcept
{
    library.WaitForStart();
    pelacon::ServiceState::Follow(change);
}

/// The client, or null when it cannot be made.
std::unique_ptr<IPCMessageClient> MakeClient()
{
    try {
        return std::make_unique<IPCMessageClient>(pelacon::protocol::kSdkModule, false, false,
                                                  pelacon::protocol::kServicePipe);
    } catch (const std::exception& exception) {
        Log(kLogTrace, "Init", "IPCMessageClient: ", exception.what());
        return nullptr;
    }
}

std::uint64_t Library::Stopper() const
{
    const std::uint64_t stopper = stopper_;
    return os::StayedBehind(stopper) ? 0 : stopper;
}

/// The sender forgets the client first, so that no request reaches a client that is being
/// destroyed.
void Library::End(Lock& lock, Client client)
{
    stopper_ = os::ThisThread();
    IPCMessageSender::GetInstance().ForgetClient();
    lock.unlock();
    client->UnRegisterMessageCallbackAll();
    IPCMessageSender::GetInstance().WaitUntilClientIsUnused();
    client.reset();
    pelacon::ServiceState::Reset();
    stopper_ = 0;
    os::WakeAll(stopper_);
}

int Library::Start()
{
    Lock lock(lock_);
    while (const std::uint64_t stopper = Stopper()) {
        if (stopper == os::ThisThread() || pelacon::IsInReceiver()) {
            return 0;  // the stop may be waiting for this very callback
        }
        lock.unlock();
        os::WaitWhile(stopper_, stopper);
        lock.lock();
    }
    if (client_ != nullptr) {
        return 0;
    }
    os::PinThisLibrary();
    pelacon::ipc::ServicePresence::Observe(&OnPresence);
    Client client = MakeClient();
    if (!client) {
        Log(kLogFailure, "Init", "g_pelaconSdkIPCSender  nullptr");
        return -1;
    }
    try {
        IPCMessageSender::GetInstance().SetIPCMessageSender(client.get());
        pelacon::RegIpcMessage(client.get());
    } catch (const std::exception& exception) {
        Log(kLogTrace, "Init", "RegIpcMessage: ", exception.what());
        End(lock, std::move(client));
        return -1;
    }
    client_ = client.release();
    Log(kLogTrace, "Init", "succ");
    return 0;
}

void Library::Stop()
{
    Lock lock(lock_);
    if (Client client{std::exchange(client_, nullptr)}) {
        End(lock, std::move(client));
    } else {
        // In a child of a parent that was starting the sender may know the parent's.
        IPCMessageSender::GetInstance().ForgetClient();
    }
}

}  // namespace

int PelaconSvcStart()
{
    return CEntry(-1, [] {
        constexpr auto kFunction = "PelaconSvcStart";
        Log(kLogMilestone, kFunction, "Init start!");
        os::ServiceInstallPath();  // determined before the application changes its working folder
        const int result = library.Start();
        if (result != 0) {
            Log(kLogFailure, kFunction, "Init failed!");
        }
        return result;
    });
}

int PelaconSvcStop()
{
    return CEntry(0, [] {
        Log(kLogMilestone, "PelaconSvcStop", "Uninit start!");
        Log(kLogMilestone, "Uninit", "Enter!");
        library.Stop();
        return 0;
    });
}
