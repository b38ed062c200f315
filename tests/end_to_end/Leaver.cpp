// An application that returns from main while all threads of the library are busy.
#include <PelaconSDK/PelaconSDK.h>

#include <atomic>
#include <cstdint>
#include <iostream>
#include <thread>

namespace {

constexpr int kExitCode = 42;

std::atomic<int> states{0};
std::atomic<int> results{0};
std::atomic<int> errors{0};

class Listener : public ErrorListener {
  public:
    void OnError(ErrorDetail /*detail*/) override
    {
        ++errors;
        IsBtEnabled();
    }
};

}  // namespace

int main()
{
    static BtManagerCallbacksC adapter{[](std::int32_t) {
        ++states;
        IsBtEnabled();
    }};
    static BleScanCallbacksC scan{nullptr, [](std::int32_t, BleScanResultC) {
                                      ++results;
                                      IsBtEnabled();
                                  }};
    static auto& listener = *new Listener;
    std::int32_t id = 0;
    const bool ready = PelaconSvcStart() == 0 &&
                       RegisterBtStateChangeCallbacks(&adapter) == kBleStatusSuccess &&
                       BleScanRegisterCallbacks(&scan, &id) == kBleStatusSuccess &&
                       StartBleScan(id, kBleScanLowLatency) == kBleStatusSuccess &&
                       WifiSystemApi::GetInstance().RegistListener(&listener);
    std::cout << (ready ? "ready" : "not ready") << std::endl;
    std::thread([] {
        for (;;) {
            IsBtEnabled();
        }
    }).detach();
    while (states < 10 || results < 10 || errors < 10) {
        std::this_thread::yield();
    }
    return kExitCode;
}
