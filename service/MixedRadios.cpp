#include <service/MixedRadios.h>

#include <nlohmann/json.hpp>

#include <utility>

namespace pelacon::service {

namespace {

/// The part of a world that needs no simulated Bluetooth adapter.
simulation::WorldFile WithoutBluetooth(simulation::WorldFile world)
{
    world.peripherals.clear();
    world.targetAdvs.clear();
    return world;
}

}  // namespace

MixedRadios::MixedRadios(Scheduler& scheduler, const simulation::WorldFile& world,
                         linux_radios::bluetooth::Host& host)
    : host_(host),
      simulation_(scheduler, WithoutBluetooth(world)),
      bluetooth_(host),
      targetAdvs_(scheduler, bluetooth_.GetAdapter(), world.targetAdvs)
{}

nlohmann::json MixedRadios::Describe() const
{
    nlohmann::json description = simulation_.Describe();
    description["bluetooth"] = host_.Describe();
    return description;
}

}  // namespace pelacon::service
