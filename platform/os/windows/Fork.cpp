#include <os/Fork.h>

#include <windows.h>

namespace pelacon::os {

std::uint64_t ThisThread() noexcept
{
    return GetCurrentThreadId();
}

bool StayedBehind(std::uint64_t /*thread*/) noexcept
{
    return false;
}

std::uint32_t ForkGeneration() noexcept
{
    return 0;
}

ForkHold::ForkHold() noexcept = default;
ForkHold::~ForkHold() = default;

}  // namespace pelacon::os
