// The soft AP: created, and destroyed when a device has connected.
#include "Inbox.h"

#include <PelaconSDK/PelaconSDK.h>

#include <cstdio>

namespace {

auto& devices = *new Inbox<int32_t>;

/// Called when the first device connects, and when the last one disconnects.
class Devices : public ISoftApConnectStatus {
  public:
    void OnConnectStatus(int32_t status) override { devices.Put(status); }
};

}  // namespace

int main()
{
    PelaconSvcStart();
    WifiSystemApi& wifi = WifiSystemApi::GetInstance();
    wifi.RegistSoftApConnectStatus(new Devices);  // never deleted: it cannot be unregistered

    SoftAPInfo ap;
    ap.requestByte = kSoftApBandAny;
    ap.requestInt = kGoPurposeTransfer;
    const int result = wifi.SystemCreateSoftAP(ap);
    if (result != kSoftApSuccess) {
        std::fprintf(stderr, "Soft AP: %s\n", PelaconStatusText(kPelaconStatusSoftAp, result));
        return 1;
    }
    std::printf("join %s with %s, channel %d\n", ap.ssid.c_str(), ap.password.c_str(), ap.apByte1);
    const bool connected = devices.Next() == 1;
    std::puts(connected ? "a device connected" : "no device connected");

    wifi.SystemDestroySoftAP(kGoPurposeTransfer);
    PelaconSvcStop();
    return connected ? 0 : 1;
}
