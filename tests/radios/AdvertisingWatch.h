// Whether a virtual controller advertises, by the packets between it and its kernel.
#pragma once

#include <service/linux/FileDescriptor.h>

#include <chrono>
#include <cstdint>
#include <vector>

namespace pelacon::radios_test {

/// A virtual controller fails a connection to one that does not advertise at that moment, where a
/// real one waits, and the kernel does not get over the failure. The peer's kernel switches its
/// advertising off and on again when a connection has ended, which is after the library reports it.
class AdvertisingWatch {
  public:
    /// Of a controller that advertises now.
    explicit AdvertisingWatch(std::uint16_t controller);

    /// Waits until the controller advertises and has no connection; false if that takes longer.
    bool WaitUntilFree(std::chrono::milliseconds patience);

  private:
    void Take(const std::vector<std::uint8_t>& packet);

    service::linux_radios::FileDescriptor socket_;
    bool isToBeOn_ = true;  // what the kernel has sent last
    bool isOn_ = true;
    bool isConnected_ = false;
};

}  // namespace pelacon::radios_test
