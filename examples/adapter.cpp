// The Bluetooth adapter: its identity, switching it off and on, and a callback for its state.
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

// Called on the library's receive thread: record the event and return at once.
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
        std::fputs("No answer from the service: is PelaconService running?\n", stderr);
        return 1;
    }

    std::printf("  the adapter is %s\n", NameOf(BleManager::GetBtRunningState()));
    PrintIdentity();

    std::puts("  switching it off");
    BleManager::BtDisable();
    bool changedInTime = WaitFor(kBtStateOff);
    std::puts("  switching it on");
    BleManager::BtEnable();
    changedInTime = WaitFor(kBtStateOn) && changedInTime;

    std::string name;
    BleManager::GetBtName(name);
    BleManager::SetBtName("Pelacon demo");
    PrintIdentity();
    BleManager::SetBtName(name);

    BleManager::UnRegisterBtStateChangeCallbacks(&callbacks);
    PelaconSvcStop();
    return changedInTime ? 0 : 1;
}
