// A stand-in of bluetoothd, and what follows it.
#pragma once

#include <service/linux/bluetooth/Stack.h>
#include <tests/service/linux/BluezFixture.h>
#include <tests/service/linux/OnLoop.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace pelacon::service::linux_radios::tests {

using namespace bluetooth;

class StackTest : public LoopTest, protected BluezFixture {
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

    void Start()
    {
        Do([this] { stack->Start(); });
    }

    std::unique_ptr<Stack> stack;
};

}  // namespace pelacon::service::linux_radios::tests
