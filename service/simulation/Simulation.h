// Radios that exist in memory, as the world file describes them.
#pragma once

#include <service/World.h>
#include <service/WorldFile.h>
#include <service/radio/Radios.h>
#include <service/simulation/Adapter.h>

namespace pelacon::service::simulation {

/// All simulated radios. Made and destroyed under the world's lock.
class Simulation : public radio::Radios {
  public:
    Simulation(World& world, const WorldFile& file) : adapter_(world, file.adapter) {}

    Adapter& GetAdapter() override { return adapter_; }

  private:
    Adapter adapter_;
};

}  // namespace pelacon::service::simulation
