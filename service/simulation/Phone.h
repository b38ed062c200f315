// The simulated phone.
#pragma once

#include <service/base/Scheduler.h>
#include <service/radio/Phone.h>
#include <service/simulation/PhoneConfig.h>

#include <string>
#include <vector>

namespace pelacon::service::simulation {

class Phone : public radio::Phone {
  public:
    Phone(Scheduler& scheduler, const PhoneConfig& config);

    const std::string& Model() const override { return config_.model; }
    const std::vector<std::int32_t>& Channels() const override { return config_.channels; }
    std::int32_t ConnectionChannel() const override { return config_.connectionChannel; }

    /// For the simulation: the phone's Wi-Fi connects on this channel, or disconnects (0).
    void Connect(std::int32_t channel);

  private:
    PhoneConfig config_;
    std::vector<Timer> moves_;
};

}  // namespace pelacon::service::simulation
