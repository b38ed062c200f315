// Simulated targeted advertisements.
#pragma once

#include <json/Reader.h>
#include <service/base/Scheduler.h>
#include <service/radio/Adapter.h>
#include <service/radio/TargetAdvs.h>

#include <chrono>
#include <vector>

namespace pelacon::service::simulation {

struct TargetAdvConfig {
    radio::TargetAdv advertisement{};
    std::chrono::milliseconds every{1000};
};

void ReadTargetAdv(json::Fields& fields, TargetAdvConfig& config);

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
