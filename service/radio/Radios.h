// All radios of one machine.
#pragma once

#include <service/radio/Adapter.h>

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
};

}  // namespace pelacon::service::radio
