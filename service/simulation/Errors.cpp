#include <service/simulation/Errors.h>

namespace pelacon::service::simulation {

Errors::Errors(Scheduler& scheduler, const std::vector<ErrorConfig>& configs)
    : scheduler_(scheduler)
{
    for (const ErrorConfig& config : configs) {
        const std::size_t index = planned_.size();
        planned_.push_back(
            {config, scheduler.After(config.after, [this, index] { Strike(index); })});
    }
}

void Errors::Report(std::int32_t code) const
{
    observers_(code);
}

void Errors::Strike(std::size_t index)
{
    Planned& planned = planned_[index];
    Report(planned.config.code);
    if (planned.config.every.count() != 0) {
        planned.timer = scheduler_.After(planned.config.every, [this, index] { Strike(index); });
    }
}

}  // namespace pelacon::service::simulation
