// A simulated device.
#pragma once

#include <service/base/Scheduler.h>
#include <service/simulation/Air.h>
#include <service/simulation/PeripheralConfig.h>

#include <memory>

namespace pelacon::service::simulation {

class Peripheral {
  public:
    Peripheral(Scheduler& scheduler, Air& air, PeripheralConfig config);

    const PeripheralConfig& Config() const noexcept { return config_; }

    /// Starts or stops advertising, if the device advertises at all. Usually a device does not
    /// while it is connected.
    void Advertise(bool on);

  private:
    Scheduler& scheduler_;
    Air& air_;
    PeripheralConfig config_;
    std::unique_ptr<Transmitter> transmitter_;
};

}  // namespace pelacon::service::simulation
