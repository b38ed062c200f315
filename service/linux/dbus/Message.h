// Values into and out of messages of sd-bus.
#pragma once

#include <service/linux/dbus/Value.h>

#include <systemd/sd-bus.h>

namespace pelacon::service::linux_radios::dbus {

/// Adds the values at the message's end. Throws std::system_error, for example where a text is not
/// UTF-8.
void Append(sd_bus_message* message, const Arguments& values);

/// The rest of the message's values. Those of types that are not used here are left out. Throws
/// std::system_error where the message is broken.
Arguments Read(sd_bus_message* message);

}  // namespace pelacon::service::linux_radios::dbus
