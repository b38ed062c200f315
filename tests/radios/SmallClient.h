// The least that a program needs to read a characteristic over BlueZ.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct sd_bus;

namespace pelacon::radios_test {

/// Uses a connected device of hci0. Throws std::runtime_error.
class SmallClient {
  public:
    /// `uuid` is the characteristic's, of 16 bits.
    SmallClient(std::uint64_t peer, const std::string& uuid);
    ~SmallClient();
    SmallClient(const SmallClient&) = delete;
    SmallClient& operator=(const SmallClient&) = delete;

    std::vector<std::uint8_t> Read();

  private:
    sd_bus* bus_ = nullptr;
    std::string path_;
};

}  // namespace pelacon::radios_test
