#include "BriefWait.h"

#include <pthread.h>
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

void BriefWait::Turn::ForgetAll() noexcept
{
    turns_ = 0;
}

namespace {

/// In a child that fork makes, the threads that had turns do not exist.
[[maybe_unused]] const int registered =
    pthread_atfork(nullptr, nullptr, &BriefWait::Turn::ForgetAll);

}  // namespace

BriefWait::BriefWait() noexcept : BriefWait(HasSeveralProcessors()) {}

void BriefWait::Yield() const noexcept
{
    if (!spins_) {
        sched_yield();
    }
}

}  // namespace pelacon::ipc
