// The simulated phone.
#pragma once

#include <json/Reader.h>
#include <service/base/Scheduler.h>
#include <service/radio/Phone.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace pelacon::service::simulation {

/// The phone's Wi-Fi connects on a channel, or disconnects (0).
struct PhoneMove {
    std::chrono::milliseconds after{0};  ///< from the service's start
    std::int32_t channel = 0;
};

struct PhoneConfig {
    std::string model;
    std::vector<std::int32_t> channels;
    std::int32_t connectionChannel = 0;
    std::vector<PhoneMove> moves;
};

void ReadPhone(json::Fields& fields, PhoneConfig& config);

/// The number of an existing channel, or 0 for none.
std::int32_t ReadConnectionChannel(const json::Reader& reader);

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
