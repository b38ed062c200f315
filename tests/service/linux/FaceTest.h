// What families see of Bluetooth, over a stand-in of bluetoothd.
#pragma once

#include <service/linux/bluetooth/Host.h>
#include <tests/service/linux/BluezFixture.h>
#include <tests/service/linux/SchedulerTest.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <memory>

namespace pelacon::service::linux_radios::tests {

using namespace bluetooth;

class FaceTest : protected BluezFixture, public SchedulerTest {
  protected:
    /// Destroys the host; its users have been destroyed by then.
    ~FaceTest() override { host.reset(); }

    /// Waits until it is known whether there is an adapter.
    void StartHost(const KernelAccess& kernel = {})
    {
        Locked([&] { host = std::make_unique<Host>(loop, scheduler, "", kernel); });
        ASSERT_TRUE(Eventually([this] { return host->IsKnown(); }));
    }

    std::shared_ptr<Gate> gate = std::make_shared<Gate>(scheduler);
    std::unique_ptr<Host> host;
};

}  // namespace pelacon::service::linux_radios::tests
