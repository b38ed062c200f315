#include <service/simulation/Peripheral.h>

#include <chrono>
#include <utility>

namespace pelacon::service::simulation {

Peripheral::Peripheral(Scheduler& scheduler, Air& air, PeripheralConfig config)
    : scheduler_(scheduler), air_(air), config_(std::move(config))
{
    Advertise(true);
}

void Peripheral::Advertise(bool on)
{
    const AdvertisingConfig& advertising = config_.advertising;
    if (!on || !advertising.on) {
        transmitter_.reset();
        return;
    }
    if (transmitter_) {
        return;
    }
    // Devices that start at the same time must not advertise in step.
    const std::chrono::milliseconds delay(
        scheduler_.GetRandom().Between(0, advertising.interval.count()));
    transmitter_ = std::make_unique<Transmitter>(
        scheduler_, air_, Signal{config_.address, config_.rssi, config_.rssiVariation},
        radio::Advertising{.shortestInterval = advertising.interval,
                           .longestInterval = advertising.interval,
                           .kind = advertising.kind,
                           .data = advertising.data,
                           .scanResponse = advertising.scanResponse},
        delay);
}

}  // namespace pelacon::service::simulation
