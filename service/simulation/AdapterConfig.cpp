#include <service/simulation/AdapterConfig.h>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;

namespace {

ConnectedDevice ReadConnectedDevice(const json::Reader& reader)
{
    ConnectedDevice device;
    reader.Object([&](json::Fields& fields) {
        device.address = fields.Required("address").Address();
        fields.Read(
            "type", device.type,
            {{"classic", radio::BluetoothType::kClassic}, {"le", radio::BluetoothType::kLe}});
    });
    return device;
}

}  // namespace

AdapterConfig ReadAdapter(const json::Reader& reader)
{
    AdapterConfig config;
    reader.Object([&](json::Fields& fields) {
        fields.Read("address", config.address, &json::Reader::Address);
        fields.Read("name", config.name, 1, radio::Adapter::kMaxName);
        fields.Read("on", config.on);
        fields.Read("turnOnMs", config.turnOnDelay, 0ms, 1min);
        fields.Read("turnOffMs", config.turnOffDelay, 0ms, 1min);
        fields.Read("connected", config.connected, &ReadConnectedDevice);
    });
    return config;
}

}  // namespace pelacon::service::simulation
