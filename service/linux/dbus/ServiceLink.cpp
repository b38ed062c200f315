#include <service/linux/dbus/ServiceLink.h>

#include <system_error>
#include <utility>

namespace pelacon::service::linux_radios::dbus {

ServiceLink::ServiceLink(Loop& loop, std::string service, std::string root,
                         ObjectMirror::Observer& observer, std::function<void()> lost)
    : loop_(loop),
      service_(std::move(service)),
      root_(std::move(root)),
      observer_(observer),
      lost_(std::move(lost))
{}

void ServiceLink::Connect()
{
    try {
        bus_ = std::make_unique<Bus>(loop_, [this] { Disconnect(); });
        mirror_ = std::make_unique<ObjectMirror>(*bus_, service_, root_, observer_);
    } catch (const std::system_error&) {
        Disconnect();
    }
}

/// There is no bus, or the connection to it is lost.
void ServiceLink::Disconnect()
{
    mirror_.reset();
    bus_.reset();
    next_ = loop_.After(kNextTry, [this] { Connect(); });
    lost_();
}

}  // namespace pelacon::service::linux_radios::dbus
