#include "BriefWait.h"

#include <sched.h>

namespace pelacon::ipc {

namespace {

bool HasSeveralProcessors() noexcept
{
    cpu_set_t processors;
    return sched_getaffinity(0, sizeof(processors), &processors) != 0 ||  // too many for the set
           CPU_COUNT(&processors) > 1;
}

}  // namespace

constinit std::atomic<int> BriefWait::Turn::turns_{0};

BriefWait::BriefWait() noexcept : BriefWait(HasSeveralProcessors()) {}

void BriefWait::Yield() const noexcept
{
    if (!spins_) {
        sched_yield();
    }
}

}  // namespace pelacon::ipc
