#include <PelaconSDK/BleGattServer.h>
#include <json/GattFields.h>
#include <protocol/Gatt.h>

namespace pelacon::json {

protocol::Uuid ReadUuid(const Reader& reader)
{
    const auto uuid = protocol::ParseUuid(reader.Text(0, 64));
    if (!uuid) {
        reader.Fail(
            "must be a UUID: four or eight hexadecimal digits, or 36 characters with dashes");
    }
    return *uuid;
}

std::vector<std::uint8_t> ReadGattValue(const Reader& reader)
{
    if (reader.IsText()) {
        return reader.Hex(0, protocol::kGattValueSize);
    }
    std::vector<std::uint8_t> value;
    reader.Object([&](Fields& fields) {
        const std::string text = fields.Required("text").Text(0, protocol::kGattValueSize);
        value.assign(text.begin(), text.end());
    });
    return value;
}

std::int32_t ReadGattFlags(const Reader& reader)
{
    std::int32_t flags = 0;
    const auto combined = reader.List([](const Reader& element) {
        return element.Choice<std::int32_t>(
            {{"read", kBleGattCharRead},
             {"write", kBleGattCharWrite},
             {"writeWithoutResponse", kBleGattCharWriteWithoutResponse},
             {"notify", kBleGattCharNotify},
             {"indicate", kBleGattCharIndicate}});
    });
    for (const std::int32_t flag : combined) {
        flags |= flag;
    }
    return flags;
}

}  // namespace pelacon::json
