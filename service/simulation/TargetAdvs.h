// Simulated targeted advertisements.
#pragma once

#include <service/base/Scheduler.h>
#include <service/radio/Adapter.h>
#include <service/radio/TargetAdvs.h>
#include <service/simulation/TargetAdvConfig.h>

#include <vector>

namespace pelacon::service::simulation {

class TargetAdvs : public radio::TargetAdvs {
  public:
    TargetAdvs(Scheduler& scheduler, const radio::Adapter& adapter,
               const std::vector<TargetAdvConfig>& configs)
        : adapter_(adapter)
    {
        for (const TargetAdvConfig& config : configs) {
            timers_.push_back(scheduler.Every(
                config.every, [this, received = config.advertisement] { Receive(received); }));
        }
    }

  private:
    void Receive(const radio::TargetAdv& received) const
    {
        if (adapter_.IsOn()) {
            observers_(received);
        }
    }

    const radio::Adapter& adapter_;
    std::vector<Timer> timers_;
};

}  // namespace pelacon::service::simulation
