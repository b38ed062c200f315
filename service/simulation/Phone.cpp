#include <service/simulation/Phone.h>

namespace pelacon::service::simulation {

Phone::Phone(Scheduler& scheduler, const PhoneConfig& config) : config_(config)
{
    for (const PhoneMove& move : config_.moves) {
        moves_.push_back(scheduler.After(move.after, [this, move] { Connect(move.channel); }));
    }
}

void Phone::Connect(std::int32_t channel)
{
    if (config_.connectionChannel == channel) {
        return;
    }
    config_.connectionChannel = channel;
    channelObservers_(channel);
}

}  // namespace pelacon::service::simulation
