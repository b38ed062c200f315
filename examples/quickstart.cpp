#include <PelaconSDK/PelaconSDK.h>

#include <chrono>
#include <cstdio>
#include <thread>

int main()
{
    PelaconSvcStart();

    BtManagerCallbacksC callbacks{[](int32_t state) { std::printf("adapter state %d\n", state); }};
    BleManager::RegisterBtStateChangeCallbacks(&callbacks);

    std::string name;
    if (BleManager::GetBtName(name) == kBleStatusSuccess) {
        std::printf("%s is %s\n", name.c_str(), BleManager::IsBtEnabled() ? "on" : "off");
    }
    BleManager::BtDisable();  // the callback reports the change
    std::this_thread::sleep_for(std::chrono::seconds(1));
    BleManager::BtEnable();
    std::this_thread::sleep_for(std::chrono::seconds(1));

    PelaconSvcStop();
}
