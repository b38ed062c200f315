// Scanning: prints the first ten advertisements, with the device's name where there is one.
#include "Inbox.h"

#include <PelaconSDK/PelaconSDK.h>

#include <cstdio>
#include <string>

namespace {

auto& results = *new Inbox<BleScanResultC>;

std::string NameIn(const BleScanResultC& result)
{
    constexpr uint8_t kCompleteName = 0x09;
    uint8_t* name = nullptr;
    uint32_t length = 0;
    if (BleGetAdvDataByType(result.data, result.dataLen, kCompleteName, &name, &length) !=
            kBleStatusSuccess ||
        length > sizeof result.data) {
        return {};
    }
    return {name, name + length};
}

}  // namespace

int main()
{
    PelaconSvcStart();
    static BleScanCallbacksC callbacks{
        nullptr, [](int32_t /*listener*/, BleScanResultC result) { results.Put(result); }};
    int listener = 0;
    BleStatusC result = BleScanner::BleScanRegisterCallbacks(&callbacks, &listener);
    if (result == kBleStatusSuccess) {
        result = BleScanner::StartBleScan(listener, kBleScanLowLatency);
    }
    if (result != kBleStatusSuccess) {
        std::fprintf(stderr, "Scanning: %s\n", PelaconStatusText(kPelaconStatusBle, result));
        return 1;
    }

    int received = 0;
    while (received < 10) {
        const auto next = results.Next();
        if (!next) {
            break;
        }
        ++received;
        std::printf("%012llX  %4d dBm  %s\n", static_cast<unsigned long long>(next->address),
                    next->rssi, NameIn(*next).c_str());
    }

    BleScanner::BleScanUnRegisterCallbacks(listener);
    PelaconSvcStop();
    return received == 10 ? 0 : 1;
}
