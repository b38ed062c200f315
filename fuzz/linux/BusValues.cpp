// What programs on the message bus send: a tree of values, each a byte for its type and then its
// content, read as BlueZ's properties and interfaces.
#include <service/linux/bluetooth/Discovery.h>
#include <service/linux/dbus/Value.h>

#include <fuzz/Input.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using namespace pelacon::service::linux_radios;
using pelacon::fuzz::Input;

constexpr int kDeepest = 6;

/// Names that properties have, so that the readers go on.
constexpr const char* kNames[] = {
    "Address",
    "AddressType",
    "RSSI",
    "ManufacturerData",
    "ServiceData",
    "UUIDs",
    "Name",
    "Alias",
    "AdvertisingFlags",
    "AdvertisingData",
    "TxPower",
    "Appearance",
    "ServicesResolved",
    "Connected",
    "org.bluez.Device1",
};

dbus::Value TakeValue(Input& input, int depth);

dbus::Value TakeName(Input& input)
{
    const auto choice = input.Take<std::uint8_t>();
    if (choice < std::size(kNames)) {
        return kNames[choice];
    }
    return input.Text(choice % 20);
}

dbus::Dictionary TakeDictionary(Input& input, int depth)
{
    dbus::Dictionary dictionary{"s", "v", {}};
    for (int left = input.Take<std::uint8_t>() % 8; left > 0; --left) {
        dbus::Value key = depth % 2 == 0 ? TakeName(input) : TakeValue(input, kDeepest);
        dictionary.entries.emplace_back(std::move(key), TakeValue(input, depth + 1));
    }
    return dictionary;
}

dbus::Value TakeScalar(Input& input, int type)
{
    switch (type) {
        case 0:
            return input.Take<std::uint8_t>() != 0;
        case 1:
            return input.Take<std::uint8_t>();
        case 2:
            return input.Take<std::int16_t>();
        case 3:
            return input.Take<std::uint16_t>();
        case 4:
            return input.Take<std::int32_t>();
        case 5:
            return input.Take<std::uint32_t>();
        case 6:
            return input.Text(input.Take<std::uint8_t>());
        case 7:
            return dbus::ObjectPath{input.Text(input.Take<std::uint8_t>())};
        default:
            return input.Bytes(input.Take<std::uint8_t>());
    }
}

dbus::Value TakeValue(Input& input, int depth)
{
    constexpr int kScalars = 9;
    const int type = input.Take<std::uint8_t>() % (depth < kDeepest ? kScalars + 4 : kScalars);
    if (type < kScalars) {
        return TakeScalar(input, type);
    }
    if (type == kScalars) {
        return TakeDictionary(input, depth);
    }
    if (type == kScalars + 1) {
        return dbus::InVariant(TakeValue(input, depth + 1));
    }
    std::vector<dbus::Value> values;
    for (int left = input.Take<std::uint8_t>() % 8; left > 0; --left) {
        values.push_back(TakeValue(input, depth + 1));
    }
    if (type == kScalars + 2) {
        return dbus::Array{"v", std::move(values)};
    }
    return dbus::Structure{std::move(values)};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const dbus::Value value = TakeDictionary(input, 0);
    dbus::ReadTexts(value);
    for (const auto& [interface, properties] : dbus::ReadInterfaces(value)) {
        bluetooth::RebuildReports(properties);
    }
    const dbus::Properties properties = dbus::ReadProperties(value);
    bluetooth::RebuildReports(properties);
    // What was read can be sent.
    pelacon::fuzz::Require(dbus::ReadProperties(dbus::MakeProperties(properties)).size() ==
                           properties.size());
    return 0;
}
