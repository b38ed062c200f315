// A stand-in of bluetoothd, for fixtures of tests.
#pragma once

#include <tests/service/linux/PrivateBus.h>

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::tests {

class BluezFixture {
  protected:
    /// Starts bluetoothd, or starts it again, with an adapter that is on: hci0, 00:AA:01:00:00:00,
    /// called "desk".
    void StartBluez();

    /// The arguments name a second device.
    void AddDevice(const char* path = kDevicePath, const char* address = "C1:02:03:04:05:06");
    void Change(const std::string& path, const char* property, const nlohmann::json& value);

    /// How often bluetoothd has seen an event: the call of one of its methods, a socket that
    /// closed, a property of this process that changed.
    std::ptrdiff_t CallsOf(const std::string& method);
    /// Waits until it has seen the event.
    bool IsCalled(const std::string& method);

    static constexpr const char* kDevicePath = "hci0/dev_C1_02_03_04_05_06";
    static constexpr std::uint64_t kAddress = 0xC10203040506U;

    PrivateBus bus;
    std::optional<StandIn> bluetoothd;

  private:
    std::vector<std::string> calls_;
};

}  // namespace pelacon::service::linux_radios::tests
