#include <os/Environment.h>

#include <cstdlib>

namespace pelacon::os {

// Windows has no programs that run with more rights than the user who starts them by their file's
// mark, so there is nothing to guard against here.
std::optional<std::string> EnvironmentVariable(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

}  // namespace pelacon::os
