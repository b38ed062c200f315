// Connections to other devices, as families see them.
#pragma once

#include <service/linux/bluetooth/Host.h>
#include <service/radio/GattClient.h>

#include <cstdint>
#include <memory>

namespace pelacon::service::linux_radios::bluetooth {

class GattClient : public radio::GattClient {
  public:
    GattClient(const Host& host, std::shared_ptr<Gate> gate);

    std::unique_ptr<radio::GattConnection> Connect(
        std::uint64_t address, radio::GattConnectionObserver& observer) override;

  private:
    const Host& host_;
    std::shared_ptr<Gate> gate_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
