#include <service/linux/bluetooth/Bluez.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace pelacon::service::linux_radios::bluetooth::bluez {

namespace {

using dbus::Find;
using dbus::ObjectMirror;
using dbus::Properties;

constexpr const char* kRoot = "/org/bluez/";

std::uint64_t AddressIn(const Properties& properties)
{
    return ParseAddress(Find<std::string>(properties, "Address").value_or("")).value_or(0);
}

/// Calls `use` with each object below the path (any for an empty one) that has the interface.
template <typename Use>
void ForEach(const ObjectMirror& mirror, const std::string& below, const char* interface,
             const Use& use)
{
    const std::string prefix = below + "/";
    for (auto object = mirror.All().lower_bound(prefix);
         object != mirror.All().end() && object->first.starts_with(prefix); ++object) {
        const auto found = object->second.find(interface);
        if (found != object->second.end()) {
            use(object->first, found->second);
        }
    }
}

/// BlueZ gives its adapters the vendor and the product of the Linux Foundation's software, with its
/// own version as that of the product.
std::string VersionIn(const Properties& properties)
{
    constexpr std::string_view kPrefix = "usb:v1D6Bp0246d";
    const std::string text = Find<std::string>(properties, "Modalias").value_or("");
    std::uint32_t version = 0;
    const char* const end = text.data() + text.size();
    if (!text.starts_with(kPrefix) ||
        std::from_chars(text.data() + kPrefix.size(), end, version, 16).ptr != end) {
        return {};
    }
    return std::to_string(version >> 8U) + "." + std::to_string(version & 0xFFU);
}

Adapter ToAdapter(const std::string& path, const Properties& properties)
{
    Adapter adapter;
    adapter.path = path;
    adapter.address = AddressIn(properties);
    adapter.name = Find<std::string>(properties, "Alias").value_or("");
    adapter.isOn = Find<bool>(properties, "Powered").value_or(false);
    adapter.version = VersionIn(properties);
    return adapter;
}

Device ToDevice(const std::string& path, const Properties& properties)
{
    Device device;
    device.path = path;
    device.adapter =
        Find<dbus::ObjectPath>(properties, "Adapter").value_or(dbus::ObjectPath{}).text;
    device.address = AddressIn(properties);
    device.isRandom = Find<std::string>(properties, "AddressType") == "random";
    device.areServicesResolved = Find<bool>(properties, "ServicesResolved").value_or(false);
    device.isConnected = IsConnected(properties);
    device.isPaired = Find<bool>(properties, "Paired").value_or(false);
    device.isLeOnly = !Find<std::uint32_t>(properties, "Class").has_value();
    return device;
}

}  // namespace

bool IsConnected(const Properties& device)
{
    // BlueZ does not always signal that a device is connected, but always that its services are
    // known, and that it is not connected any more.
    return Find<bool>(device, "ServicesResolved").value_or(false) ||
           Find<bool>(device, "Connected").value_or(false);
}

bool Characteristic::Has(const std::string& flag) const
{
    return std::find(flags.begin(), flags.end(), flag) != flags.end();
}

std::vector<Adapter> Adapters(const ObjectMirror& mirror)
{
    std::vector<Adapter> adapters;
    ForEach(mirror, "", kAdapter, [&](const std::string& path, const Properties& properties) {
        adapters.push_back(ToAdapter(path, properties));
    });
    return adapters;
}

std::optional<Adapter> FindAdapter(const ObjectMirror& mirror, const std::string& name)
{
    if (!name.empty()) {
        return AdapterAt(mirror, kRoot + name);
    }
    const std::vector<Adapter> all = Adapters(mirror);
    return all.empty() ? std::nullopt : std::optional(all.front());
}

std::optional<Adapter> AdapterAt(const ObjectMirror& mirror, const std::string& path)
{
    const Properties* const properties = mirror.Find(path, kAdapter);
    return properties != nullptr ? std::optional(ToAdapter(path, *properties)) : std::nullopt;
}

std::optional<Device> DeviceAt(const ObjectMirror& mirror, const std::string& path)
{
    const Properties* const properties = mirror.Find(path, kDevice);
    return properties != nullptr ? std::optional(ToDevice(path, *properties)) : std::nullopt;
}

std::optional<Device> FindDevice(const ObjectMirror& mirror, const std::string& adapter,
                                 std::uint64_t address)
{
    // The path keeps the address that the device had first.
    for (Device& device : Devices(mirror, adapter)) {
        if (device.address == address) {
            return std::move(device);
        }
    }
    return std::nullopt;
}

std::vector<Device> Devices(const ObjectMirror& mirror, const std::string& adapter)
{
    std::vector<Device> devices;
    ForEach(mirror, adapter, kDevice, [&](const std::string& path, const Properties& properties) {
        devices.push_back(ToDevice(path, properties));
    });
    return devices;
}

std::vector<Service> Services(const ObjectMirror& mirror, const std::string& device)
{
    std::vector<Service> services;
    ForEach(mirror, device, kGattService,
            [&](const std::string& path, const Properties& properties) {
                services.push_back({path, Find<std::string>(properties, "UUID").value_or("")});
            });
    return services;
}

std::vector<Characteristic> Characteristics(const ObjectMirror& mirror, const std::string& service)
{
    std::vector<Characteristic> characteristics;
    ForEach(mirror, service, kGattCharacteristic,
            [&](const std::string& path, const Properties& properties) {
                Characteristic characteristic;
                characteristic.path = path;
                characteristic.uuid = Find<std::string>(properties, "UUID").value_or("");
                const auto flags = properties.find("Flags");
                if (flags != properties.end()) {
                    characteristic.flags = dbus::ReadTexts(flags->second);
                }
                characteristic.mtu = Find<std::uint16_t>(properties, "MTU").value_or(0);
                characteristics.push_back(std::move(characteristic));
            });
    return characteristics;
}

std::optional<Characteristic> FindCharacteristic(const ObjectMirror& mirror,
                                                 const std::string& device, const Uuid& service,
                                                 const Uuid& characteristic)
{
    for (const Service& candidate : Services(mirror, device)) {
        if (protocol::ParseUuid(candidate.uuid) != service) {
            continue;
        }
        for (Characteristic& found : Characteristics(mirror, candidate.path)) {
            if (protocol::ParseUuid(found.uuid) == characteristic) {
                return std::move(found);
            }
        }
    }
    return std::nullopt;
}

std::optional<std::uint16_t> ControllerOf(const std::string& path)
{
    const std::size_t name = path.rfind("/hci");
    if (name == std::string::npos) {
        return std::nullopt;
    }
    const char* const begin = path.data() + name + 4;
    const char* const end = path.data() + path.size();
    std::uint16_t number = 0;
    const auto [rest, error] = std::from_chars(begin, end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

}  // namespace pelacon::service::linux_radios::bluetooth::bluez
