// All radios of one machine.
#pragma once

#include <service/radio/Adapter.h>
#include <service/radio/Errors.h>
#include <service/radio/Wifi.h>

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
    virtual Wifi& GetWifi() = 0;
    virtual Errors& GetErrors() = 0;
};

}  // namespace pelacon::service::radio
