// Advertising: sends a name and a service for half a second.
#include "Inbox.h"

#include <PelaconSDK/PelaconSDK.h>

#include <cstdio>

namespace {

auto& ends = *new Inbox<int32_t>;

}  // namespace

int main()
{
    PelaconSvcStart();
    static BleAdvCallbacksC callbacks{
        [](int32_t /*advertiser*/, int32_t status) { ends.Put(status); }};
    BleAdvertiseParamsC params{};  // 0 selects the usual value of each parameter
    params.sendTotalTime = 500;    // ms
    BleAdvertiseData data;
    data.advData = {2, 0x01, 0x06,                   // flags
                    3, 0x03, 0x0F, 0x18,             // offers the service 180F
                    5, 0x09, 'd',  'e',  's', 'k'};  // its name

    int advertiser = 0;
    BleStatusC result = BleAdvertiser::BleAdvRegisterCallbacks(&callbacks, &advertiser);
    if (result == kBleStatusSuccess) {
        result = BleAdvertiser::BleStartAdvertise(advertiser, params, data);
    }
    if (result != kBleStatusSuccess) {
        std::fprintf(stderr, "Advertising: %s\n", PelaconStatusText(kPelaconStatusBle, result));
        return 1;
    }
    std::puts("advertising");
    const auto end = ends.Next();
    std::puts(end == kBleAdvTimeOver ? "the time is over" : "ended otherwise");

    BleAdvertiser::BleAdvUnRegisterCallbacks(advertiser);
    PelaconSvcStop();
    return end == kBleAdvTimeOver ? 0 : 1;
}
