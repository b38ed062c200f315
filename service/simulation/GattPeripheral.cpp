#include <service/simulation/GattPeripheral.h>

#include <algorithm>
#include <utility>

namespace pelacon::service::simulation {

using radio::GattReason;
using radio::GattValue;
using radio::Uuid;

GattPeripheral::GattPeripheral(Scheduler& scheduler, Adapter& adapter, Peripheral& peripheral)
    : scheduler_(scheduler),
      adapter_(adapter),
      peripheral_(peripheral),
      config_(peripheral.Config().gatt)
{
    for (const GattServiceConfig& service : config_.services) {
        for (const GattCharacteristicConfig& characteristic : service.characteristics) {
            characteristics_.push_back({service.uuid, characteristic, {}, {}, 0});
        }
    }
}

GattReason GattPeripheral::Join(GattLink& link)
{
    const AdvertisingConfig& advertising = peripheral_.Config().advertising;
    if (advertising.kind != radio::AdvertisementKind::kConnectable) {
        return GattReason::kNotEstablished;
    }
    if (config_.refuses) {
        return GattReason::kRefused;
    }
    Timer& end = links_[&link];
    if (config_.disconnect) {
        end = scheduler_.After(config_.disconnect->after,
                               [this, &link] { link.End(config_.disconnect->reason); });
    }
    peripheral_.Advertise(false);
    adapter_.SetConnected(peripheral_.Config().address, radio::BluetoothType::kLe, true);
    return GattReason::kNone;
}

void GattPeripheral::Leave(GattLink& link)
{
    links_.erase(&link);
    for (Characteristic& characteristic : characteristics_) {
        std::erase(characteristic.subscribers, &link);
        if (characteristic.subscribers.empty()) {
            characteristic.notifying.Cancel();
        }
    }
    if (links_.empty()) {
        adapter_.SetConnected(peripheral_.Config().address, radio::BluetoothType::kLe, false);
        peripheral_.Advertise(true);
    }
}

bool GattPeripheral::HasService(const Uuid& service) const
{
    return std::ranges::find(config_.services, service, &GattServiceConfig::uuid) !=
           config_.services.end();
}

GattPeripheral::Characteristic* GattPeripheral::Find(const Uuid& service,
                                                     const Uuid& characteristic)
{
    const auto found = std::ranges::find_if(characteristics_, [&](const Characteristic& candidate) {
        return candidate.service == service && candidate.config.uuid == characteristic;
    });
    return found != characteristics_.end() ? &*found : nullptr;
}

std::optional<std::int32_t> GattPeripheral::FlagsOf(const Uuid& service, const Uuid& characteristic)
{
    const Characteristic* const found = Find(service, characteristic);
    return found != nullptr ? std::optional(found->config.flags) : std::nullopt;
}

GattValue GattPeripheral::Read(GattLink& /*link*/, const Uuid& service, const Uuid& characteristic)
{
    return Find(service, characteristic)->config.value;
}

void GattPeripheral::Write(GattLink& /*link*/, const Uuid& service, const Uuid& characteristic,
                           GattValue value)
{
    Characteristic& found = *Find(service, characteristic);
    found.config.value = std::move(value);
    Notify(found);
}

void GattPeripheral::Subscribe(GattLink& link, const Uuid& service, const Uuid& characteristic,
                               bool enable)
{
    Characteristic& found = *Find(service, characteristic);
    std::erase(found.subscribers, &link);
    if (enable) {
        found.subscribers.push_back(&link);
    }
    if (found.subscribers.empty()) {
        found.notifying.Cancel();
    } else if (found.config.notifyEvery.count() != 0 && !found.notifying.IsPending()) {
        found.notifying =
            scheduler_.Every(found.config.notifyEvery, [this, &found] { NotifyNext(found); });
    }
}

void GattPeripheral::Notify(const Characteristic& characteristic)
{
    const bool isIndication = (characteristic.config.flags & radio::kGattNotify) == 0;
    for (GattLink* const link : characteristic.subscribers) {
        link->Notify(characteristic.service, characteristic.config.uuid,
                     characteristic.config.value, isIndication);
    }
}

void GattPeripheral::NotifyNext(Characteristic& characteristic)
{
    const std::vector<GattValue>& values = characteristic.config.notifyValues;
    if (!values.empty()) {
        characteristic.config.value = values[characteristic.nextValue++ % values.size()];
    }
    Notify(characteristic);
}

}  // namespace pelacon::service::simulation
