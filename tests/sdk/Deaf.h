// An object that is registered and does nothing.
#pragma once

#include <PelaconSDK/WifiSystemApi.h>

namespace pelacon::test {

struct Deaf : ISoftApConnectStatus,
              ISoftAPNotification,
              IWifiStateChangeNotification,
              WifiRealMonitorStateCallBack {
    void OnConnectStatus(int32_t /*status*/) override {}
    void OnAdvertisementStatus(uint32_t /*status*/) override {}
    void OnAdvertisementState(const SoftApAdvertisementState* /*state*/) override {}
    void OnDeviceConnectionStatus(uint32_t /*status*/) override {}
    void OnWifiStateChanged(int32_t /*state*/) override {}
    void OnConnectChannel(int32_t /*channel*/) override {}
};

}  // namespace pelacon::test
