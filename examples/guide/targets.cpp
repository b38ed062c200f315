// Targeted advertisements: registers for a business, sends one of its advertisements, and receives
// it.
#include "Inbox.h"

#include <PelaconSDK/PelaconSDK.h>

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace {

constexpr auto kBusiness = static_cast<BleTargetBusiness>(4711);

auto& received = *new Inbox<TargetAdvInfo>;

}  // namespace

int main()
{
    PelaconSvcStart();
    static VoviewRecvAdvCallbacksC callbacks{[](TargetAdvInfo info) { received.Put(info); }};
    TargetAdvFilter filter{};
    filter.business = kBusiness;
    BleStatusC result = BleScanner::BleRegisterTargetAdvCallback(filter, &callbacks);
    if (result == kBleStatusSuccess) {
        TargetAdvInfo info{};
        info.business = kBusiness;
        std::ranges::copy(std::string_view("hello"), info.data);
        result = BleScanner::BleOnRecvVoviewData(info);
    }
    if (result != kBleStatusSuccess) {
        std::fprintf(stderr, "Advertisements: %s\n", PelaconStatusText(kPelaconStatusBle, result));
        return 1;
    }
    const auto info = received.Next();
    if (info) {
        std::printf("received \"%.36s\"\n", reinterpret_cast<const char*>(info->data));
    }

    BleScanner::BleUnRegisterTargetAdvCallback(kBusiness);
    PelaconSvcStop();
    return info ? 0 : 1;
}
