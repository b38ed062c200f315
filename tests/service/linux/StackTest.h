// A stand-in of bluetoothd, and what follows it.
#pragma once

#include <service/linux/bluetooth/Stack.h>
#include <tests/service/linux/OnLoop.h>
#include <tests/service/linux/PrivateBus.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace pelacon::service::linux_radios::tests {

using namespace bluetooth;  // NOLINT(google-build-using-namespace)

class StackTest : public LoopTest {
  protected:
    explicit StackTest(std::chrono::microseconds callLimit = dbus::Bus::kUsualLimit)
    {
        Do([&] { stack = std::make_unique<Stack>(loop, "", callLimit); });
    }
    /// What observes the stack has ended by then.
    ~StackTest() override
    {
        Do([this] { stack.reset(); });
    }

    /// With an adapter that is on: hci0, 00:AA:01:00:00:00, called "desk".
    void StartBluez()
    {
        bluetoothd.reset();
        bluetoothd = std::make_unique<StandIn>("bluez.py");
        bluetoothd->Do({{"do", "adapter"},
                        {"name", "hci0"},
                        {"Address", "00:AA:01:00:00:00"},
                        {"Alias", "desk"},
                        {"Powered", true}});
    }
    void Start()
    {
        Do([this] { stack->Start(); });
    }

    PrivateBus bus;
    std::unique_ptr<StandIn> bluetoothd;
    std::unique_ptr<Stack> stack;
};

}  // namespace pelacon::service::linux_radios::tests
