// A Wi-Fi Direct group: created, and removed when a station has joined.
#include "Inbox.h"

#include <PelaconSDK/PelaconSDK.h>

#include <cstdio>
#include <string>

namespace {

auto& joined = *new Inbox<std::string>;

void OnStationChanged(const Vod2dStationChange* change)
{
    if (change->state == kVod2dStationJoined) {
        joined.Put(change->address);
    }
}

}  // namespace

int main()
{
    PelaconSvcStart();
    static Vod2dWifiBroadcastRecvCb callbacks{nullptr, &OnStationChanged};
    Vod2dSoftAPInfo group{};  // channel 0: any
    WifiErrorCode result = Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&callbacks);
    if (result == kWifiSuccess) {
        result = Vod2dApi::Vod2dCreateGroup(&group);
    }
    if (result != kWifiSuccess) {
        std::fprintf(stderr, "Group: %s\n", PelaconStatusText(kPelaconStatusWifi, result));
        return 1;
    }
    // A text that fills its field has no NUL.
    std::printf("join %.32s with %.256s\n", group.ssid, group.pwd);
    const auto station = joined.Next();
    if (station) {
        std::printf("%s joined\n", station->c_str());
    }

    Vod2dApi::Vod2dRemoveGroup();
    Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&callbacks);
    PelaconSvcStop();
    return station ? 0 : 1;
}
