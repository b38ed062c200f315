#include "Spin.h"

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

constinit std::atomic<int> Spin::Turn::turns_{0};

Spin::Spin() noexcept : Spin(HasSeveralProcessors()) {}

}  // namespace pelacon::ipc
