// The adapter: prints its name, switches it off and on, and waits for the callback each time.
#include "Inbox.h"

#include <PelaconSDK/PelaconSDK.h>

#include <cstdio>
#include <string>

namespace {

auto& states = *new Inbox<int32_t>;

bool WaitFor(int32_t state)
{
    while (const auto next = states.Next()) {
        if (*next == state) {  // the adapter passes through "turning on" or "turning off"
            return true;
        }
    }
    return false;
}

}  // namespace

int main()
{
    PelaconSvcStart();
    static BtManagerCallbacksC callbacks{[](int32_t state) { states.Put(state); }};
    const BleStatusC result = BleManager::RegisterBtStateChangeCallbacks(&callbacks);
    if (result != kBleStatusSuccess) {
        std::fprintf(stderr, "Bluetooth: %s\n", PelaconStatusText(kPelaconStatusBle, result));
        return 1;
    }

    std::string name;
    BleManager::GetBtName(name);
    std::printf("%s is %s\n", name.c_str(), BleManager::IsBtEnabled() ? "on" : "off");

    const bool switched = BleManager::BtDisable() == kBleStatusSuccess && WaitFor(kBtStateOff) &&
                          BleManager::BtEnable() == kBleStatusSuccess && WaitFor(kBtStateOn);
    std::puts(switched ? "switched off and on again" : "could not be switched");

    BleManager::UnRegisterBtStateChangeCallbacks(&callbacks);
    PelaconSvcStop();
    return switched ? 0 : 1;
}
