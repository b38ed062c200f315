// The variables of the process's environment.
#pragma once

#include <optional>
#include <string>

namespace pelacon::os {

/// The value of an environment variable; nothing when it is unset, or when the process runs with
/// more rights than the user who started it (such a process takes no advice from its environment).
std::optional<std::string> EnvironmentVariable(const char* name);

}  // namespace pelacon::os
