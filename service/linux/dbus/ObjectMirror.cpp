#include <service/linux/dbus/Names.h>
#include <service/linux/dbus/ObjectMirror.h>

#include <utility>

namespace pelacon::service::linux_radios::dbus {

namespace {

SignalFilter From(const std::string& sender, const char* interface)
{
    SignalFilter filter;
    filter.sender = sender;
    filter.interface = interface;
    return filter;
}

template <typename Type>
const Type* At(const Arguments& arguments, std::size_t place)
{
    return place < arguments.size() ? arguments[place].As<Type>() : nullptr;
}

}  // namespace

// Messages arrive in order: as the objects are listed after the subscription, no change is missed.
ObjectMirror::ObjectMirror(Bus& bus, const std::string& service, std::string root,
                           Observer& observer)
    : bus_(bus),
      root_(std::move(root)),
      observer_(observer),
      managed_(bus.Watch(From(service, kObjectManager),
                         [this](const Signal& signal) { Heard(signal); })),
      changes_(
          bus.Watch(From(service, kProperties), [this](const Signal& signal) { Heard(signal); })),
      name_(bus, service, [this](const std::string& owner) { OwnerIs(owner); })
{}

const Properties* ObjectMirror::Find(const std::string& path, const std::string& interface) const
{
    const auto object = objects_.find(path);
    if (object == objects_.end()) {
        return nullptr;
    }
    const auto found = object->second.find(interface);
    return found != object->second.end() ? &found->second : nullptr;
}

void ObjectMirror::Refresh(const std::string& path, const std::string& interface,
                           const std::string& property, std::shared_ptr<void> kept)
{
    const std::uint64_t number = ++lastRefresh_;
    refreshes_[number] = bus_.Call(
        {owner_, path, kProperties, "Get"}, {interface, property},
        [this, number, path, interface, property, kept = std::move(kept)](const Reply& reply) {
            const auto done = refreshes_.extract(number);  // until the end of this call
            const auto* const value = reply.IsError() || reply.arguments.empty()
                                          ? nullptr
                                          : std::get_if<Variant>(&reply.arguments.front().Get());
            if (value != nullptr) {
                Change(path, interface, {{property, *value->value}}, {});
            }
        });
}

void ObjectMirror::OwnerIs(const std::string& owner)
{
    pictureCall_.Reset();
    next_.Cancel();
    refreshes_.clear();
    owner_ = owner;
    whyUnknown_.reset();
    const bool wasThere = std::exchange(isThere_, false);
    Clear();
    if (wasThere || owner_.empty()) {
        observer_.Vanished();
    }
    if (!owner_.empty()) {
        Ask();
    }
}

void ObjectMirror::Ask()
{
    pictureCall_ = bus_.Call({owner_, root_, kObjectManager, "GetManagedObjects"}, {},
                             [this](const Reply& reply) { Picture(reply); });
}

void ObjectMirror::Picture(const Reply& reply)
{
    const auto* const objects = reply.First<Dictionary>();
    whyUnknown_ = reply.error;
    if (objects == nullptr) {
        next_ = bus_.GetLoop().After(kNextTry, [this] { Ask(); });
        observer_.Vanished();
        return;
    }
    // The list has what was added before it was made; signals of later changes follow it.
    isThere_ = true;
    for (const auto& [key, interfaces] : objects->entries) {
        if (const auto* const path = key.As<ObjectPath>()) {
            Insert(path->text, ReadInterfaces(interfaces));
        }
    }
    observer_.Appeared();
}

void ObjectMirror::Heard(const Signal& signal)
{
    if (!isThere_ || signal.sender != owner_) {
        return;
    }
    if (signal.name == "PropertiesChanged") {
        const auto* const interface = At<std::string>(signal.arguments, 0);
        if (interface != nullptr && signal.arguments.size() >= 3) {
            Change(signal.path, *interface, ReadProperties(signal.arguments[1]),
                   ReadTexts(signal.arguments[2]));
        }
        return;
    }
    const auto* const path = At<ObjectPath>(signal.arguments, 0);
    if (path == nullptr || signal.arguments.size() < 2) {
        return;
    }
    if (signal.name == "InterfacesAdded") {
        Insert(path->text, ReadInterfaces(signal.arguments[1]));
    } else if (signal.name == "InterfacesRemoved") {
        for (const std::string& interface : ReadTexts(signal.arguments[1])) {
            Remove(path->text, interface);
        }
    }
}

void ObjectMirror::Insert(const std::string& path, const Interfaces& interfaces)
{
    // The copy has all interfaces of the object before the first call of the observer.
    for (const auto& [interface, properties] : interfaces) {
        objects_[path].insert_or_assign(interface, properties);
    }
    for (const auto& [interface, properties] : interfaces) {
        observer_.Added(path, interface);
    }
}

void ObjectMirror::Remove(const std::string& path, const std::string& interface)
{
    const auto object = objects_.find(path);
    if (object == objects_.end()) {
        return;
    }
    const auto removed = object->second.extract(interface);
    if (object->second.empty()) {
        objects_.erase(object);
    }
    if (!removed.empty()) {
        observer_.Removed(path, interface, removed.mapped());
    }
}

void ObjectMirror::Change(const std::string& path, const std::string& interface,
                          const Properties& changed, const std::vector<std::string>& invalidated)
{
    const auto object = objects_.find(path);
    if (object == objects_.end()) {
        return;
    }
    const auto kept = object->second.find(interface);
    if (kept == object->second.end()) {
        return;
    }
    for (const auto& [name, value] : changed) {
        kept->second.insert_or_assign(name, value);
    }
    for (const std::string& name : invalidated) {
        kept->second.erase(name);
    }
    observer_.Changed(path, interface, changed);
}

void ObjectMirror::Clear()
{
    while (!objects_.empty() && !objects_.rbegin()->second.empty()) {
        // In reverse order, so that objects are removed before the one above them.
        const std::string path = objects_.rbegin()->first;
        const std::string interface = objects_.rbegin()->second.begin()->first;
        Remove(path, interface);
    }
    objects_.clear();
}

}  // namespace pelacon::service::linux_radios::dbus
