// The names of D-Bus's own interfaces, and the check of sd-bus's results.
#pragma once

#include <system_error>

namespace pelacon::service::linux_radios::dbus {

inline constexpr const char* kBus = "org.freedesktop.DBus";
inline constexpr const char* kBusPath = "/org/freedesktop/DBus";
inline constexpr const char* kObjectManager = "org.freedesktop.DBus.ObjectManager";
inline constexpr const char* kPeer = "org.freedesktop.DBus.Peer";
inline constexpr const char* kProperties = "org.freedesktop.DBus.Properties";

/// The error if the bus's policy forbids a call.
inline constexpr const char* kAccessDenied = "org.freedesktop.DBus.Error.AccessDenied";

/// Throws what a negative result means.
inline void Check(int result, const char* what)
{
    if (result < 0) {
        throw std::system_error(-result, std::generic_category(), what);
    }
}

}  // namespace pelacon::service::linux_radios::dbus
