#include <IPCMessage/IPCMessageClient.h>
#include <PelaconSDK/PelaconSvc.h>
#include <os/SharedLibrary.h>
#include <protocol/Operation.h>
#include <sdk/api/CEntry.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/Receivers.h>

#include <atomic>
#include <exception>
#include <memory>

namespace {

using pelacon::CEntry;
using pelacon::IPCMessageSender;
using pelacon::diag::Log;

std::atomic<IPCMessageClient*> g_pelaconSdkIPCSender{nullptr};
std::atomic<bool> started{false};

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

/// Ends the client, if there is one. The sender forgets it first, so that no request reaches one
/// that is being destroyed.
bool EndClient()
{
    const std::unique_ptr<IPCMessageClient> client(g_pelaconSdkIPCSender.exchange(nullptr));
    if (!client) {
        return false;
    }
    IPCMessageSender::GetInstance().ForgetClient();
    client->UnRegisterMessageCallbackAll();
    IPCMessageSender::GetInstance().WaitUntilClientIsUnused();
    return true;
}

int Init()
{
    if (started) {
        return 0;
    }
    pelacon::os::PinThisLibrary();
    g_pelaconSdkIPCSender = MakeClient().release();
    IPCMessageClient* client = g_pelaconSdkIPCSender;
    if (client == nullptr) {
        Log(kLogFailure, "Init", "g_pelaconSdkIPCSender  nullptr");
        return -1;
    }
    try {
        IPCMessageSender::GetInstance().SetIPCMessageSender(client);
        pelacon::RegIpcMessage(client);
    } catch (const std::exception& exception) {
        Log(kLogTrace, "Init", "RegIpcMessage: ", exception.what());
        EndClient();
        return -1;
    }
    started = true;
    Log(kLogTrace, "Init", "succ");
    return 0;
}

/// Only the stop that ends the client clears the flag: while it waits for a callback, neither a
/// stop nor a start by that callback gets in between.
int Uninit()
{
    Log(kLogMilestone, "Uninit", "Enter!");
    if (started && EndClient()) {
        started = false;
    }
    return 0;
}

}  // namespace

int PelaconSvcStart()
{
    return CEntry("PelaconSvcStart", -1, [] {
        constexpr auto kFunction = "PelaconSvcStart";
        Log(kLogMilestone, kFunction, "Init start!");
        const int result = Init();
        if (result != 0) {
            Log(kLogFailure, kFunction, "Init failed!");
        }
        return result;
    });
}

int PelaconSvcStop()
{
    return CEntry("PelaconSvcStop", 0, [] {
        Log(kLogMilestone, "PelaconSvcStop", "Uninit start!");
        return Uninit();
    });
}
