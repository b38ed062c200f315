#include <service/radio/Adapter.h>
#include <service/simulation/PeripheralConfig.h>

#include <set>

namespace pelacon::service::simulation {

namespace {

void ReadPeripheral(json::Fields& fields, PeripheralConfig& config)
{
    config.address = fields.Required("address").Address();
    fields.Read("name", config.name, 1, radio::Adapter::kMaxName);
    fields.Read("rssi", config.rssi, -127, 20);
    fields.Read("rssiVariation", config.rssiVariation, 0, 50);
    config.advertising = DefaultAdvertising(config.name);
    fields.Read("advertising", config.advertising, &ReadAdvertising);
    fields.Read("gatt", config.gatt, &ReadGattPeripheral);
}

}  // namespace

std::vector<PeripheralConfig> ReadPeripherals(const json::Reader& reader)
{
    std::set<std::uint64_t> addresses;
    return reader.List([&](const json::Reader& element) {
        PeripheralConfig config = element.Object(&ReadPeripheral);
        if (!addresses.insert(config.address).second) {
            element.Fail("has the address of one before it");
        }
        return config;
    });
}

}  // namespace pelacon::service::simulation
