// Simulated errors.
#pragma once

#include <service/base/Scheduler.h>
#include <service/radio/Errors.h>
#include <service/simulation/ErrorConfig.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pelacon::service::simulation {

class Errors : public radio::Errors {
  public:
    Errors(Scheduler& scheduler, const std::vector<ErrorConfig>& configs);

    /// For other simulated radios: reports an error.
    void Report(std::int32_t code) const;

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
