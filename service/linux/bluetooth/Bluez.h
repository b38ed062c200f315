// BlueZ's objects, decoded.
#pragma once

#include <protocol/Uuid.h>
#include <service/linux/bluetooth/Address.h>
#include <service/linux/dbus/ObjectMirror.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth::bluez {

using protocol::Uuid;

inline constexpr const char* kService = "org.bluez";
inline constexpr const char* kAdapter = "org.bluez.Adapter1";
inline constexpr const char* kDevice = "org.bluez.Device1";
inline constexpr const char* kGattService = "org.bluez.GattService1";
inline constexpr const char* kGattCharacteristic = "org.bluez.GattCharacteristic1";
inline constexpr const char* kGattManager = "org.bluez.GattManager1";
inline constexpr const char* kAdvertisingManager = "org.bluez.LEAdvertisingManager1";
inline constexpr const char* kAdvertisement = "org.bluez.LEAdvertisement1";

struct Adapter {
    std::string path;
    std::uint64_t address = 0;
    std::string name;
    bool isOn = false;
    std::string version;  ///< of BlueZ ("5.66"), if it is known

    bool operator==(const Adapter&) const = default;
};

struct Device {
    std::string path;
    std::string adapter;
    std::uint64_t address = 0;
    bool isRandom = false;  ///< its address
    bool isConnected = false;
    bool areServicesResolved = false;
    bool isPaired = false;
    bool isLeOnly = true;  ///< it has not been seen as a classic device
};

struct Service {
    std::string path;
    std::string uuid;
};

struct Characteristic {
    std::string path;
    std::string uuid;
    std::vector<std::string> flags;
    std::int32_t mtu = 0;  ///< 0: unknown

    bool Has(const std::string& flag) const;
};

/// All adapters, by their paths.
std::vector<Adapter> Adapters(const dbus::ObjectMirror& mirror);

/// The one with this name ("hci1"), or the first one if the name is empty.
std::optional<Adapter> FindAdapter(const dbus::ObjectMirror& mirror, const std::string& name);

/// Whether a device with these properties is connected.
bool IsConnected(const dbus::Properties& device);

std::optional<Adapter> AdapterAt(const dbus::ObjectMirror& mirror, const std::string& path);
std::optional<Device> DeviceAt(const dbus::ObjectMirror& mirror, const std::string& path);

/// Nothing if the adapter does not know the device.
std::optional<Device> FindDevice(const dbus::ObjectMirror& mirror, const std::string& adapter,
                                 std::uint64_t address);

std::vector<Device> Devices(const dbus::ObjectMirror& mirror, const std::string& adapter);
std::vector<Service> Services(const dbus::ObjectMirror& mirror, const std::string& device);
std::vector<Characteristic> Characteristics(const dbus::ObjectMirror& mirror,
                                            const std::string& service);

/// If the device has several of the kind, the first in the order of paths.
std::optional<Characteristic> FindCharacteristic(const dbus::ObjectMirror& mirror,
                                                 const std::string& device, const Uuid& service,
                                                 const Uuid& characteristic);

/// A controller's number, from its adapter's path: 1 of "/org/bluez/hci1".
std::optional<std::uint16_t> ControllerOf(const std::string& path);

}  // namespace pelacon::service::linux_radios::bluetooth::bluez
