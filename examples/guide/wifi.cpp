// The Wi-Fi switch, and connection errors: switches Wi-Fi off and on, and posts an error.
#include "Inbox.h"

#include <PelaconSDK/PelaconSDK.h>

#include <cstdio>
#include <string>
#include <utility>

namespace {

auto& states = *new Inbox<int32_t>;
auto& errors = *new Inbox<std::string>;

class Switch : public IWifiStateChangeNotification {
  public:
    void OnWifiStateChanged(int32_t state) override { states.Put(state); }
};

class Errors : public ErrorListener {
  public:
    void OnError(ErrorDetail detail) override { errors.Put(std::move(detail.message)); }
};

}  // namespace

int main()
{
    PelaconSvcStart();
    WifiSystemApi& wifi = WifiSystemApi::GetInstance();
    static Switch listener;
    if (!wifi.RegistWifiStateChangeCallback(&listener)) {
        std::fputs("Wi-Fi: the service did not answer\n", stderr);
        return 1;
    }
    const bool switched =
        wifi.EnableWifi(false) == kEnableWifiSuccess && states.Next() == kWifiStateOff &&
        wifi.EnableWifi(true) == kEnableWifiSuccess && states.Next() == kWifiStateOn;
    std::puts(switched ? "switched off and on again" : "could not be switched");

    wifi.RegistListener(new Errors);  // never deleted, see the caution of UnregistListener
    wifi.PostNotification(kConnectGoAlreadyExist);
    const auto error = errors.Next();
    std::printf("error: %s\n", error.value_or("none").c_str());

    wifi.UnRegistWifiStateChangeCallback(&listener);
    PelaconSvcStop();
    return switched && error ? 0 : 1;
}
