#include <json/GattFields.h>
#include <service/simulation/GattConfig.h>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;
using radio::GattReason;

namespace {

constexpr std::int32_t kLeastMtu = 23;
constexpr std::int32_t kMostMtu = 517;

void ReadCharacteristic(json::Fields& fields, GattCharacteristicConfig& config)
{
    config.uuid = json::ReadUuid(fields.Required("uuid"));
    fields.Read("flags", config.flags, &json::ReadGattFlags);
    fields.Read("value", config.value, &json::ReadGattValue);
    fields.Read("notifyMs", config.notifyEvery, 1ms, 1h);
    fields.Read("notifyValues", config.notifyValues, &json::ReadGattValue);
}

void ReadService(json::Fields& fields, GattServiceConfig& config)
{
    config.uuid = json::ReadUuid(fields.Required("uuid"));
    fields.Read("characteristics", config.characteristics, json::Distinct(&ReadCharacteristic));
}

void ReadDisconnect(json::Fields& fields, GattDisconnectConfig& config)
{
    config.after = fields.Required("afterMs").Milliseconds(0ms, 24h);
    fields.Read("reason", config.reason,
                {{"peer", GattReason::kPeer}, {"timeout", GattReason::kTimeout}});
}

}  // namespace

void ReadGattLink(json::Fields& fields, GattLinkConfig& config)
{
    fields.Read("connectMs", config.connectDelay, 0ms, 1min);
    fields.Read("responseMs", config.responseDelay, 0ms, 1min);
    fields.Read("mtu", config.mtu, kLeastMtu, kMostMtu);
}

void ReadGattPeripheral(json::Fields& fields, GattPeripheralConfig& config)
{
    ReadGattLink(fields, config.link);
    fields.Read("refuse", config.refuses);
    fields.Read("disconnect", config.disconnect, &ReadDisconnect);
    fields.Read("services", config.services, json::Distinct(&ReadService));
}

}  // namespace pelacon::service::simulation
