// The service's own threads when there is no memory.
#include <service/base/Log.h>
#include <service/base/Scheduler.h>
#include <tests/support/Eventually.h>
#include <tests/support/FailingAllocations.h>

#include <gtest/gtest.h>

#include <chrono>
#include <new>
#include <optional>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;

TEST(OutOfMemoryTest, APeriodicTaskRunsAgainAfterOneWithoutMemory)
{
    Scheduler scheduler(1);
    std::optional<test::FailingAllocations> memory;  // of the scheduler's thread
    int runs = 0;
    const Scheduler::Guard lock = scheduler.Lock();
    const Timer timer = scheduler.Every(1ms, [&] {
        memory.reset();
        if (++runs == 1) {
            memory.emplace(0);
            throw std::bad_alloc();
        }
        scheduler.Wake();
    });
    EXPECT_TRUE(scheduler.Wait(test::kPatience, [&] { return runs >= 2; }));
}

TEST(OutOfMemoryTest, ALineOfTheLogIsLost)
{
    const test::FailingAllocations memory(0);
    log::Error("a line that is too long to be kept without memory");
    EXPECT_TRUE(memory.HasFailed());
}

}  // namespace
}  // namespace pelacon::service::tests
