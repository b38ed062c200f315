#include <service/simulation/Errors.h>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;

void ReadError(json::Fields& fields, ErrorConfig& config)
{
    config.code = fields.Required("code").Integer<std::int32_t>();
    config.after = fields.Required("afterMs").Milliseconds(0ms, 24h);
    fields.Read("everyMs", config.every, 1ms, 24h);
}

Errors::Errors(Scheduler& scheduler, const std::vector<ErrorConfig>& configs)
    : scheduler_(scheduler)
{
    for (const ErrorConfig& config : configs) {
        const std::size_t index = planned_.size();
        planned_.push_back(
            {config, scheduler.After(config.after, [this, index] { Strike(index); })});
    }
}

void Errors::Strike(std::size_t index)
{
    Planned& planned = planned_[index];
    observers_(planned.config.code);
    if (planned.config.every.count() != 0) {
        planned.timer = scheduler_.After(planned.config.every, [this, index] { Strike(index); });
    }
}

}  // namespace pelacon::service::simulation
