#include <sdk/diag/Log.h>
#include <sdk/ipc/Application.h>
#include <sdk/ipc/BleManagerCallbacks.h>

namespace pelacon {

using diag::Log;
using diag::LogEnd;
using diag::LogStart;

void BleManagerCallbacks::AddBleManagerCb(BtManagerCallbacksC* table)
{
    const std::lock_guard lock(lock_);
    tables_.Append(table);
}

void BleManagerCallbacks::RemoveBleManagerCb(BtManagerCallbacksC* table)
{
    const std::lock_guard lock(lock_);
    tables_.Remove(table);
}

void BleManagerCallbacks::OnBtStateChanged(std::int32_t state)
{
    constexpr auto kFunction = "IPCMessageSender::OnBtStateChanged";
    LogStart(kFunction);
    {
        const std::lock_guard lock(lock_);
        tables_.ForEach([&](const BtManagerCallbacksC* table) {
            if (table != nullptr && table->onStateChanged != nullptr) {
                Log(kLogTrace, kFunction, "call callback");
                CallApplication(table->onStateChanged, state);
            }
        });
    }
    LogEnd(kFunction);
}

}  // namespace pelacon
