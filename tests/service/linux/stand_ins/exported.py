"""Objects on the bus that have properties, and the object manager that lists them."""
import dbus
import dbus.service

from bus_values import to_bus
from faults import Faults

MANAGER = 'org.freedesktop.DBus.ObjectManager'
PROPERTIES = 'org.freedesktop.DBus.Properties'


class Tree(dbus.service.Object):
    """All objects of a program, by their paths, and what is planned for their methods."""

    def __init__(self, bus, root='/'):
        super().__init__(bus, root)
        self.bus = bus
        self.objects = {}
        self.faults = Faults()

    @dbus.service.method(MANAGER, out_signature='a{oa{sa{sv}}}', async_callbacks=('reply', 'fail'))
    def GetManagedObjects(self, reply, fail):
        self.faults.answer('GetManagedObjects', [], lambda: dbus.Dictionary(
            {dbus.ObjectPath(path): one.interfaces() for path, one in self.objects.items()},
            signature='oa{sa{sv}}'), reply, fail)

    @dbus.service.signal(MANAGER, signature='oa{sa{sv}}')
    def InterfacesAdded(self, path, interfaces):
        pass

    @dbus.service.signal(MANAGER, signature='oas')
    def InterfacesRemoved(self, path, interfaces):
        pass


class Exported(dbus.service.Object):
    """An object with properties, listed by the object manager while it is there."""

    others = ()  # further interfaces, without properties

    def __init__(self, tree, path, interface, properties):
        self.tree, self.path, self.interface = tree, path, interface
        self.properties = {name: to_bus(name, value) for name, value in properties.items()}
        super().__init__(tree.bus, path)
        tree.objects[path] = self
        tree.InterfacesAdded(dbus.ObjectPath(path), self.interfaces())

    def interfaces(self):
        nothing = dbus.Dictionary({}, signature='sv')
        return {self.interface: self.properties, **{other: nothing for other in self.others}}

    def remove(self):
        for path in [path for path in self.tree.objects if path.startswith(self.path + '/')]:
            if path in self.tree.objects:  # not removed with another one
                self.tree.objects[path].remove()
        del self.tree.objects[self.path]
        self.tree.InterfacesRemoved(dbus.ObjectPath(self.path), [self.interface, *self.others])
        self.remove_from_connection()

    def set(self, properties):
        changed = {name: to_bus(name, value) for name, value in properties.items()}
        self.properties.update(changed)
        return changed

    def change(self, properties):
        self.PropertiesChanged(self.interface, self.set(properties), [])

    @dbus.service.signal(PROPERTIES, signature='sa{sv}as')
    def PropertiesChanged(self, interface, changed, invalidated):
        pass

    @dbus.service.method(PROPERTIES, in_signature='ss', out_signature='v')
    def Get(self, interface, name):
        return self.properties[name]

    @dbus.service.method(PROPERTIES, in_signature='s', out_signature='a{sv}')
    def GetAll(self, interface):
        return self.properties

    @dbus.service.method(PROPERTIES, in_signature='ssv', async_callbacks=('reply', 'fail'))
    def Set(self, interface, name, value, reply, fail):
        self.answer('Set' + str(name), [value], lambda: self.written(str(name), value), reply, fail)

    def answer(self, method, arguments, perform, reply, fail):
        """Performs a call, unless a test has something else planned for it."""
        self.tree.faults.answer(method, [self.path, *arguments], perform, reply, fail)

    def written(self, name, value):
        self.properties[name] = value
        self.PropertiesChanged(self.interface, {name: value}, [])
