#include <os/Fork.h>
#include <os/Lock.h>

#include <pthread.h>

#include <atomic>

namespace pelacon::os {

namespace {

// Needs no constructor and no destructor, all of it: threads may come before and stay until after.
constinit std::atomic<std::uint64_t> lastThread{0};
constinit thread_local std::uint64_t thisThread = 0;

constinit Lock forkLock;

// Written in a child before its second thread is started.
constinit std::uint64_t lastOfParent = 0;
constinit std::uint64_t survivor = 0;
constinit std::uint32_t generation = 0;

void BeforeFork()
{
    forkLock.lock();
}

void AfterForkInParent()
{
    forkLock.unlock();
}

void AfterForkInChild()
{
    survivor = ThisThread();
    lastOfParent = lastThread.load(std::memory_order_relaxed);
    ++generation;
    forkLock.unlock();
}

[[maybe_unused]] const int registered =
    pthread_atfork(&BeforeFork, &AfterForkInParent, &AfterForkInChild);

}  // namespace

std::uint64_t ThisThread() noexcept
{
    if (thisThread == 0) {
        thisThread = lastThread.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    return thisThread;
}

bool StayedBehind(std::uint64_t thread) noexcept
{
    return thread <= lastOfParent && thread != survivor;
}

std::uint32_t ForkGeneration() noexcept
{
    return generation;
}

ForkHold::ForkHold() noexcept
{
    forkLock.lock();
}

ForkHold::~ForkHold()
{
    forkLock.unlock();
}

}  // namespace pelacon::os
