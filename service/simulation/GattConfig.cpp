#include <json/GattFields.h>
#include <service/simulation/GattConfig.h>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;
using radio::GattReason;

namespace {

constexpr std::int32_t kLeastMtu = 23;
constexpr std::int32_t kMostMtu = 517;

GattCharacteristicConfig ReadCharacteristic(const json::Reader& reader)
{
    GattCharacteristicConfig config;
    reader.Object([&](json::Fields& fields) {
        config.uuid = json::ReadUuid(fields.Required("uuid"));
        fields.Read("flags", config.flags, &json::ReadGattFlags);
        fields.Read("value", config.value, &json::ReadGattValue);
        fields.Read("notifyMs", config.notifyEvery, 1ms, 1h);
        fields.Read("notifyValues", config.notifyValues, &json::ReadGattValue);
    });
    return config;
}

GattServiceConfig ReadService(const json::Reader& reader)
{
    GattServiceConfig config;
    reader.Object([&](json::Fields& fields) {
        config.uuid = json::ReadUuid(fields.Required("uuid"));
        fields.Read("characteristics", config.characteristics, json::Distinct(&ReadCharacteristic));
    });
    return config;
}

GattDisconnectConfig ReadDisconnect(const json::Reader& reader)
{
    GattDisconnectConfig config;
    reader.Object([&](json::Fields& fields) {
        config.after = fields.Required("afterMs").Milliseconds(0ms, 24h);
        fields.Read("reason", config.reason,
                    {{"peer", GattReason::kPeer}, {"timeout", GattReason::kTimeout}});
    });
    return config;
}

void ReadLinkFields(json::Fields& fields, GattLinkConfig& config)
{
    fields.Read("connectMs", config.connectDelay, 0ms, 1min);
    fields.Read("responseMs", config.responseDelay, 0ms, 1min);
    fields.Read("mtu", config.mtu, kLeastMtu, kMostMtu);
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
        fields.Read("refuse", config.refuses);
        fields.Read("disconnect", config.disconnect, &ReadDisconnect);
        fields.Read("services", config.services, json::Distinct(&ReadService));
    });
    return config;
}

}  // namespace pelacon::service::simulation
