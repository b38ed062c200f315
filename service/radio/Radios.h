// All radios of one machine.
#pragma once

#include <service/radio/Adapter.h>
#include <service/radio/Advertiser.h>
#include <service/radio/Errors.h>
#include <service/radio/GattClient.h>
#include <service/radio/GattServer.h>
#include <service/radio/Groups.h>
#include <service/radio/Phone.h>
#include <service/radio/Scanner.h>
#include <service/radio/TargetAdvs.h>
#include <service/radio/Wifi.h>
#include <service/radio/WifiCards.h>

namespace pelacon::service::radio {

/// The radios that the families drive: simulated ones, or those of a real machine. A family sees
/// nothing of them but these interfaces.
class Radios {
  public:
    Radios() = default;
    virtual ~Radios() = default;
    Radios(const Radios&) = delete;
    Radios& operator=(const Radios&) = delete;

    virtual Adapter& GetAdapter() = 0;
    virtual Scanner& GetScanner() = 0;
    virtual Advertiser& GetAdvertiser() = 0;
    virtual TargetAdvs& GetTargetAdvs() = 0;
    virtual GattClient& GetGattClient() = 0;
    virtual GattServer& GetGattServer() = 0;
    virtual Wifi& GetWifi() = 0;
    virtual Groups& GetGroups() = 0;
    virtual Groups& GetSoftAp() = 0;
    virtual Phone& GetPhone() = 0;
    virtual WifiCards& GetWifiCards() = 0;
    virtual Errors& GetErrors() = 0;
};

}  // namespace pelacon::service::radio
