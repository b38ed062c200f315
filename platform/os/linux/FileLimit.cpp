#include <os/FileLimit.h>

#include <sys/resource.h>

namespace pelacon::os {

void RaiseFileLimit() noexcept
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

}  // namespace pelacon::os
