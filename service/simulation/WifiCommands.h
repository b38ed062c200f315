// What an operator can have happen in the simulated Wi-Fi.
#pragma once

#include <service/Commands.h>
#include <service/simulation/Simulation.h>

namespace pelacon::service::simulation {

/// Stations come and go, cards are put in and out, the adapter connects. The simulation outlives
/// the commands' last use.
void AddWifiCommands(Commands& commands, Simulation& simulation);

}  // namespace pelacon::service::simulation
