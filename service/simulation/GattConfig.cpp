#include <service/json/GattFields.h>
#include <service/simulation/GattConfig.h>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)
using radio::GattReason;

namespace {

constexpr std::int32_t kLeastMtu = 23;
constexpr std::int32_t kMostMtu = 517;

GattCharacteristicConfig ReadCharacteristic(const json::Reader& reader)
{
    GattCharacteristicConfig config;
    reader.Object([&](json::Fields& fields) {
        config.uuid = json::ReadUuid(fields.Required("uuid"));
        if (const auto flags = fields.Optional("flags")) {
            config.flags = json::ReadGattFlags(*flags);
        }
        if (const auto value = fields.Optional("value")) {
            config.value = json::ReadGattValue(*value);
        }
        if (const auto every = fields.Optional("notifyMs")) {
            config.notifyEvery = every->Milliseconds(1ms, 1h);
        }
        if (const auto values = fields.Optional("notifyValues")) {
            config.notifyValues = values->List(&json::ReadGattValue);
        }
    });
    return config;
}

GattServiceConfig ReadService(const json::Reader& reader)
{
    GattServiceConfig config;
    reader.Object([&](json::Fields& fields) {
        config.uuid = json::ReadUuid(fields.Required("uuid"));
        if (const auto characteristics = fields.Optional("characteristics")) {
            config.characteristics = json::ReadDistinct(*characteristics, &ReadCharacteristic);
        }
    });
    return config;
}

GattDisconnectConfig ReadDisconnect(const json::Reader& reader)
{
    GattDisconnectConfig config;
    reader.Object([&](json::Fields& fields) {
        config.after = fields.Required("afterMs").Milliseconds(0ms, 24h);
        if (const auto reason = fields.Optional("reason")) {
            config.reason = reason->Choice<GattReason>(
                {{"peer", GattReason::kPeer}, {"timeout", GattReason::kTimeout}});
        }
    });
    return config;
}

void ReadLinkFields(json::Fields& fields, GattLinkConfig& config)
{
    if (const auto delay = fields.Optional("connectMs")) {
        config.connectDelay = delay->Milliseconds(0ms, 1min);
    }
    if (const auto delay = fields.Optional("responseMs")) {
        config.responseDelay = delay->Milliseconds(0ms, 1min);
    }
    if (const auto mtu = fields.Optional("mtu")) {
        config.mtu = mtu->Integer<std::int32_t>(kLeastMtu, kMostMtu);
    }
}

}  // namespace

GattLinkConfig ReadGattLink(const json::Reader& reader)
{
    GattLinkConfig config;
    reader.Object([&](json::Fields& fields) { ReadLinkFields(fields, config); });
    return config;
}

GattPeripheralConfig ReadGattPeripheral(const json::Reader& reader)
{
    GattPeripheralConfig config;
    reader.Object([&](json::Fields& fields) {
        ReadLinkFields(fields, config.link);
        if (const auto refuses = fields.Optional("refuse")) {
            config.refuses = refuses->Bool();
        }
        if (const auto disconnect = fields.Optional("disconnect")) {
            config.disconnect = ReadDisconnect(*disconnect);
        }
        if (const auto services = fields.Optional("services")) {
            config.services = json::ReadDistinct(*services, &ReadService);
        }
    });
    return config;
}

}  // namespace pelacon::service::simulation
