// Everything that a restart of the service discards.
#pragma once

#include <service/core/Commands.h>
#include <service/core/Core.h>
#include <service/core/Family.h>
#include <service/core/Router.h>
#include <service/core/Sessions.h>
#include <service/radio/Radios.h>

namespace pelacon::service {

/// A restart creates another one instead of clearing this one, so that nothing can be left over.
struct Core::State {
    State(Scheduler& scheduler, std::unique_ptr<radio::Radios> theRadios, IdAllocator& ids,
          Transport& transport);

    const std::unique_ptr<radio::Radios> radios;
    Router router;
    Commands commands;
    Sessions sessions;  // families use it until their end
    Sessions::Families families;
};

}  // namespace pelacon::service
