// The real radios of the machine, if this build has any.
#pragma once

#include <service/radio/Radios.h>
#include <service/selection/RadioChoice.h>
#include <service/simulation/WorldFile.h>

#include <string>

namespace pelacon::service {

/// Why this build cannot use these radios, for operators; empty if it can.
std::string WhyNotUsable(const RadioChoice& choice);

/// A factory of these radios, which WhyNotUsable permits; those that are not real are simulated as
/// the world file describes them.
radio::Factory MakeRadios(const RadioChoice& choice, simulation::WorldFile world);

}  // namespace pelacon::service
