#include <os/StandardStreams.h>

#include <io.h>

#include <algorithm>
#include <climits>
#include <cstdio>

namespace pelacon::os {

void OpenMissingStandardStreams() noexcept {}

bool IsStandardErrorForLogs()
{
    return true;
}

bool WriteToStandardError(std::string_view text) noexcept
{
    while (!text.empty()) {
        const int written =
            _write(_fileno(stderr), text.data(),
                   static_cast<unsigned>(std::min<std::size_t>(text.size(), INT_MAX)));
        if (written <= 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace pelacon::os
