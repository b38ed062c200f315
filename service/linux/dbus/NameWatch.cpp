#include <service/linux/dbus/NameWatch.h>
#include <service/linux/dbus/Names.h>

#include <utility>

namespace pelacon::service::linux_radios::dbus {

namespace {

SignalFilter ChangesOf(const std::string& name)
{
    SignalFilter filter;
    filter.sender = kBus;
    filter.interface = kBus;
    filter.name = "NameOwnerChanged";
    filter.firstArgument = name;
    return filter;
}

}  // namespace

NameWatch::NameWatch(Bus& bus, const std::string& name,
                     std::function<void(const std::string& owner)> changed)
    : changed_(std::move(changed)),
      signals_(bus.Watch(ChangesOf(name),
                         [this](const Signal& signal) {
                             const auto* const owner = signal.arguments.size() > 2
                                                           ? signal.arguments[2].As<std::string>()
                                                           : nullptr;
                             if (owner != nullptr) {
                                 call_.Reset();
                                 changed_(*owner);
                             }
                         })),
      call_(bus.Call({kBus, kBusPath, kBus, "GetNameOwner"}, {name}, [this](const Reply& reply) {
          const auto* const owner = reply.First<std::string>();
          changed_(owner != nullptr ? *owner : "");
      }))
{}

}  // namespace pelacon::service::linux_radios::dbus
