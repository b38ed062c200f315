// Values into and out of messages of sd-bus.
#pragma once

#include <service/linux/dbus/Value.h>

#include <systemd/sd-bus.h>

namespace pelacon::service::linux_radios::dbus {

/// Appends the values to the message. Throws std::system_error, for example if a text is not
/// UTF-8.
void Append(sd_bus_message* message, const Arguments& values);

/// The rest of the message's values. Values of types that are not used here are left out. Throws
/// std::system_error if the message is broken.
Arguments Read(sd_bus_message* message);

}  // namespace pelacon::service::linux_radios::dbus
