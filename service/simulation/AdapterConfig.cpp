#include <service/simulation/AdapterConfig.h>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;

namespace {

void ReadConnectedDevice(json::Fields& fields, ConnectedDevice& device)
{
    device.address = fields.Required("address").Address();
    fields.Read("type", device.type,
                {{"classic", radio::BluetoothType::kClassic}, {"le", radio::BluetoothType::kLe}});
}

}  // namespace

void ReadAdapter(json::Fields& fields, AdapterConfig& config)
{
    fields.Read("address", config.address, &json::Reader::Address);
    fields.Read("name", config.name, 1, radio::Adapter::kMaxName);
    fields.Read("on", config.on);
    fields.Read("turnOnMs", config.turnOnDelay, 0ms, 1min);
    fields.Read("turnOffMs", config.turnOffDelay, 0ms, 1min);
    fields.Read("connected", config.connected, &ReadConnectedDevice);
}

}  // namespace pelacon::service::simulation
