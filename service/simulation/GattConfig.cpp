#include <service/simulation/GattConfig.h>

#include <algorithm>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)
using radio::GattReason;
using radio::GattValue;

namespace {

constexpr std::int32_t kLeastMtu = 23;
constexpr std::int32_t kMostMtu = 517;

radio::Uuid ReadUuid(const json::Reader& reader)
{
    const auto uuid = protocol::ParseUuid(reader.Text(0, 64));
    if (!uuid) {
        reader.Fail(
            "must be a UUID: four or eight hexadecimal digits, or 36 characters with dashes");
    }
    return *uuid;
}

/// Hexadecimal text, or an object with a text whose characters are meant.
GattValue ReadValue(const json::Reader& reader)
{
    if (reader.IsText()) {
        return reader.Hex(0, radio::kMostGattValue);
    }
    GattValue value;
    reader.Object([&](json::Fields& fields) {
        const std::string text = fields.Required("text").Text(0, radio::kMostGattValue);
        value.assign(text.begin(), text.end());
    });
    return value;
}

std::int32_t ReadFlags(const json::Reader& reader)
{
    std::int32_t flags = 0;
    const auto combined = reader.List([](const json::Reader& element) {
        return element.Choice<std::int32_t>(
            {{"read", radio::kGattRead},
             {"write", radio::kGattWrite},
             {"writeWithoutResponse", radio::kGattWriteWithoutResponse},
             {"notify", radio::kGattNotify},
             {"indicate", radio::kGattIndicate}});
    });
    for (const std::int32_t flag : combined) {
        flags |= flag;
    }
    return flags;
}

GattCharacteristicConfig ReadCharacteristic(const json::Reader& reader)
{
    GattCharacteristicConfig config;
    reader.Object([&](json::Fields& fields) {
        config.uuid = ReadUuid(fields.Required("uuid"));
        if (const auto flags = fields.Optional("flags")) {
            config.flags = ReadFlags(*flags);
        }
        if (const auto value = fields.Optional("value")) {
            config.value = ReadValue(*value);
        }
        if (const auto every = fields.Optional("notifyMs")) {
            config.notifyEvery = every->Milliseconds(1ms, 1h);
        }
        if (const auto values = fields.Optional("notifyValues")) {
            config.notifyValues = values->List(&ReadValue);
        }
    });
    return config;
}

/// Reads a list of what has a UUID, no two of which have the same.
template <typename Read>
auto ReadDistinct(const json::Reader& reader, Read read)
{
    auto elements = reader.List(read);
    auto uuids = elements;
    const auto uuid = [](const auto& element) { return element.uuid; };
    std::ranges::sort(uuids, {}, uuid);
    const auto twice = std::ranges::adjacent_find(uuids, {}, uuid);
    if (twice != uuids.end()) {
        reader.Fail("names " + protocol::ShortText(twice->uuid) + " twice");
    }
    return elements;
}

GattServiceConfig ReadService(const json::Reader& reader)
{
    GattServiceConfig config;
    reader.Object([&](json::Fields& fields) {
        config.uuid = ReadUuid(fields.Required("uuid"));
        if (const auto characteristics = fields.Optional("characteristics")) {
            config.characteristics = ReadDistinct(*characteristics, &ReadCharacteristic);
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
            config.services = ReadDistinct(*services, &ReadService);
        }
    });
    return config;
}

}  // namespace pelacon::service::simulation
