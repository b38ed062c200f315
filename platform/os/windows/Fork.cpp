#include <os/Fork.h>

#include <atomic>

namespace pelacon::os {

namespace {

constinit std::atomic<std::uint64_t> lastThread{0};
constinit thread_local std::uint64_t thisThread = 0;

}  // namespace

std::uint64_t ThisThread() noexcept
{
    if (thisThread == 0) {
        thisThread = lastThread.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    return thisThread;
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
