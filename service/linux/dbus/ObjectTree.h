// Objects of this process on the bus.
#pragma once

#include <service/linux/dbus/Bus.h>

#include <functional>
#include <map>
#include <string>

namespace pelacon::service::linux_radios::dbus {

/// Objects below a root, which lists them as an ObjectManager. Other programs may read their
/// properties and call their methods, if the bus permits it. In the loop's thread.
class ObjectTree {
  public:
    /// Answers a call of a method, at once or later.
    using Handler = std::function<void(const Incoming&, Invocation)>;

    struct Interface {
        Properties properties;
        std::map<std::string, Handler> methods;
    };

    /// The bus outlives the tree. The destructor removes the objects without a signal.
    ObjectTree(Bus& bus, std::string root);

    ObjectTree(const ObjectTree&) = delete;
    ObjectTree& operator=(const ObjectTree&) = delete;

    const std::string& Root() const noexcept { return root_; }

    /// Adds an interface to the object at a path, which is the root or below it. Sends no signal:
    /// programs that are to use it are called afterwards.
    void Add(const std::string& path, const std::string& name, Interface interface);

    /// Gives a property a new value, and signals the change.
    void Set(const std::string& path, const std::string& interface, const std::string& property,
             Value value);

  private:
    using Object = std::map<std::string, Interface>;

    void Answer(const Incoming& call, Invocation invocation);
    void Manage(Invocation invocation) const;
    static void ReadProperty(const Object& object, const Incoming& call, Invocation invocation);

    Bus& bus_;
    std::string root_;
    std::map<std::string, Object> objects_;
    Bus::Slot served_;
};

}  // namespace pelacon::service::linux_radios::dbus
