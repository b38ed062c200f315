// The GATT server of a simulated device.
#pragma once

#include <service/base/Scheduler.h>
#include <service/simulation/Adapter.h>
#include <service/simulation/GattLink.h>
#include <service/simulation/Peripheral.h>

#include <cstddef>
#include <map>
#include <vector>

namespace pelacon::service::simulation {

/// Keeps written values, notifies subscribers of them, and sends notifications of its own. Does not
/// advertise while it is connected.
class GattPeripheral : public GattDevice {
  public:
    GattPeripheral(Scheduler& scheduler, Adapter& adapter, Peripheral& peripheral);

    const GattLinkConfig& Config() const override { return config_.link; }
    radio::GattReason Join(GattLink& link) override;
    void Leave(GattLink& link) override;
    bool HasService(const radio::Uuid& service) const override;
    std::optional<std::int32_t> FlagsOf(const radio::Uuid& service,
                                        const radio::Uuid& characteristic) override;
    radio::GattValue Read(GattLink& link, const radio::Uuid& service,
                          const radio::Uuid& characteristic) override;
    void Write(GattLink& link, const radio::Uuid& service, const radio::Uuid& characteristic,
               radio::GattValue value) override;
    void Subscribe(GattLink& link, const radio::Uuid& service, const radio::Uuid& characteristic,
                   bool enable) override;

  private:
    struct Characteristic {
        radio::Uuid service;
        GattCharacteristicConfig config;  // its value changes
        std::vector<GattLink*> subscribers;
        Timer notifying;
        std::size_t nextValue = 0;
    };

    Characteristic* Find(const radio::Uuid& service, const radio::Uuid& characteristic);
    static void Notify(const Characteristic& characteristic);
    void NotifyNext(Characteristic& characteristic);

    Scheduler& scheduler_;
    Adapter& adapter_;
    Peripheral& peripheral_;
    GattPeripheralConfig config_;
    std::vector<Characteristic> characteristics_;
    std::map<GattLink*, Timer> links_;  // with the time at which the device will end them
};

}  // namespace pelacon::service::simulation
