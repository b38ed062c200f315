#include "Wide.h"

#include <os/Environment.h>
#include <os/Utf8.h>

#include <cstdlib>

namespace pelacon::os {

// On Windows no program gains rights from its file, as it does by set-user-id on Linux: the
// environment can always be trusted.
std::optional<std::string> EnvironmentVariable(const char* name)
{
    const wchar_t* value = _wgetenv(Wide(name).c_str());
    return value != nullptr ? std::optional(Utf8(value)) : std::nullopt;
}

}  // namespace pelacon::os
