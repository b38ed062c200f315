#include "Wide.h"

#include <os/Environment.h>
#include <os/Utf8.h>

#include <cstdlib>

namespace pelacon::os {

// Windows has no programs that run with more rights than the user who starts them by their file's
// mark, so there is nothing to guard against here.
std::optional<std::string> EnvironmentVariable(const char* name)
{
    const wchar_t* value = _wgetenv(Wide(name).c_str());
    return value != nullptr ? std::optional(Utf8(value)) : std::nullopt;
}

}  // namespace pelacon::os
