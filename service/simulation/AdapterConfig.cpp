#include <service/simulation/AdapterConfig.h>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)

namespace {

ConnectedDevice ReadConnectedDevice(const json::Reader& reader)
{
    ConnectedDevice device;
    reader.Object([&](json::Fields& fields) {
        device.address = fields.Required("address").Address();
        if (const auto type = fields.Optional("type")) {
            device.type = type->Choice<radio::BluetoothType>(
                {{"classic", radio::BluetoothType::kClassic}, {"le", radio::BluetoothType::kLe}});
        }
    });
    return device;
}

}  // namespace

AdapterConfig ReadAdapter(const json::Reader& reader)
{
    AdapterConfig config;
    reader.Object([&](json::Fields& fields) {
        if (const auto address = fields.Optional("address")) {
            config.address = address->Address();
        }
        if (const auto name = fields.Optional("name")) {
            config.name = name->Text(1, radio::Adapter::kMaxName);
        }
        if (const auto on = fields.Optional("on")) {
            config.on = on->Bool();
        }
        if (const auto delay = fields.Optional("turnOnMs")) {
            config.turnOnDelay = delay->Milliseconds(0ms, 1min);
        }
        if (const auto delay = fields.Optional("turnOffMs")) {
            config.turnOffDelay = delay->Milliseconds(0ms, 1min);
        }
        if (const auto connected = fields.Optional("connected")) {
            config.connected = connected->List(&ReadConnectedDevice);
        }
    });
    return config;
}

}  // namespace pelacon::service::simulation
