// All that a restart of the service forgets.
#pragma once

#include <service/Commands.h>
#include <service/Core.h>
#include <service/Family.h>
#include <service/Router.h>
#include <service/Sessions.h>
#include <service/simulation/Simulation.h>

namespace pelacon::service {

/// Made anew, rather than cleared, so that nothing can be left over.
struct Core::State {
    State(World& world, const WorldFile& file, IdAllocator& ids, Line& line);

    simulation::Simulation radios;
    Router router;
    Commands commands;
    Sessions sessions;  // families point at them to their own end
    Sessions::Families families;
};

}  // namespace pelacon::service
