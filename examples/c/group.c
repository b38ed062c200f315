/* A Wi-Fi Direct group: created, and removed after a device has joined. */
#include "Wait.h"

#include <PelaconSDK/PelaconSDK.h>

#include <stdatomic.h>
#include <stdio.h>
#include <string.h>

static atomic_int stations;

static void OnStationChanged(const Vod2dStationChange* change)
{
    printf("  callback: %.13s %s\n", change->address,
           change->state == kVod2dStationJoined ? "joined" : "left");
    stations += change->state == kVod2dStationJoined ? 1 : -1;
}

static bool HasStation(void)
{
    return stations > 0;
}

int main(void)
{
    static Vod2dWifiBroadcastRecvCb callbacks = {NULL, OnStationChanged};
    Vod2dSoftAPInfo group;
    memset(&group, 0, sizeof group);

    PelaconSvcStart();
    if (Vod2dRegisterSoftAPStateChangedCallback(&callbacks) != kWifiSuccess) {
        fputs("No answer from the service: is PelaconService running?\n", stderr);
        return 1;
    }
    bool done = Vod2dCreateGroup(&group) == kWifiSuccess;
    if (done) {
        printf("  group \"%.32s\" on channel %d\n", group.ssid, group.channel);
        done = WaitUntil(HasStation);
        done = Vod2dRemoveGroup() == kWifiSuccess && done;
    }
    Vod2dUnRegisterSoftAPStateChangedCallback(&callbacks);
    PelaconSvcStop();
    return done ? 0 : 1;
}
