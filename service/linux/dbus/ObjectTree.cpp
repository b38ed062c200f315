#include <service/linux/dbus/Names.h>
#include <service/linux/dbus/ObjectTree.h>

#include <utility>

namespace pelacon::service::linux_radios::dbus {

namespace {

Error Unknown(const char* what, const std::string& name)
{
    return {std::string("org.freedesktop.DBus.Error.Unknown") + what, name + " is not known here"};
}

std::string Text(const Arguments& arguments, std::size_t place)
{
    return place < arguments.size() ? arguments[place].Or<std::string>("") : "";
}

}  // namespace

ObjectTree::ObjectTree(Bus& bus, std::string root) : bus_(bus), root_(std::move(root))
{
    objects_[root_];
    served_ = bus_.Serve(root_, [this](const Incoming& call, Invocation invocation) {
        Answer(call, std::move(invocation));
    });
}

void ObjectTree::Add(const std::string& path, const std::string& name, Interface interface)
{
    objects_[path].insert_or_assign(name, std::move(interface));
}

void ObjectTree::Set(const std::string& path, const std::string& interface,
                     const std::string& property, Value value)
{
    objects_.at(path).at(interface).properties.insert_or_assign(property, value);
    bus_.Emit(path, kProperties, "PropertiesChanged",
              {interface, MakeProperties({{property, std::move(value)}}), MakeTexts({})});
}

void ObjectTree::Answer(const Incoming& call, Invocation invocation)
{
    const auto object = objects_.find(call.path);
    if (object == objects_.end()) {
        invocation.Fail(Unknown("Object", call.path));
    } else if (call.interface == kObjectManager && call.name == "GetManagedObjects" &&
               call.path == root_) {
        Manage(std::move(invocation));
    } else if (call.interface == kProperties) {
        ReadProperty(object->second, call, std::move(invocation));
    } else if (const auto found = object->second.find(call.interface);
               found == object->second.end()) {
        invocation.Fail(Unknown("Interface", call.interface));
    } else if (const auto method = found->second.methods.find(call.name);
               method == found->second.methods.end()) {
        invocation.Fail(Unknown("Method", call.name));
    } else {
        const Handler handler = method->second;  // it may remove its own object
        handler(call, std::move(invocation));
    }
}

void ObjectTree::Manage(Invocation invocation) const
{
    Dictionary all{"o", "a{sa{sv}}", {}};
    for (const auto& [path, object] : objects_) {
        Interfaces interfaces;
        for (const auto& [name, interface] : object) {
            interfaces.emplace(name, interface.properties);
        }
        if (!interfaces.empty()) {
            all.entries.emplace_back(ObjectPath{path}, MakeInterfaces(interfaces));
        }
    }
    invocation.Return({std::move(all)});
}

void ObjectTree::ReadProperty(const Object& object, const Incoming& call, Invocation invocation)
{
    const std::string name = Text(call.arguments, 0);
    const auto interface = object.find(name);
    if (interface == object.end()) {
        invocation.Fail(Unknown("Interface", name));
    } else if (call.name == "GetAll") {
        invocation.Return({MakeProperties(interface->second.properties)});
    } else if (call.name != "Get") {
        invocation.Fail({"org.freedesktop.DBus.Error.PropertyReadOnly", "cannot be written"});
    } else {
        const auto& properties = interface->second.properties;
        const auto property = properties.find(Text(call.arguments, 1));
        if (property == properties.end()) {
            invocation.Fail(Unknown("Property", Text(call.arguments, 1)));
        } else {
            invocation.Return({InVariant(property->second)});
        }
    }
}

}  // namespace pelacon::service::linux_radios::dbus
