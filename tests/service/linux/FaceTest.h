// What families see of Bluetooth, over a stand-in of bluetoothd.
#pragma once

#include <service/base/Scheduler.h>
#include <service/linux/bluetooth/Host.h>
#include <tests/service/linux/BluezFixture.h>
#include <tests/service/linux/OnLoop.h>
#include <tests/support/Eventually.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <string>

namespace pelacon::service::linux_radios::tests {

using namespace bluetooth;

/// A test body runs without the scheduler's lock, and takes it with Locked.
class FaceTest : public testing::Test, protected BluezFixture {
  protected:
    /// Destroys the host; its users have been destroyed by then.
    ~FaceTest() override { host.reset(); }

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

    /// Waits until it is known whether there is an adapter.
    void StartHost(const KernelAccess& kernel = {})
    {
        Locked([&] { host = std::make_unique<Host>(loop, scheduler, "", kernel); });
        ASSERT_TRUE(Eventually([this] { return host->IsKnown(); }));
    }

    Scheduler scheduler{1};
    std::shared_ptr<Gate> gate = std::make_shared<Gate>(scheduler);
    Complaints complaints;
    Loop loop{[this](std::string_view text) { complaints.Add(text); }};
    std::unique_ptr<Host> host;
};

}  // namespace pelacon::service::linux_radios::tests
