// Radios that exist in memory, as the world file describes them.
#pragma once

#include <service/World.h>
#include <service/WorldFile.h>
#include <service/radio/Radios.h>
#include <service/simulation/Adapter.h>
#include <service/simulation/Errors.h>

namespace pelacon::service::simulation {

/// All simulated radios. Made and destroyed under the world's lock.
class Simulation : public radio::Radios {
  public:
    Simulation(World& world, const WorldFile& file)
        : adapter_(world, file.adapter), errors_(world, file.errors)
    {}

    Adapter& GetAdapter() override { return adapter_; }
    Errors& GetErrors() override { return errors_; }

  private:
    Adapter adapter_;
    Errors errors_;
};

}  // namespace pelacon::service::simulation
