#include <os/Environment.h>

#include <cstdlib>

namespace pelacon::os {

std::optional<std::string> EnvironmentVariable(const char* name)
{
    const char* value = secure_getenv(name);
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

}  // namespace pelacon::os
