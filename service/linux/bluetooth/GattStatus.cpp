#include <service/linux/bluetooth/GattStatus.h>
#include <service/linux/dbus/Names.h>

#include <map>
#include <string>

namespace pelacon::service::linux_radios::bluetooth {

GattStatus GattStatusOf(const dbus::Error& error)
{
    static const std::map<std::string, GattStatus> kResults{
        {"org.bluez.Error.NotPermitted", GattStatus::kNotPermitted},
        {"org.bluez.Error.NotAuthorized", GattStatus::kNotPermitted},
        {dbus::kAccessDenied, GattStatus::kNotPermitted},
        {"org.bluez.Error.NotSupported", GattStatus::kNotSupported},
        {"org.bluez.Error.InvalidArguments", GattStatus::kInvalidValue},
        {"org.bluez.Error.InvalidValueLength", GattStatus::kInvalidValue},
        {"org.bluez.Error.InProgress", GattStatus::kBusy},
        {"org.bluez.Error.NotConnected", GattStatus::kNotConnected},
        {"org.freedesktop.DBus.Error.UnknownObject", GattStatus::kNotConnected},
        {"org.freedesktop.DBus.Error.UnknownMethod", GattStatus::kNotConnected},
    };
    const auto found = kResults.find(error.name);
    return found != kResults.end() ? found->second : GattStatus::kUnreachable;
}

}  // namespace pelacon::service::linux_radios::bluetooth
