#include "FailingAllocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

/// Allocations that this thread may still make; none fails while it is negative.
thread_local constinit int allocationsLeft = -1;
thread_local constinit bool allocationFailed = false;

/// Null where the allocation fails.
void* Allocate(std::size_t size) noexcept
{
    if (allocationsLeft == 0) {
        allocationFailed = true;
        return nullptr;
    }
    if (allocationsLeft > 0) {
        --allocationsLeft;
    }
    return std::malloc(size != 0 ? size : 1);
}

}  // namespace

// These and no others: what the library calls allocates with them.
void* operator new(std::size_t size)
{
    void* const memory = Allocate(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
void* operator new(std::size_t size, const std::nothrow_t& /*nothrow*/) noexcept
{
    return Allocate(size);
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t& /*nothrow*/) noexcept
{
    std::free(memory);
}

namespace pelacon::test {

FailingAllocations::FailingAllocations(int successes) noexcept
{
    allocationFailed = false;
    allocationsLeft = successes;
}

FailingAllocations::~FailingAllocations()
{
    allocationsLeft = -1;
}

bool FailingAllocations::HasFailed() const noexcept
{
    return allocationFailed;
}

}  // namespace pelacon::test
