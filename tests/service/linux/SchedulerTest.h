// A loop and a scheduler, whose lock a test takes for what both threads use.
#pragma once

#include <service/base/Scheduler.h>
#include <service/linux/Loop.h>
#include <tests/service/linux/OnLoop.h>
#include <tests/support/Eventually.h>

#include <gtest/gtest.h>

#include <string_view>

namespace pelacon::service::linux_radios::tests {

/// A test body runs without the scheduler's lock, and takes it with Locked. Whoever derives from
/// this destroys what uses the loop before.
class SchedulerTest : public testing::Test {
  protected:
    template <typename Body>
    decltype(auto) Locked(Body body)
    {
        const Scheduler::Guard lock = scheduler.Lock();
        return body();
    }

    /// Waits until the condition, which is checked with the lock held, holds.
    template <typename Condition>
    bool Eventually(const Condition& condition)
    {
        return test::Eventually([&] { return Locked(condition); });
    }

    Scheduler scheduler{1};
    Complaints complaints;
    Loop loop{[this](std::string_view text) { complaints.Add(text); }};
};

}  // namespace pelacon::service::linux_radios::tests
