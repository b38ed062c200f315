#include <service/radio/Adapter.h>
#include <service/simulation/PeripheralConfig.h>

#include <set>

namespace pelacon::service::simulation {

namespace {

PeripheralConfig ReadPeripheral(const json::Reader& reader)
{
    PeripheralConfig config;
    reader.Object([&](json::Fields& fields) {
        config.address = fields.Required("address").Address();
        if (const auto name = fields.Optional("name")) {
            config.name = name->Text(1, radio::Adapter::kMaxName);
        }
        if (const auto rssi = fields.Optional("rssi")) {
            config.rssi = rssi->Integer<std::int32_t>(-127, 20);
        }
        if (const auto variation = fields.Optional("rssiVariation")) {
            config.rssiVariation = variation->Integer<std::int32_t>(0, 50);
        }
        config.advertising = DefaultAdvertising(config.name);
        if (const auto advertising = fields.Optional("advertising")) {
            config.advertising = ReadAdvertising(*advertising, config.advertising);
        }
        if (const auto gatt = fields.Optional("gatt")) {
            config.gatt = ReadGattPeripheral(*gatt);
        }
    });
    return config;
}

}  // namespace

std::vector<PeripheralConfig> ReadPeripherals(const json::Reader& reader)
{
    std::set<std::uint64_t> addresses;
    return reader.List([&](const json::Reader& element) {
        PeripheralConfig config = ReadPeripheral(element);
        if (!addresses.insert(config.address).second) {
            element.Fail("has the address of one before it");
        }
        return config;
    });
}

}  // namespace pelacon::service::simulation
