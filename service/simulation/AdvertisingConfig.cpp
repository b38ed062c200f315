#include <protocol/AdStructure.h>
#include <service/simulation/AdvertisingConfig.h>

#include <algorithm>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

namespace {

constexpr std::size_t kMostData = radio::kMostAdvertisingData;

// Two bytes are the structure's length and type.
constexpr std::size_t kMostInStructure = kMostData - 2;

/// General discoverable, no classic Bluetooth.
constexpr std::uint8_t kUsualFlags = 0x06;

Bytes BytesOf(const std::string& text)
{
    return {text.begin(), text.end()};
}

/// A 16-bit identifier such as "180F" in the order of transmission, the low byte first.
Bytes ReadIdentifier(const json::Reader& reader)
{
    Bytes bytes = reader.Hex(2, 2);
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

/// An identifier, followed by its data.
Bytes Identified(const json::Reader& identifier, json::Fields& fields)
{
    Bytes bytes = ReadIdentifier(identifier);
    if (const auto data = fields.Optional("data")) {
        const Bytes rest = data->Hex(0, kMostInStructure - bytes.size());
        bytes.insert(bytes.end(), rest.begin(), rest.end());
    }
    return bytes;
}

/// One structure; the field that it has says which kind it is.
Bytes ReadStructure(const json::Reader& reader)
{
    Bytes structure;
    const auto make = [&](std::uint8_t type, const Bytes& data) {
        protocol::AppendAdStructure(structure, type, data);
    };
    reader.Object([&](json::Fields& fields) {
        if (const auto flags = fields.Optional("flags")) {
            make(protocol::kAdFlags, {flags->Integer<std::uint8_t>()});
        } else if (const auto name = fields.Optional("name")) {
            make(protocol::kAdName, BytesOf(name->Text(1, kMostInStructure)));
        } else if (const auto services = fields.Optional("services")) {
            Bytes uuids;
            for (const Bytes& uuid : services->List(&ReadIdentifier)) {
                uuids.insert(uuids.end(), uuid.begin(), uuid.end());
            }
            if (uuids.size() > kMostInStructure) {
                services->Fail("are more than fit");
            }
            make(protocol::kAdUuids16, uuids);
        } else if (const auto manufacturer = fields.Optional("manufacturer")) {
            make(protocol::kAdManufacturer, Identified(*manufacturer, fields));
        } else if (const auto service = fields.Optional("service")) {
            make(protocol::kAdServiceData16, Identified(*service, fields));
        } else if (const auto type = fields.Optional("type")) {
            make(type->Integer<std::uint8_t>(), fields.Required("data").Hex(0, kMostInStructure));
        } else {
            fields.Fail("must have one of flags, name, services, manufacturer, service and type");
        }
    });
    return structure;
}

/// Bytes in hexadecimal, or a list of structures.
Bytes ReadData(const json::Reader& reader)
{
    if (reader.IsText()) {
        return reader.Hex(0, kMostData);
    }
    Bytes bytes;
    for (const Bytes& structure : reader.List(&ReadStructure)) {
        bytes.insert(bytes.end(), structure.begin(), structure.end());
    }
    if (bytes.size() > kMostData) {
        reader.Fail("makes " + std::to_string(bytes.size()) + " bytes, and there is room for " +
                    std::to_string(kMostData));
    }
    return bytes;
}

}  // namespace

AdvertisingConfig DefaultAdvertising(const std::string& name)
{
    AdvertisingConfig config;
    protocol::AppendAdStructure(config.data, protocol::kAdFlags, Bytes{kUsualFlags});
    if (name.empty()) {
        return config;
    }
    const std::size_t room = kMostData - config.data.size() - 2;
    const bool fits = name.size() <= room;
    protocol::AppendAdStructure(config.data, fits ? protocol::kAdName : protocol::kAdShortName,
                                BytesOf(name.substr(0, room)));
    return config;
}

void ReadAdvertising(json::Fields& fields, AdvertisingConfig& config)
{
    using Kind = radio::AdvertisementKind;
    fields.Read("on", config.on);
    fields.Read("intervalMs", config.interval, 1ms, 1min);
    fields.Read("kind", config.kind,
                {{"connectable", Kind::kConnectable},
                 {"scannable", Kind::kScannable},
                 {"non-connectable", Kind::kNonConnectable}});
    fields.Read("data", config.data, &ReadData);
    fields.Read("scanResponse", config.scanResponse, &ReadData);
}

}  // namespace pelacon::service::simulation
