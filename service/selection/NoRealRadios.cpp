// For builds without real radios.
#include <service/selection/RealRadios.h>
#include <service/simulation/Simulation.h>

#include <utility>

namespace pelacon::service {

std::string WhyNotUsable(const RadioChoice& choice)
{
    return choice.IsAnyReal() ? PELACON_NO_REAL_RADIOS : "";
}

radio::Factory MakeRadios(const RadioChoice& /*choice*/, simulation::WorldFile world)
{
    return simulation::SimulationOf(std::move(world));
}

}  // namespace pelacon::service
