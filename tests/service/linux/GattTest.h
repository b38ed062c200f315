// A stand-in of bluetoothd with an adapter, and all that GATT needs beside it.
#pragma once

#include <service/linux/bluetooth/GattCentral.h>
#include <tests/service/linux/Recorded.h>
#include <tests/service/linux/SocketPair.h>
#include <tests/service/linux/StackTest.h>

#include <system_error>

namespace pelacon::service::linux_radios::tests {

class GattTest : public StackTest {
  protected:
    explicit GattTest(std::chrono::microseconds callLimit = dbus::Bus::kUsualLimit)
        : StackTest(callLimit)
    {
        StartBluez();
        Do([this] {
            discovery = std::make_unique<Discovery>(
                *stack,
                Discovery::Callbacks{[](const AdvertisingReport&) {}, [] {}, [](radio::Outcome) {}},
                [](std::uint16_t) -> FileDescriptor {
                    throw std::system_error(
                        std::make_error_code(std::errc::operation_not_permitted));
                });
            connections = std::make_unique<KernelConnections>(
                *stack, [this] { return std::move(management.service); });
            central = std::make_unique<GattCentral>(*stack, *discovery, *connections);
        });
    }
    /// Links and services have ended by then.
    ~GattTest() override
    {
        Do([this] {
            central.reset();
            connections.reset();
            discovery.reset();
        });
    }

    SocketPair management;
    std::unique_ptr<Discovery> discovery;
    std::unique_ptr<KernelConnections> connections;
    std::unique_ptr<GattCentral> central;
};

}  // namespace pelacon::service::linux_radios::tests
