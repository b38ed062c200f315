#include <service/linux/bluetooth/GattResult.h>

#include <map>
#include <string>

namespace pelacon::service::linux_radios::bluetooth {

GattResult GattResultOf(const dbus::Error& error)
{
    static const std::map<std::string, GattResult> kResults{
        {"org.bluez.Error.NotPermitted", GattResult::kNotPermitted},
        {"org.bluez.Error.NotAuthorized", GattResult::kNotPermitted},
        {"org.freedesktop.DBus.Error.AccessDenied", GattResult::kNotPermitted},
        {"org.bluez.Error.NotSupported", GattResult::kNotSupported},
        {"org.bluez.Error.InvalidArguments", GattResult::kInvalidValue},
        {"org.bluez.Error.InvalidValueLength", GattResult::kInvalidValue},
        {"org.bluez.Error.InProgress", GattResult::kBusy},
        {"org.bluez.Error.NotConnected", GattResult::kNotConnected},
        {"org.freedesktop.DBus.Error.UnknownObject", GattResult::kNotConnected},
        {"org.freedesktop.DBus.Error.UnknownMethod", GattResult::kNotConnected},
    };
    const auto found = kResults.find(error.name);
    return found != kResults.end() ? found->second : GattResult::kUnreachable;
}

}  // namespace pelacon::service::linux_radios::bluetooth
