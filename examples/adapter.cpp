// The Bluetooth adapter: what it is, switching it off and on, and hearing of it in a callback.
#include <PelaconSDK/PelaconSDK.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>

namespace {

std::mutex mutex;
std::condition_variable changed;
int32_t lastState = kBtStateUnknown;

const char* NameOf(int32_t state)
{
    switch (state) {
        case kBtStateOff:
            return "off";
        case kBtStateTurningOn:
            return "turning on";
        case kBtStateOn:
            return "on";
        case kBtStateTurningOff:
            return "turning off";
        default:
            return "unknown";
    }
}

// Runs on the library's receive thread: note what happened, and leave.
void OnStateChanged(int32_t state)
{
    std::printf("  callback: the adapter is %s\n", NameOf(state));
    const std::lock_guard lock(mutex);
    lastState = state;
    changed.notify_all();
}

bool WaitFor(int32_t state)
{
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, std::chrono::seconds(10), [&] { return lastState == state; });
}

void PrintIdentity()
{
    BtInfo info{};
    if (BleManager::GetBtMacAndName(&info) == kBleStatusSuccess) {
        std::printf("  address %012llX, name \"%.64s\"\n",
                    static_cast<unsigned long long>(info.mac), info.name);
    }
}

}  // namespace

int main()
{
    PelaconSvcStart();
    static BtManagerCallbacksC callbacks{&OnStateChanged};
    if (BleManager::RegisterBtStateChangeCallbacks(&callbacks) != kBleStatusSuccess) {
        std::fputs("The service does not answer: is PelaconService running?\n", stderr);
        return 1;
    }

    std::printf("  the adapter is %s\n", NameOf(BleManager::GetBtRunningState()));
    PrintIdentity();

    std::puts("  switching it off");
    BleManager::BtDisable();
    bool heard = WaitFor(kBtStateOff);
    std::puts("  switching it on");
    BleManager::BtEnable();
    heard = WaitFor(kBtStateOn) && heard;

    std::string name;
    BleManager::GetBtName(name);
    BleManager::SetBtName("Pelacon demo");
    PrintIdentity();
    BleManager::SetBtName(name);

    BleManager::UnRegisterBtStateChangeCallbacks(&callbacks);
    PelaconSvcStop();
    return heard ? 0 : 1;
}
