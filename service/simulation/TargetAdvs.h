// Targeted advertisements that come by themselves.
#pragma once

#include <service/base/Scheduler.h>
#include <service/radio/TargetAdvs.h>
#include <service/simulation/Adapter.h>
#include <service/simulation/TargetAdvConfig.h>

#include <utility>
#include <vector>

namespace pelacon::service::simulation {

class TargetAdvs : public radio::TargetAdvs {
  public:
    TargetAdvs(Scheduler& scheduler, const Adapter& adapter,
               const std::vector<TargetAdvConfig>& configs)
        : adapter_(adapter)
    {
        for (const TargetAdvConfig& config : configs) {
            timers_.push_back(scheduler.Every(
                config.every, [this, received = config.advertisement] { Receive(received); }));
        }
    }

    void Observe(Observer observer) override { observers_.push_back(std::move(observer)); }

  private:
    void Receive(const radio::TargetAdv& received) const
    {
        if (adapter_.IsOn()) {
            for (const Observer& observer : observers_) {
                observer(received);
            }
        }
    }

    const Adapter& adapter_;
    std::vector<Observer> observers_;
    std::vector<Timer> timers_;
};

}  // namespace pelacon::service::simulation
