// A stand-in of bluetoothd with an adapter, and all that GATT needs beside it.
#pragma once

#include <service/linux/bluetooth/GattCentral.h>
#include <tests/service/linux/Recorded.h>
#include <tests/service/linux/SocketPair.h>
#include <tests/service/linux/StackTest.h>

#include <algorithm>
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

    /// A test's only device; others have other paths and addresses.
    void AddDevice(const char* path = kDevicePath, const char* address = "C1:02:03:04:05:06")
    {
        bluetoothd->Do(
            {{"do", "device"}, {"path", path}, {"Address", address}, {"AddressType", "random"}});
    }
    void Change(const char* path, const char* property, const nlohmann::json& value)
    {
        bluetoothd->Do({{"do", "change"}, {"path", path}, {property, value}});
    }
    /// Waits until bluetoothd saw something: a method's call, a socket that closed, a property of
    /// ours that changed. Sees each but once.
    bool IsCalled(const std::string& method)
    {
        return LoopTest::Eventually([&] {
            for (const nlohmann::json& call : bluetoothd->Do({{"do", "calls"}})) {
                calls.push_back(call.at(0));
            }
            return std::find(calls.begin(), calls.end(), method) != calls.end();
        });
    }

    static constexpr const char* kDevicePath = "hci0/dev_C1_02_03_04_05_06";
    static constexpr std::uint64_t kAddress = 0xC10203040506U;

    SocketPair management;
    std::vector<std::string> calls;
    std::unique_ptr<Discovery> discovery;
    std::unique_ptr<KernelConnections> connections;
    std::unique_ptr<GattCentral> central;
};

}  // namespace pelacon::service::linux_radios::tests
