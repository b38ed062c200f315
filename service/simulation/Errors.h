// Simulated errors.
#pragma once

#include <json/Reader.h>
#include <service/base/Scheduler.h>
#include <service/radio/Errors.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace pelacon::service::simulation {

struct ErrorConfig {
    std::int32_t code = 0;
    std::chrono::milliseconds after{0};  ///< from the service's start
    std::chrono::milliseconds every{0};  ///< period of repetition; 0: once
};

void ReadError(json::Fields& fields, ErrorConfig& config);

class Errors : public radio::Errors {
  public:
    Errors(Scheduler& scheduler, const std::vector<ErrorConfig>& configs);

  private:
    struct Planned {
        ErrorConfig config;
        Timer timer;
    };

    void Strike(std::size_t index);

    Scheduler& scheduler_;
    std::vector<Planned> planned_;
};

}  // namespace pelacon::service::simulation
