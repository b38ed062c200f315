// Who has a name on the bus.
#pragma once

#include <service/linux/dbus/Bus.h>

#include <functional>
#include <string>

namespace pelacon::service::linux_radios::dbus {

/// Follows a well-known name. In the loop's thread.
class NameWatch {
  public:
    /// `changed` is called with the own name of the program that has the name, empty if there is
    /// none: first when that is known, then on each change. It may destroy the watch.
    NameWatch(Bus& bus, const std::string& name,
              std::function<void(const std::string& owner)> changed);

    NameWatch(const NameWatch&) = delete;
    NameWatch& operator=(const NameWatch&) = delete;

  private:
    std::function<void(const std::string&)> changed_;
    Bus::Slot signals_;
    Bus::Slot call_;
};

}  // namespace pelacon::service::linux_radios::dbus
